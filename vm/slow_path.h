#pragma once
// How the fast interpreter (vm/threaded.h) leaves an instruction to the plain one (vm/execute.h),
// and brings the header up to date where someone can look.

#include "base/types.h"

namespace moxi {

struct Cpu;  // vm/execute.h

// Executes the instruction word `w` at cpu.pc, which is in the trace already, and what comes next
// as long as the handlers cannot go on: they run no code in the header, and hold no flags that no
// result has. False when the run has ended, otherwise the header says where to go on. The record's
// flags need not be right.
bool ExecuteSlowly(Cpu cpu, u32 w);

// The same from cpu.pc, where nothing has been fetched yet.
bool ExecuteSlowlyAt(Cpu cpu);

// A run of handlers begins: it takes over the header's flags, without other bits of that byte.
// False when it cannot hold them; they are the header's then.
bool TakeFlags();

// The newest result that set the flags, sign-extended from its size, while handlers run.
extern i64 lastThreadedResult;

// Says that pcTraceCount is right, where translated code has brought it up to date.
void NoteThreadedCount();

// After a fault: brings PC and the flags of the interrupted run into the header and the trace's
// count up to date. Nothing to do where no handler was interrupted.
void SettleThreaded();

}  // namespace moxi
