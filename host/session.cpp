#include "host/session.h"

namespace moxi {

constinit bool inputSuspended = false;
constinit bool launchComplete = false;
constinit bool firstSizeSent = false;
constinit bool pendingSize = false;
constinit i32 savedWidth = 0;
constinit i32 savedHeight = 0;
constinit bool liveResize = false;
constinit u32 idleTicks = 0;

void ResetSession() {
    inputSuspended = launchComplete = firstSizeSent = pendingSize = liveResize = false;
    savedWidth = savedHeight = 0;
    idleTicks = 0;
}

}  // namespace moxi
