#include "host/window.h"

#include <algorithm>

#include "host/queue.h"
#include "host/session.h"
#include "host/view.h"
#include "vm/diagnostics.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

constexpr WindowGeometry kCreationGeometry = {100, 100, 1000, 600, false};
constexpr u32 kMinimumWidth = 600;
constexpr u32 kMinimumHeight = 400;
constexpr i32 kLeastWidthAfterFullScreen = 20;

constinit u16 reportedWidth = 1000;  // the last size sent by the frame-change handler
constinit u16 reportedHeight = 600;
constinit bool fullScreenState = false;  // read again by every notification
constinit bool frameChangeRuns = false;
constinit WindowGeometry windowedFrame = kCreationGeometry;

void ReadFullScreenState() {
    fullScreenState = desktop.isFullScreen();
}

ViewSize MainScreenSize() {
    const WindowFrame frame = desktop.screens().front().frame;
    return {frame.width, frame.height};
}

void SetWindowedSize(ViewSize size) {
    windowedWidth = static_cast<u32>(size.width);
    windowedHeight = static_cast<u32>(size.height);
}

void SetSavedSize(i32 width, i32 height) {
    savedWidth = width;
    savedHeight = height;
}

// A size that no signed number holds becomes the largest; desktops have limits of their own.
i32 SignedSize(u32 size) {
    return static_cast<i32>(std::min<u32>(size, INT32_MAX));
}

WindowFrame FrameOf(const WindowGeometry& geometry) {
    return {static_cast<i32>(geometry.x), static_cast<i32>(geometry.y), SignedSize(geometry.width),
            SignedSize(geometry.height)};
}

void PostSize(ViewSize size, u32 reason) {
    PostMessage(MSG_SIZE, static_cast<u32>(size.width), static_cast<u32>(size.height), reason);
}

// A size that differs from the last reported one is told at once, and the screen follows it.
void ReportFrameSize(u16 width, u16 height) {
    if (width == reportedWidth && height == reportedHeight) {
        return;
    }
    reportedWidth = width;
    reportedHeight = height;
    if (!firstSizeSent) {
        return;
    }
    SetWindowedSize({width, height});
    if (UpdateQueuedSize(width, height)) {
        DeliverQueuedMessage();
    } else {
        PostSize({width, height}, kSizeWindowed);
        DeliverQueuedMessage();
        DeliverQueuedMessage();
    }
    FlushDirtyRect();
}

}  // namespace

constinit WindowGeometry requestedGeometry = kCreationGeometry;
constinit WindowGeometry lastGoodGeometry = kCreationGeometry;
constinit u32 windowedWidth = kCreationGeometry.width;
constinit u32 windowedHeight = kCreationGeometry.height;
constinit bool fullScreenTransition = false;
constinit bool miniaturized = false;
constinit bool programmaticResize = false;
constinit bool titleGuard = false;
constinit bool modulePlacesWindow = false;

ViewSize ComputeDesktopExtent() {
    ViewSize extent;
    for (const Screen& screen : desktop.screens()) {
        extent.width += screen.frame.width;
        extent.height = std::max(extent.height, screen.frame.height);
    }
    return extent;
}

void ApplyWindowGeometry() {
    if (requestedGeometry.width == 0 || requestedGeometry.height == 0) {
        requestedGeometry = lastGoodGeometry;
    }
    if (requestedGeometry.width < kMinimumWidth || requestedGeometry.height < kMinimumHeight) {
        requestedGeometry.x = 30;
        requestedGeometry.y = 20;
        requestedGeometry.width = kMinimumWidth;
        requestedGeometry.height = kMinimumHeight;
    }
    if (!launchComplete) {
        return;
    }
    if (!fullScreenTransition) {
        windowedFrame = requestedGeometry;
    }
    programmaticResize = true;
    if (!requestedGeometry.fullScreen) {
        desktop.setWindowFrame(FrameOf(requestedGeometry));
    }
    if (desktop.isFullScreen() != requestedGeometry.fullScreen) {
        desktop.toggleFullScreen();
    }
    programmaticResize = false;
}

