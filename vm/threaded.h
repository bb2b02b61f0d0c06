#pragma once
// The fast interpreter: a handler for every operand form, operation and size, each of which ends in
// the dispatch of the next instruction.

#include "vm/guard.h"

// Handlers reach each other by calls in tail position that the compiler turns into jumps, and
// addresses are left to the guard: optimised builds without sanitizers only.
#if defined(__OPTIMIZE__)
inline constexpr bool kThreaded = !kCheckedAccess;
#else
inline constexpr bool kThreaded = false;
#endif

// Runs from the header's PC until the run ends.
void RunThreaded();
