#pragma once
// Functions so small that their body takes the place of a call.

#include <vector>

#include "base/types.h"
#include "wasm/debug_info.h"
#include "wasm/module.h"

namespace moxi {

// What is known of a function that may take the place of its calls.
struct SmallLeaf {
    bool isOne = false;     // it does; nothing else means anything where it does not
    bool branches = false;  // anywhere but at its end
    bool loops = false;
    std::vector<u32> reads;  // how often each local is read
    std::vector<bool> isWritten;
};

// One for each function. A leaf's calls, if it has any, are of such functions alone. Where a
// debugger is to show arguments, in code that was compiled for that, calls stay calls.
std::vector<SmallLeaf> FindSmallLeaves(const Module& module,
                                       const std::vector<DebugFunction>& debugFunctions);

}  // namespace moxi