bool ReadWindowGeometry(WindowGeometry& geometry) {
    if (!launchComplete) {
        return false;
    }
    const WindowFrame frame = desktop.windowFrame();
    if (!fullScreenTransition) {
        windowedFrame = {static_cast<u32>(frame.x), static_cast<u32>(frame.y),
                         static_cast<u32>(frame.width), static_cast<u32>(frame.height), false};
    }
    geometry = windowedFrame;
    geometry.fullScreen = desktop.isFullScreen();
    if (geometry.width != 0 && geometry.height != 0) {
        lastGoodGeometry = geometry;
    }
    return true;
}

void ResetWindow() {
    requestedGeometry = lastGoodGeometry = windowedFrame = kCreationGeometry;
    windowedWidth = kCreationGeometry.width;
    windowedHeight = kCreationGeometry.height;
    reportedWidth = 1000;
    reportedHeight = 600;
    fullScreenTransition = miniaturized = programmaticResize = titleGuard = false;
    fullScreenState = frameChangeRuns = modulePlacesWindow = false;
}

bool moxiWindow::windowShouldClose() {
    // The module cannot answer while it runs; the request is refused and may be made again.
    if (inMX) {
        return false;
    }
    return ForceMsg(MSG_CLOSE, 0, 0, 0) != 0;
}

void moxiWindow::windowWillClose() {
    SystemLog("windowWillClose");
}

void moxiWindow::didFrameChangeNotification() {
    ReadFullScreenState();
    if (frameChangeRuns || titleGuard) {
        return;
    }
    frameChangeRuns = true;
    ViewSize size = desktop.viewSize();
    if (fullScreenState) {
        size = MainScreenSize();
        SetWindowedSize(size);
    }
    const u16 width = static_cast<u16>(size.width);
    const u16 height = static_cast<u16>(size.height);
    SetSavedSize(width, height);
    if (!programmaticResize) {
        ReportFrameSize(width, height);
    }
    frameChangeRuns = false;
}

void moxiWindow::didResizeNotification() {
    ReadFullScreenState();
    const ViewSize size = desktop.viewSize();
    SetSavedSize(size.width, size.height);
    if (!fullScreenState) {
        SetWindowedSize(size);
    }
    if (!firstSizeSent || programmaticResize || titleGuard || liveResize) {
        return;
    }
    const u32 width = static_cast<u32>(size.width);
    const u32 height = static_cast<u32>(size.height);
    if (!UpdateQueuedSize(width, height)) {
        PostSize(size, fullScreenState ? kSizeFullScreen : kSizeWindowed);
    }
}

void moxiWindow::didMoveNotification() {
    ReadFullScreenState();
    WindowGeometry geometry;
    if (!ReadWindowGeometry(geometry)) {
        return;
    }
    if (!firstSizeSent || fullScreenState || programmaticResize || titleGuard) {
        return;
    }
    requestedGeometry.x = geometry.x;
    requestedGeometry.y = geometry.y;
    PostMessage(MSG_MOVE, geometry.x, geometry.y, 0);
}

void moxiWindow::didMiniaturizeNotification() {
    ReadFullScreenState();
    miniaturized = true;
    PostMessage(MSG_MINIMIZE, 1, 0, 0);
}

void moxiWindow::didDeminiaturizeNotification() {
    ReadFullScreenState();
    miniaturized = false;
    PostMessage(MSG_MINIMIZE, 0, 0, 0);
}

void moxiWindow::willEnterFullScreenNotification() {
    ReadFullScreenState();
    fullScreenTransition = true;
}

void moxiWindow::didEnterFullScreenNotification() {
    ReadFullScreenState();
    const ViewSize size = fullScreenState ? MainScreenSize() : desktop.viewSize();
    SetWindowedSize(size);
    PostSize(size, kSizeFullScreen);
}

void moxiWindow::willExitFullScreenNotification() {}

void moxiWindow::didExitFullScreenNotification() {
    ReadFullScreenState();
    if (desktop.viewSize().width < kLeastWidthAfterFullScreen) {
        const ViewSize extent = ComputeDesktopExtent();
        const i32 margin = extent.height * 15 / 100;
        desktop.setWindowFrame(
            {margin, margin, extent.width - 2 * margin, extent.height - 2 * margin});
    }
    fullScreenTransition = false;
    PostMessage(MSG_SIZE, windowedWidth, windowedHeight, kSizeFullScreenLeft);
}

void moxiWindow::willStartLiveResizeNotification() {
    ReadFullScreenState();
    liveResize = true;
}

void moxiWindow::didEndLiveResizeNotification() {
    ReadFullScreenState();
    liveResize = false;
}

}  // namespace moxi
