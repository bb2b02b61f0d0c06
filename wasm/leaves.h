#pragma once
// Inlining: finds the functions that are so small that their body takes the place of every direct
// call of them. They are called leaves, for what they call, if anything, are leaves as well.

#include <vector>

#include "base/types.h"
#include "wasm/debug_info.h"
#include "wasm/module.h"

namespace moxi {

// What is known of a function. Only of a leaf is there more than `isOne`.
struct SmallLeaf {
    bool isOne = false;     // whether it is a leaf
    bool branches = false;  // it has blocks or branches
    bool loops = false;
    std::vector<u32> reads;       // how often each local is read in its text
    std::vector<bool> isWritten;  // by local
};

// One for each function of the module, which has been validated. A function whose arguments lie in
// a C frame that a debugger knows, as compilers do it for debugging, is no leaf, so that its
// arguments can be shown.
std::vector<SmallLeaf> FindSmallLeaves(const Module& module,
                                       const std::vector<DebugFunction>& debugFunctions);

}  // namespace moxi
