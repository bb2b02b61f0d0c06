#pragma once
// Builds for debugging tell what the filter of system calls refuses: one log line for each call.

#ifndef MOXI_TELL_REFUSED_CALLS
#define MOXI_TELL_REFUSED_CALLS 0
#endif

namespace moxi {

inline constexpr bool kTellRefusedCalls = MOXI_TELL_REFUSED_CALLS != 0;

// From now on a call that the filter hands over as a signal is told, the first time, and fails with
// EPERM.
void TellRefusedCalls();

}  // namespace moxi
