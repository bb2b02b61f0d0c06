#pragma once
// The fast interpreter: a handler for every operand form, operation and size, each of which ends in
// the dispatch of the next instruction.

#include "base/types.h"
#include "vm/fault.h"
#include "vm/slow_path.h"  // what the newest result is, and how the header gets it

// Handlers reach each other by calls in tail position that the compiler turns into jumps, and
// addresses are left to the guard: optimised builds without sanitizers only. The others do not even
// compile the handlers, of which there are thousands. The build says which it is, not the compiler:
// tests are compiled without optimising and must see the same.
#if MOXI_OPTIMIZED && !MOXI_CHECKED_ACCESS
#define MOXI_THREADED 1
#else
#define MOXI_THREADED 0
#endif

namespace moxi {

inline constexpr bool kThreaded = MOXI_THREADED != 0;

// The table of handlers lies below the image, as the trace does (vm/guard.h): what lies at a fixed
// distance from the image's start, which is in a register anyway, is reached with one instruction
// less than what lies somewhere in a program that can be loaded anywhere.
inline constexpr u32 kDispatchTableSize = kThreaded ? 65536 * 8 : 0;

// Writes the table there.
void CopyDispatchTable(u8* place);

// Runs from the header's PC until the run ends. Only where kThreaded holds.
void RunThreaded();

// --- Where translated code comes in and goes out (translate/translator.h)

// Handlers are jumped to through a table that nothing writes once a module runs, so the mark that
// control-flow protection wants at the target of a jump protects nothing there, and costs an
// instruction in each. The jumps say that they want none.
#if defined(__CET__)
#define MOXI_UNTRACKED __attribute__((nocf_check))
#else
#define MOXI_UNTRACKED
#endif

// A handler goes on with another one as its last act: image, PC, SP, FP, the number of instructions
// executed so far, the instruction word. (As an alias the type could not have the attribute.)
typedef void (*ThreadedHandler)(u8* base, u64 pc, u64 sp, u64 fp, u64 trace, u32 w) MOXI_UNTRACKED;

// At a jump, once `trace` has reached this, translatedCodeAt is asked where to go on.
extern u64 nextTranslationCheck;

// A handler that goes on in translated code at `pc`, or null. Sets nextTranslationCheck anew.
extern ThreadedHandler (*translatedCodeAt)(u32 pc, u64 trace);

// A handler that executes the instruction at PC by the interpreter, whatever is translated.
extern const ThreadedHandler executeByInterpreter;

}  // namespace moxi
