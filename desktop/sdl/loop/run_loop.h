#pragma once
// The main thread's turns: events, queued work, the waiting redraw, due timers.

#include "base/types.h"

namespace moxi {

// Functions of the desktop record.
void RunEventLoop();
void RequestTerminate();
void SleepWithRedraw(u64 milliseconds);
void QueueOnMain(void (*work)());  // any thread

void StartRunLoop();

}  // namespace moxi
