#include "surface/shown.h"

#include "desktop/desktop.h"
#include "host/view.h"

namespace moxi {

namespace {

constinit const Surface* shown = nullptr;

}  // namespace

void ShowSurface(const Surface& surface, const Canvas& canvas) {
    shown = &surface;
    surfacePixels = {canvas.pixels.data(), canvas.width, canvas.height};
    desktop.presentSurface(canvas.pixels.data(), {canvas.width, canvas.height});
}

void HideSurfaces() {
    if (shown == nullptr) {
        return;
    }
    shown = nullptr;
    surfacePixels = {};
    desktop.hideSurface();
}

std::string DumpShownControls() {
    return shown != nullptr ? DumpControls(*shown) : "";
}

void RequestSurfaceRedraw() {
    const ViewSize size = desktop.viewSize();
    desktop.requestRedraw(
        {0, 0, static_cast<double>(size.width), static_cast<double>(size.height)});
}

}  // namespace moxi
