#pragma once
// Hue, saturation and value: of single colours, as a square to pick from, and as an adjustment of
// a rectangle. Each has a convention of its own, and modules know the resulting bytes.
//
// A packed HSV word is hue (0..251, 42 to a sixth) | saturation << 8 | value << 16 | alpha << 24.

#include "base/types.h"

namespace moxi {

u32 RgbToHsv(u32 colour);

// Hues of 252 and more with a saturation give black; the alpha is kept.
u32 HsvToRgb(u32 hsv);

// Paints every pixel of the rectangle inside the clip: saturation grows to the right, value
// downward, each the other way with a negative width or height. `hue` is a byte.
void HueSquare(u32 handle, i32 x, i32 y, i32 w, i32 h, u32 hue);

// Gives the rectangle inside the clip a new hue and saturation (negative: each pixel keeps its own)
// and changes its values by contrast and then brightness, both in 255ths. Alpha stays.
void AdjustColours(u32 handle, i32 x, i32 y, i32 w, i32 h, i32 hue, i32 saturation, i32 brightness,
                   i32 contrast);

}  // namespace moxi
