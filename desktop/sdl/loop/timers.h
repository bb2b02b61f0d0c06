#pragma once
// Repeating timers of the main thread, with absolute deadlines in nanoseconds.

#include "base/types.h"
#include "desktop/desktop.h"

namespace moxi {

// The first point of the phase that `due` lies on which is later than `now`.
u64 NextDeadline(u64 due, u64 interval, u64 now);

// `now` is the time of the start; the first firing is due one interval later.
TimerId StartTimerAt(u64 now, u64 microseconds, void (*handler)());
void StopTimer(TimerId timer);  // 0 and unknown timers are ignored

// Deadline of the timer that is due first, kNever (clock.h) when there is none.
u64 EarliestDeadline();
// Calls the handler of the timer that is due first, if it is due at clock(); timers that are due
// together fire in the order in which they were started. Missed firings are skipped.
bool FireDueTimer(u64 (*clock)());
void ResetTimers();

}  // namespace moxi
