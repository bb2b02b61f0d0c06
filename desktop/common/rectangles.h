#pragma once
// Rectangles of the view and of windows, as every desktop treats them.

#include "desktop/desktop.h"

namespace moxi {

constexpr i32 kLargestSize = 32767;  // the largest width or height of a window, in points

// The frame with its width and height brought into 1 to kLargestSize; its place is kept.
WindowFrame WithinLimits(WindowFrame frame);

// Whether the width or the height is 0, negative or not a number.
bool IsEmpty(const ViewRect& rect);
// The smallest rectangle that holds both; an empty one adds nothing.
ViewRect Joined(const ViewRect& a, const ViewRect& b);
// The part of `rect` that lies in the view; its width or height is 0 when nothing does.
ViewRect Clipped(const ViewRect& rect, ViewSize view);
ViewRect WholeView(ViewSize view);

}  // namespace moxi
