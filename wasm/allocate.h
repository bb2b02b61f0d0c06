#pragma once
// Register allocation: where the variables of a function live, in registers as far as those reach,
// else in the frame. It is graph colouring in two steps. First a copy's two sides become one
// variable where Chaitin's rule allows it (Register allocation via coloring, 1981). Then variables
// get registers in the order of Chow and Hennessy's priorities (The priority-based coloring
// approach to register allocation, 1990): their uses divided by the length of their lives. No life
// is split: a variable has one place throughout.

#include <vector>

#include "wasm/code.h"
#include "wasm/live.h"

namespace moxi {

struct Location {
    bool inRegister = true;
    u32 number = 0;  // the register, or n for the 8 bytes of the frame at FP - 8 (n + 1)
};

struct Allocation {
    std::vector<Location> locations;  // by variable
    u32 slots = 0;                    // the frame's size, in pieces of 8 bytes
    // For each of FunctionCode::watched the positions (live.h) at which it has a value that is
    // still read.
    std::vector<std::vector<Range>> watched;
    u32 savedRegisters = 0;  // how many of R13, R12 and so on the function has to save
};

// Gives every variable of the function a place. On the way instructions whose results nobody reads
// are removed from `code`: they become Kind::Nothing, so that every other one keeps its index. It
// never fails: what finds no register gets a slot of the frame, which EncodeFunction may find too
// large.
Allocation Allocate(FunctionCode& code);

}  // namespace moxi
