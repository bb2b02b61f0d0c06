#pragma once
// The two timers of the host: the host tick, which drains the queue, and the module's own timer.

#include "base/types.h"

namespace moxi {

constexpr u64 kHostTickMicroseconds = 5000;

// Every 5 ms: posts a pending size and, at every 16th idle tick, MSG_TICK; delivers one queued
// message; polls the music.
void OnHostTick();

// Every firing of the module timer: checks the window for collapse and posts MSG_TICK.
void OnModuleTimer();

}  // namespace moxi
