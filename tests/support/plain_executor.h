#pragma once
// A second executor of the instruction set, written to be read: it decodes every instruction
// afresh with comparisons, keeps the image in a vector and checks every access. It shares nothing
// with the interpreter, so that random programs can be run on both and compared byte for byte.

#include <functional>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

namespace plain {

enum class Outcome {
    Returned,  // RETURN to address 0
    Stopped,   // STOP
    Modal,     // MODAL
    IllegalOpcode,
    StackOverflow,  // of PUSHBLOCK or PEEKBLOCK
    BadEmod,        // EMOD without a saved context
    MemoryFault,    // an access outside the image
    DivisionError,  // by zero, or the most negative value by -1
    BudgetSpent,    // stopped before the next instruction
};

const char* OutcomeName(Outcome outcome);

struct Machine {
    std::vector<u8> memory;  // the image, filled up to a multiple of 64 bytes
    // The last bytes of an image that fills the address space, of which `memory` is the start. What
    // lies between them is never reached.
    std::vector<u8> top;
    i32 modalDepth = 0;
    u32 pcPreJsr = 0;
    u32 runState = 0;
    bool presentNotify = false;

    std::vector<u32> trace;  // address of every instruction, oldest first
    std::vector<std::string> messages;
    std::string debugLog;

    // Two NaNs met in one operation: which of them is the result depends on the order in which a
    // compiler places the operands, so such a program proves nothing.
    bool nansMet = false;

    // The services behind SYS; nothing by default.
    std::function<void(Machine&)> sys = [](Machine&) {};
    // The heap's part of RETURN, told the new SP; nothing by default.
    std::function<void(u32)> releaseFrameLocks = [](u32) {};
};

// A machine that holds a copy of `image`.
Machine MakeMachine(const std::vector<u8>& image);

// Runs from the header's PC until the program ends or `budget` instructions are done.
Outcome Run(Machine& machine, u64 budget);

}  // namespace plain

}  // namespace moxi
