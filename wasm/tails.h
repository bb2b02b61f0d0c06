#pragma once
// Ends of blocks that are the same are kept once: cross-jumping, as in The Design of an Optimizing
// Compiler by Wulf and others (1975).

#include "wasm/allocate.h"
#include "wasm/code.h"

namespace moxi {

// Where two ways into one place, or out of the function, end in the same instructions, the one
// jumps into the other. Where that takes one more jump than before it is done only for enough
// bytes, and in loops for more of them. For functions whose lines and variables nobody has to tell
// apart: indices of instructions change.
void MergeTails(FunctionCode& code, const Allocation& allocation);

}  // namespace moxi
