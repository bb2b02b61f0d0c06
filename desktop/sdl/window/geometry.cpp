#include "desktop/sdl/window/geometry.h"

#include <algorithm>
#include <cmath>

namespace moxi {

WindowFrame FromArea(const Area& area, const Area& mainScreen) {
    const i32 bottom = mainScreen.y + mainScreen.height;
    return {area.x - mainScreen.x, bottom - (area.y + area.height), area.width, area.height};
}

Area ToArea(const WindowFrame& frame, const Area& mainScreen) {
    const i32 bottom = mainScreen.y + mainScreen.height;
    return {frame.x + mainScreen.x, bottom - (frame.y + frame.height), frame.width, frame.height};
}

Area WithoutBorders(const Area& frame, const Borders& borders) {
    return {frame.x + borders.left, frame.y + borders.top,
            std::max(frame.width - borders.left - borders.right, 1),
            std::max(frame.height - borders.top - borders.bottom, 1)};
}

Area WithBorders(const Area& content, const Borders& borders) {
    return {content.x - borders.left, content.y - borders.top,
            content.width + borders.left + borders.right,
            content.height + borders.top + borders.bottom};
}

static bool IsEmpty(const ViewRect& rect) {
    return !(rect.width > 0 && rect.height > 0);
}

ViewRect Joined(const ViewRect& a, const ViewRect& b) {
    if (IsEmpty(a)) return b;
    if (IsEmpty(b)) return a;
    const double left = std::min(a.x, b.x);
    const double bottom = std::min(a.y, b.y);
    const double right = std::max(a.x + a.width, b.x + b.width);
    const double top = std::max(a.y + a.height, b.y + b.height);
    return {left, bottom, right - left, top - bottom};
}

ViewRect Clipped(const ViewRect& rect, ViewSize view) {
    const double left = std::max(rect.x, 0.0);
    const double bottom = std::max(rect.y, 0.0);
    const double right = std::min(rect.x + rect.width, static_cast<double>(view.width));
    const double top = std::min(rect.y + rect.height, static_cast<double>(view.height));
    return {left, bottom, std::max(right - left, 0.0), std::max(top - bottom, 0.0)};
}

Area TouchedPixels(const ViewRect& rect, ViewSize view) {
    const ViewRect inside = Clipped(rect, view);
    if (IsEmpty(inside)) return {};
    const i32 left = static_cast<i32>(std::floor(inside.x));
    const i32 right = static_cast<i32>(std::ceil(inside.x + inside.width));
    const i32 bottom = static_cast<i32>(std::floor(inside.y));
    const i32 top = static_cast<i32>(std::ceil(inside.y + inside.height));
    return {left, view.height - top, right - left, top - bottom};
}

}  // namespace moxi
