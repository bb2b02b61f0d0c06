#pragma once
// Makes a function's instructions simpler before its variables get their places.

#include "wasm/code.h"

namespace moxi {

// Removes what is never reached, jumps to jumps, jumps to the next instruction and branches around
// jumps.
void Straighten(FunctionCode& code);

// Leaves out the clearing of upper halves that nobody looks at, and makes one instruction of a copy
// and an addition there.
void UseLowHalves(FunctionCode& code);

// Branches use the flags that the instruction before has set, where it has.
void UseFlags(FunctionCode& code);

}  // namespace moxi
