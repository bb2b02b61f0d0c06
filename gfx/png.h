#pragma once
// PNG files, coded by libspng.

#include "base/types.h"

namespace moxi {

// The handle of a new bitmap with the picture's bytes as they are (no transparency from a palette,
// no gamma, no premultiplication), 0 when it cannot be decoded. Checksums do not matter.
u32 LoadPng(const char* name);

// Writes 8-bit RGBA with bytes 0 and 2 of each pixel exchanged: red and blue change places in the
// file. 1 when all of it was written; a bitmap without width or height gives 0 and no file.
u32 SavePng(u32 handle, const char* name);

}  // namespace moxi
