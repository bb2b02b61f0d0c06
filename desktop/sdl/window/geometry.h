#pragma once
// Between SDL's coordinates (top-left, y downwards, content without decorations) and the desktop's
// (bottom-left of the main screen, y upwards, frames with decorations).

#include "base/types.h"
#include "desktop/desktop.h"

namespace moxi {

// A rectangle in SDL's coordinates.
struct ScreenArea {
    i32 x = 0;
    i32 y = 0;
    i32 width = 0;
    i32 height = 0;

    bool operator==(const ScreenArea&) const = default;
};

struct Borders {
    i32 top = 0;
    i32 left = 0;
    i32 bottom = 0;
    i32 right = 0;

    bool operator==(const Borders&) const = default;
};

WindowFrame FromArea(const ScreenArea& area, const ScreenArea& mainScreen);
ScreenArea ToArea(const WindowFrame& frame, const ScreenArea& mainScreen);

// The content that a frame leaves between its borders, at least 1 x 1, and the other way.
ScreenArea WithoutBorders(const ScreenArea& frame, const Borders& borders);
ScreenArea WithBorders(const ScreenArea& content, const Borders& borders);

// The pixels, rows top first, that `rect` touches, even in part; never outside the view.
ScreenArea TouchedPixels(const ViewRect& rect, ViewSize view);

}  // namespace moxi
