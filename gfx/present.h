#pragma once
// Copies a part of the screen bitmap into what the view shows.

#include <vector>

#include "base/types.h"
#include "desktop/desktop.h"

namespace moxi {

// What the view shows: rows top first, 4 bytes a pixel in the order R, G, B, unused. White where
// nothing was drawn yet.
struct ViewBuffer {
    i32 width = 0;
    i32 height = 0;
    std::vector<u8> pixels;
};

enum class PresentResult : u8 {
    Postponed,  // folded into the dirty rectangle
    Empty,      // nothing to draw
    Drawn,
};

// Gives the buffer a new size; all of it is white until it is drawn. A size that the machine's
// memory cannot hold ends the process with a fatal message.
void ResizeViewBuffer(ViewBuffer& view, i32 width, i32 height);

// Draws `rect` (view points, origin bottom-left) from the screen bitmap, one to one; a part that
// lies past the bitmap's edge is cut and the rest stretched. With `postpone` the rectangle is
// merged into the dirty rectangle instead, as it stands and without turning it upside down:
// modules rely on seeing it flushed again. `knownHeight` is the view's height at its last frame
// change, `viewHeight` its height now.
//
// `drawn` is told of what was drawn, part by part where it is large, so that the part is still near
// when it is shown. With `isCopied` each of its pixels is that of the screen bitmap at the same
// place.
using PartDrawn = void (*)(ViewRect part, bool isCopied);
PresentResult PresentScreen(ViewRect rect, bool postpone, i32 knownHeight, i32 viewHeight,
                            ViewBuffer& view, PartDrawn drawn);

}  // namespace moxi
