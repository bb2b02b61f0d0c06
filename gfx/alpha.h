#pragma once
// Rewriting the alpha of a rectangle, to make images with a key colour transparent.

#include "base/types.h"

namespace moxi {

// Selectors of SetAlpha; any other one is a key colour.
constexpr i64 kEveryPixel = -1;
constexpr i64 kVisiblePixels = -2;
constexpr i64 kOpaquePixels = -3;

// Gives the pixels that `selector` chooses the low byte of `alpha`, inside the clip; a pixel of the
// key colour becomes that alpha and the key with red and blue exchanged. Returns the number of
// pixels changed: with kEveryPixel only those whose alpha was another one. What the clip cuts off
// on the left or at the top does not shorten the rectangle.
u64 SetAlpha(u32 handle, i32 x, i32 y, i32 w, i32 h, i64 selector, u32 alpha);

}  // namespace moxi
