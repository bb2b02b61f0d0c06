#pragma once
// Laying text over pixels.

#include "desktop/text_engine.h"
#include "gfx/bitmap.h"

namespace moxi {

// Lays the colour's bytes 0-2 over the pixels of `area` as far as the picture covers them: with
// coverage c each byte becomes (colour * c + old * (255 - c)) / 255, alpha with 255 for the colour.
// The picture's column 0 and row 0 lie at column 0 and row `baseline` of the bitmap; the area lies
// in the bitmap.
void LayPicture(const HostBitmap& bitmap, const TextPicture& picture, i32 baseline, u32 colour,
                const Area& area);

}  // namespace moxi
