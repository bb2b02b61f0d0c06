#pragma once
// Copies between bitmaps. They select both bitmaps, write only inside the destination's clip and
// grow the dirty rectangle where the destination is the screen.
//
// The source rectangle is checked against nothing: beyond a module bitmap's own pixels lies what
// follows in the image (an address outside the image that is really needed is a memory fault, and
// then nothing is drawn), beyond a host bitmap lies transparent black. Where source and destination
// overlap, copies work in place: tile by tile (across, then down), each from its top row down, each
// row from left to right, each pixel read just before it is written.

#include "base/types.h"

namespace moxi {

// Lays the source rectangle over the destination at (x, y). With a right or bottom limit other than
// 0 the copies go on side by side, downward in rows, while they start before the limit; each is cut
// there. Inverting takes 255 - c for each colour byte of the source; with 0 < sourceX < right it
// also never stops placing copies side by side (see docs/fidelity.md), until the host ends.
void Blit(u32 destination, i32 x, i32 y, u32 source, i32 sourceX, i32 sourceY, i32 width,
          i32 height, bool invert, i32 right, i32 bottom);

// Twelve words: destination handle, x, y, width, height, source handle, x, y, width, height, right
// limit, bottom limit. Each destination pixel is the average of the source area that it covers.
struct ScaledBlit {
    u32 destination;
    i32 x, y, width, height;
    u32 source;
    i32 sourceX, sourceY, sourceWidth, sourceHeight;
    i32 right, bottom;
};

void BlitScaled(const ScaledBlit& blit);

}  // namespace moxi
