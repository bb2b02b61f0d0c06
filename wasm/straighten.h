#pragma once
// Makes a function's instructions simpler, before and after its variables get their places. Each of
// these works on one function and keeps what it does. Where nothing else is said, instructions that
// go become Kind::Nothing, and every other one keeps its index.

#include "wasm/allocate.h"
#include "wasm/code.h"

namespace moxi {

// Removes what is never reached, jumps to jumps, jumps to the next instruction and branches around
// jumps. Nothing is left of what goes: indices of instructions change.
void Straighten(FunctionCode& code);

// Leaves out the clearing of upper halves of registers that nobody looks at, and makes one
// instruction of a copy and an addition there.
void UseLowHalves(FunctionCode& code);

// A test and branch on a result becomes a branch on the flags that the instruction right before it
// has set, where it sets them.
void UseFlags(FunctionCode& code);

// A load, an addition of a constant and a store to the same address become an addition in memory
// and a load.
void AddInMemory(FunctionCode& code);

// Leaves out copies from a place to itself, and jumps that are needless without them. Every other
// instruction keeps its index.
void RemoveIdle(FunctionCode& code, const Allocation& allocation);

}  // namespace moxi
