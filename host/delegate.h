#pragma once
// The application delegate: starts the host in a fixed order, sets up the screen, and ends the
// program through the module's close and end messages.

#include "base/types.h"
#include "desktop/desktop.h"

namespace moxi {

extern u32 visibleWidth;  // the main screen's visible frame, as the screen set-up found it
extern u32 visibleHeight;
extern u64 startTime;  // milliseconds, at the end of start-up

struct moxiAppDelegate {
    static void init();
    static void applicationDidFinishLaunching();
    static bool applicationShouldTerminate();
    static void applicationWillTerminate();
    static void applicationWillBecomeActive();
    static void screenParametersDidChange();
};

void ResetDelegate();

}  // namespace moxi
