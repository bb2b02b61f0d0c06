#pragma once
// Rectangles of the view and of windows, as every desktop treats them.

#include "desktop/desktop.h"

namespace moxi {

constexpr i32 kLargestSize = 32767;  // of a window's side

// The frame with sides of 1 to kLargestSize.
WindowFrame WithinLimits(WindowFrame frame);

bool IsEmpty(const ViewRect& rect);
// Both rectangles in one; an empty one adds nothing.
ViewRect Joined(const ViewRect& a, const ViewRect& b);
// What of `rect` lies in the view; width or height is 0 when nothing does.
ViewRect Clipped(const ViewRect& rect, ViewSize view);
ViewRect WholeView(ViewSize view);

}  // namespace moxi
