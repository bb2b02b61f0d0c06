#pragma once
// BMP files: 24 and 32 bits a pixel, not compressed, bottom row first.

#include "base/types.h"

namespace moxi {

// The handle of a new bitmap with the file's picture, 0 when it is not such a file. Top-down files
// (a negative height) are taken for huge ones and refused. A picture without an image size in its
// header is read with the row stride of 24 bits, even when it has 32. Rows beyond the end of the
// pixel data are 0.
u32 LoadBmp(const char* name);

// Writes 32 bits a pixel. 1 when every row was written; what was written before a failure stays.
u32 SaveBmp(u32 handle, const char* name);

}  // namespace moxi
