#pragma once
// For operations that draw several lines and look first whether all of them stay in the image.

#include "gfx/bitmap.h"

namespace moxi {

struct LineEnds {
    i32 x1, y1, x2, y2;
};

// Ends the host with a memory fault where drawing the line would leave the image. `pattern` starts
// as LinePattern() and goes on as the lines' pattern would.
void RequireLine(const Selection& selection, const LineEnds& ends, u32& pattern);

u32 LinePattern();

}  // namespace moxi
