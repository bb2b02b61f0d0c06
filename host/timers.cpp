#include "host/timers.h"

#include "audio/music.h"
#include "desktop/desktop.h"
#include "host/pause.h"
#include "host/queue.h"
#include "host/session.h"
#include "host/window.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

constexpr u32 kIdleTicksPerMessage = 16;
constexpr u32 kCollapsedWindow = 10;

void CheckForCollapse() {
    if (desktop.windowFrame().width >= static_cast<i32>(kCollapsedWindow)) {
        return;
    }
    // The minimum-size rule turns this into its default frame.
    requestedGeometry = {.x = 100,
                         .y = 500,
                         .width = 480,
                         .height = 480,
                         .fullScreen = requestedGeometry.fullScreen};
    ApplyWindowGeometry();
}

}  // namespace

void OnHostTick() {
    if (!inMX && !liveResize && !inputSuspended) {
        if (pendingSize) {
            pendingSize = false;
            PostMessage(MSG_SIZE, static_cast<u32>(savedWidth), static_cast<u32>(savedHeight),
                        kSizeWindowed);
        }
        if (QueueIsEmpty() && ++idleTicks % kIdleTicksPerMessage == 0) {
            PostMessage(MSG_TICK, 0, 0, 0);
        }
        DeliverQueuedMessage();
    }
    if (PollMusic()) {
        PostMessage(MSG_MUSICDONE, 0, 0, 0);
    }
    StandStillWhenTold();
}

void OnModuleTimer() {
    if (launchComplete && firstSizeSent && QueueIsEmpty()) {
        CheckForCollapse();
    }
    if (!inMX && !inputSuspended) {
        PostMessage(MSG_TICK, 0, 0, 0);
    }
}

}  // namespace moxi
