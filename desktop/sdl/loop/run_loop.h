#pragma once
// The main thread's turns: events, queued work, the waiting redraw, due timers.

#include "desktop/desktop.h"

namespace moxi {

// Functions of the desktop record.
void RunEventLoop();
void RequestTerminate();
void SleepWithRedraw(u64 milliseconds);
void QueueOnMain(void (*work)());  // any thread
TimerId StartTimer(u64 microseconds, void (*handler)());
TimerId StartSurfaceTimer(u64 microseconds, void (*handler)());
void StopTimer(TimerId timer);

void StartRunLoop();
// No timer fires any more.
void StopTimers();
void HoldGame(bool held);
u64 GameNanoseconds();  // without the time for which the game was held

}  // namespace moxi
