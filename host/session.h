#pragma once
// How far the session with the user has come: what the start, the window and the services tell the
// rest of the host. Everything runs on the main thread.

#include "base/types.h"

namespace moxi {

extern bool inputSuspended;  // input handlers drop their events, the queue delivers nothing
extern bool launchComplete;
extern bool firstSizeSent;  // window notifications post nothing before
extern bool pendingSize;    // the host tick is to post one MSG_SIZE with the saved size
extern i32 savedWidth;
extern i32 savedHeight;
extern bool liveResize;
extern u32 idleTicks;  // host ticks that found the queue empty

void ResetSession();

}  // namespace moxi
