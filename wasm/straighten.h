#pragma once
// Makes a function's instructions simpler, before and after its variables get their places.

#include "wasm/allocate.h"
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

// A load, an addition of a constant and a store to the same address become an addition in memory
// and a load.
void AddInMemory(FunctionCode& code);

// Leaves out copies from a place to itself, and jumps that are needless without them. Every other
// instruction keeps its index.
void RemoveIdle(FunctionCode& code, const Allocation& allocation);

}  // namespace moxi
