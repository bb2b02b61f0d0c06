#pragma once
// Where the variables of a function live: in registers, as far as those reach, else in the frame.

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

// Removes instructions whose results nobody reads, joins variables that are copies of each other,
// and finds every variable a place.
Allocation Allocate(FunctionCode& code);

}  // namespace moxi
