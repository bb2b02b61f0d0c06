#include "host/view.h"

#include <algorithm>

#include "gfx/bitmap.h"
#include "gfx/png_write.h"
#include "host/queue.h"
#include "host/session.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"

namespace moxi {

ViewBuffer viewBuffer;
ViewPixels surfacePixels;

namespace {

constinit i32 knownHeight = 0;  // the view's height at its last frame change

// Where the view is a copy of the screen bitmap, that is nearer: a large copy has gone past the
// caches.
ViewPixels ScreenAsView() {
    return {screenBitmap.pixels, viewBuffer.width, viewBuffer.height,
            static_cast<i32>(screenBitmap.stride)};
}

}  // namespace

void moxiView::init() {
    const ViewSize size = desktop.viewSize();
    ResizeViewBuffer(viewBuffer, size.width, size.height);
    knownHeight = size.height;
}

void moxiView::frameDidChange() {
    const ViewSize size = desktop.viewSize();
    if (size.width != viewBuffer.width || size.height != viewBuffer.height) {
        ResizeViewBuffer(viewBuffer, size.width, size.height);
    }
    knownHeight = size.height;
}

void moxiView::drawRect(ViewRect rect) {
    const bool postpone = !presentNotify && !inputSuspended && !liveResize && inMX;
    const i32 viewHeight = desktop.viewSize().height;
    const PresentResult result = PresentScreen(rect, postpone, knownHeight, viewHeight, viewBuffer);
    if (result != PresentResult::Drawn && result != PresentResult::Copied) {
        return;
    }
    desktop.presentView(result == PresentResult::Copied ? ScreenAsView() : ShownPixels(), rect);
    if (presentNotify) {
        presentNotify = false;
        PostMessage(MSG_PRESENTED, 0, 0, 0);
    }
}

bool FlushDirtyRect() {
    if (!desktop.isMainThread()) {
        desktop.queueOnMain([] { FlushDirtyRect(); });
        return false;
    }
    if (dirtyRect.left >= dirtyRect.right) {
        return false;
    }
    const i32 top = std::max(dirtyRect.top, 0);
    const double height = static_cast<double>(dirtyRect.bottom) - top;
    const ViewRect rect = {static_cast<double>(dirtyRect.left),
                           static_cast<double>(desktop.viewSize().height) - dirtyRect.bottom,
                           static_cast<double>(dirtyRect.right) - dirtyRect.left, height};
    ResetDirtyRect();
    desktop.requestRedraw(rect);
    return true;
}

ViewPixels ShownPixels() {
    return {viewBuffer.pixels.data(), viewBuffer.width, viewBuffer.height, 4 * viewBuffer.width};
}

bool WriteScreenshot(const std::string& path) {
    const ViewPixels shown = surfacePixels.pixels != nullptr ? surfacePixels : ShownPixels();
    return WritePngFile(path, shown.pixels, static_cast<u32>(shown.width),
                        static_cast<u32>(shown.height), static_cast<u32>(shown.stride),
                        PngFormat::RgbFrom4);
}

void ResetView() {
    viewBuffer = {};
    surfacePixels = {};
    knownHeight = 0;
}

}  // namespace moxi
