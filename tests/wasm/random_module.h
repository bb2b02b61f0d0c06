#pragma once
// Random WebAssembly modules that are valid, end, and whose results do not depend on which bits an
// operation on what is not a number gives: all numeric operators, memory, tables, globals, calls,
// control flow with several values, dead code.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct RandomModule {
    std::string bytes;
    // Lines of a CALL.TXT. All arguments and results are integers.
    struct Call {
        std::string name;
        std::vector<u64> arguments;  // bit patterns
        std::string argumentTypes;   // i and I
    };
    std::vector<Call> calls;
    // Addresses may lie beyond the memory: to be translated with checks of the bounds.
    bool anyAddress = false;
};

// The same module for the same seed.
RandomModule MakeRandomModule(u64 seed);

}  // namespace moxi
