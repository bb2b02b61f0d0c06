#pragma once
// The interpreter: runs the module from the header's PC.

#include "base/types.h"

namespace moxi {

// Runs until the module returns to address 0, stops, fails or enters a modal wait. Everything
// travels in the header. An access outside the image or an impossible division ends the process.
void RunInterpreter();

// What is told of each executed instruction while a trace is written: its address before it is
// executed, and a call after it.
struct InstructionTrace {
    void (*before)(u32 address);
    void (*after)(u32 address);
};

// Null (the default) runs at full speed. The record must outlive its use.
extern const InstructionTrace* instructionTrace;

// What a debugger is told: that a message's run begins, each instruction before it is executed, and
// that the run has been left. Runs may be nested. `instruction` finds everything in the header and
// may change it there: what it leaves in the header's PC is executed.
struct DebugHooks {
    void (*enter)();
    void (*instruction)();
    void (*leave)();
};

// Null (the default) runs at full speed. The record must outlive its use.
extern const DebugHooks* debugHooks;

}  // namespace moxi
