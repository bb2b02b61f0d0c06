#pragma once
// Delivery of one message to the module, and the end of the program.

#include "base/types.h"
#include "vm/execute.h"

namespace moxi {

extern bool inMX;          // a message is being run
extern u32 heapHighWater;  // highest heapFree at the end of a run
extern i32 moduleStarted;  // 0: no message may be forced yet

// Pushes the frame, runs the interpreter, compacts the heap, flushes the screen and returns the
// result byte, sign-extended; 0 when the message was refused because the process is ending.
i32 MXmsg(u32 command, u32 p1, u32 p2, u32 p3);

// Delivers at once and returns the result as a signed byte; 0 before the module is started. While
// a message runs it reports a bad call and delivers all the same.
i32 ForceMsg(u32 command, u32 p1, u32 p2, u32 p3);

void ResetRunCycle();

}  // namespace moxi
