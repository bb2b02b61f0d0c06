#include "desktop/sdl/window/geometry.h"

#include <algorithm>
#include <cmath>

#include "desktop/common/rectangles.h"

namespace moxi {

WindowFrame FromArea(const ScreenArea& area, const ScreenArea& mainScreen) {
    const i32 bottom = mainScreen.y + mainScreen.height;
    return {area.x - mainScreen.x, bottom - (area.y + area.height), area.width, area.height};
}

ScreenArea ToArea(const WindowFrame& frame, const ScreenArea& mainScreen) {
    const i32 bottom = mainScreen.y + mainScreen.height;
    return {frame.x + mainScreen.x, bottom - (frame.y + frame.height), frame.width, frame.height};
}

ScreenArea WithoutBorders(const ScreenArea& frame, const Borders& borders) {
    return {frame.x + borders.left, frame.y + borders.top,
            std::max(frame.width - borders.left - borders.right, 1),
            std::max(frame.height - borders.top - borders.bottom, 1)};
}

ScreenArea WithBorders(const ScreenArea& content, const Borders& borders) {
    return {content.x - borders.left, content.y - borders.top,
            content.width + borders.left + borders.right,
            content.height + borders.top + borders.bottom};
}

ScreenArea TouchedPixels(const ViewRect& rect, ViewSize view) {
    const ViewRect inside = Clipped(rect, view);
    if (IsEmpty(inside)) {
        return {};
    }
    const i32 left = static_cast<i32>(std::floor(inside.x));
    const i32 right = static_cast<i32>(std::ceil(inside.x + inside.width));
    const i32 bottom = static_cast<i32>(std::floor(inside.y));
    const i32 top = static_cast<i32>(std::ceil(inside.y + inside.height));
    return {left, view.height - top, right - left, top - bottom};
}

}  // namespace moxi
