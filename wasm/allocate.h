#pragma once
// Where the variables of a function live: in registers, as far as those reach, else in the frame.
// Variables that are copies of each other are joined by Chaitin's rule (Register allocation by
// graph colouring, 1981); the rest get registers in the order of their uses by length of life (Chow
// and Hennessy's priorities), without splitting.

#include <vector>

#include "wasm/code.h"
#include "wasm/live.h"

namespace moxi {

struct Location {
    bool inRegister = true;
    u32 number = 0;  // of the register; of the slot of 8 bytes in the frame, from 0
};

struct Allocation {
    std::vector<Location> locations;  // by variable
    u32 slots = 0;                    // of the frame
    // Where each of FunctionCode::watched has its value, at the positions of live.h.
    std::vector<std::vector<Range>> watched;
    u32 savedRegisters = 0;  // R13, R12 and so on: how many the function has to keep
};

// Finds every variable of the function a place. Removes instructions whose results nobody reads on
// the way: they become Kind::Nothing, so that every other one keeps its index.
Allocation Allocate(FunctionCode& code);

}  // namespace moxi
