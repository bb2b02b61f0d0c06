#pragma once
// Ends of blocks that are the same are kept once.

#include "wasm/allocate.h"
#include "wasm/code.h"

namespace moxi {

// Where two ways into one place, or out of the function, end in the same instructions, the one jumps
// into the other. In loops, and for little, only where that takes no further jump. For functions
// whose lines and variables nobody has to tell apart: indices of instructions change.
void MergeTails(FunctionCode& code, const Allocation& allocation);

}  // namespace moxi
