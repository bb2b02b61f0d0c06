#pragma once
// Between SDL's coordinates (top-left, y downwards, content without decorations) and the desktop's
// (bottom-left of the main screen, y upwards, frames with decorations).

#include "base/types.h"
#include "desktop/desktop.h"

namespace moxi {

// A rectangle in SDL's coordinates.
struct Area {
    i32 x = 0;
    i32 y = 0;
    i32 width = 0;
    i32 height = 0;

    bool operator==(const Area&) const = default;
};

struct Borders {
    i32 top = 0;
    i32 left = 0;
    i32 bottom = 0;
    i32 right = 0;

    bool operator==(const Borders&) const = default;
};

WindowFrame FromArea(const Area& area, const Area& mainScreen);
Area ToArea(const WindowFrame& frame, const Area& mainScreen);

// The content that a frame leaves between its borders, at least 1 x 1, and the other way.
Area WithoutBorders(const Area& frame, const Borders& borders);
Area WithBorders(const Area& content, const Borders& borders);

// The pixels, rows top first, that `rect` touches, even in part; never outside the view.
Area TouchedPixels(const ViewRect& rect, ViewSize view);

}  // namespace moxi
