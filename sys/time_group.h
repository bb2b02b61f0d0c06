#pragma once
// Service group 2: the module's periodic timer, the millisecond clock and the date.

#include "base/types.h"

namespace moxi {

// The module has a periodic timer.
bool ModuleTimerRuns();

// Stops the module's timer; nothing when there is none.
void StopModuleTimer();

// Milliseconds of the desktop's monotonic clock. Reading it here does not move virtual time on.
u64 MilliSeconds();

constexpr u32 kDateTimeTextSize = 20;

// Writes the local date and time, "2024-03-07 09:05:41" and a NUL.
void DateTimeText(char (&buffer)[kDateTimeTextSize]);

// Forgets the timer without telling the desktop. For tests.
void ResetTimeGroup();

}  // namespace moxi
