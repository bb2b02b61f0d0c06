#pragma once
// From objects to a module image: wasm-ld, wasm-opt and mxwasm.

#include <string>
#include <vector>

#include "wasm/mxcc_options.h"

namespace moxi {

// What the compiler would have linked, as it told mxcc in place of a linker.
struct LinkPlan {
    std::vector<std::string> arguments;  // of wasm-ld, without the output
    std::string kit;                     // the folder with `include` and `lib`
    std::string output;                  // the MAIN.MX
    std::string folder;                  // for temporary files; exists
};

// Makes the module image. False when it has said what is wrong, a line for each error.
bool LinkModule(const LinkPlan& plan, const MxccOptions& options);

}  // namespace moxi
