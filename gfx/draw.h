#pragma once
// Drawing primitives: pixels, lines, rectangles, ellipses and the clip rectangle of a bitmap.
//
// Each operation selects its bitmap, draws inside the clip (where not said otherwise), releases the
// bitmap and, on the screen bitmap, grows the dirty rectangle. Blending lays a colour with alpha a
// over a pixel: bytes 0-2 become c * a / 255 + old * (255 - a) / 255 and byte 3 becomes
// a * a / 255 + old * (255 - a) / 255.
//
// Where a module bitmap's record leads outside the image, the whole operation is a memory fault and
// draws nothing. Addresses are module addresses.

#include "base/types.h"
#include "gfx/bitmap.h"

namespace moxi {

// The pixel word, 0 outside the bitmap. The clip does not matter.
u32 GetPixel(u32 handle, i32 x, i32 y);

// Blends one pixel anywhere in the bitmap, whatever the clip.
void BlendPixel(u32 handle, i32 x, i32 y, u32 colour);

// Both ends are drawn. The line pattern is rotated by one for each position inside the clip.
void Line(u32 handle, i32 x1, i32 y1, i32 x2, i32 y2, u32 colour);

// The same, leaving the dirty rectangle alone.
void LineWithoutGrowth(u32 handle, i32 x1, i32 y1, i32 x2, i32 y2, u32 colour);

// Lines through `count` points, pairs of words at `points`. One point draws nothing; none at all is
// a memory fault, for the count wraps.
void Polyline(u32 handle, u32 points, u32 count, u32 colour);

// A colour with alpha 0 leaves out the filling or the frame. The filling leaves the frame's pixels
// alone; the frame's four lines visit the corners twice.
void Rectangle(u32 handle, i32 x, i32 y, i32 w, i32 h, u32 fill, u32 frame);

// Red and blue of both colours change places. Without a frame the outline takes the fill colour.
void Ellipse(u32 handle, i32 x, i32 y, i32 w, i32 h, u32 fill, u32 frame);

// Limits the clip rectangle to the bitmap and sets it; the former one goes to the four words at
// `save` unless that is 0.
void SetClip(u32 handle, i32 x, i32 y, i32 w, i32 h, u32 save);

// Writes width, height and clip (x, y, width, height) to the six words at `out`.
void GetBitmapInfo(u32 handle, u32 out);

// The mask that lines are dashed with, bit 31 first; all ones at start. Returns the former one.
u32 SetLinePattern(u32 pattern);

// Back to a solid line. For tests.
void ResetLinePattern();

// --- For operations that draw several lines and look first whether all of them stay in the image

struct LineEnds {
    i32 x1, y1, x2, y2;
};

// Ends the host with a memory fault where drawing the line would leave the image. `pattern` starts
// as LinePattern() and goes on as the lines' pattern would.
void RequireLine(const Selection& selection, const LineEnds& ends, u32& pattern);

// The mask as it stands.
u32 LinePattern();

}  // namespace moxi
