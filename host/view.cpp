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
    const auto show = [](ViewRect part, bool isCopied) {
        ViewPixels view = ShownPixels();
        if (isCopied) {
            view.nearer = screenBitmap.pixels;
            view.nearerStride = static_cast<i32>(screenBitmap.stride);
        }
        desktop.presentView(view, part);
    };
    if (PresentScreen(rect, postpone, knownHeight, viewHeight, viewBuffer, show) !=
        PresentResult::Drawn) {
        return;
    }
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
    return {viewBuffer.pixels.data(), viewBuffer.width, viewBuffer.height};
}

bool WriteScreenshot(const std::string& path) {
    const ViewPixels shown = surfacePixels.pixels != nullptr ? surfacePixels : ShownPixels();
    return WritePngFile(path, shown.pixels, static_cast<u32>(shown.width),
                        static_cast<u32>(shown.height), static_cast<u32>(4 * shown.width),
                        PngFormat::RgbFrom4);
}

void ResetView() {
    viewBuffer = {};
    surfacePixels = {};
    knownHeight = 0;
}

}  // namespace moxi
