#pragma once
// Makes the bitmaps of the host: the screen bitmap and the text bitmap.

#include "base/types.h"

namespace moxi {

// Makes the screen bitmap (each size is taken as its low 16 bits), then the text bitmap, empties
// the font cache and fills the screen with opaque black. False when there is not enough memory; the
// caller shows the message. Former bitmaps are released.
bool CreateScreenBitmap(u32 width, u32 height);

// Releases the host bitmaps and sets the room's state to that of a new process. For tests.
void ResetGraphics();

}  // namespace moxi
