#pragma once
// Load Image and Save Image. Names are the module's, for the file services: reading looks in the
// data folder and then in the resources, writing goes to the data folder.

#include "base/types.h"

namespace moxi {

constexpr u32 kFormatBmp = 0;
constexpr u32 kFormatPng = 1;

// Loads a BMP or PNG file into a new bitmap and returns its handle; 0, and no bitmap, for a file
// that is neither, that is broken, or whose picture does not fit the module's heap.
u32 LoadImage(const char* name);

// Writes a bitmap; 1 when all of it was written, else 0. Any format but the two gives 0.
u32 SaveImage(u32 handle, const char* name, u32 format);

// --- What the formats share

// A new bitmap, or 0 when the module's heap has no room for it: a file may claim any size.
u32 CreateBitmapIfItFits(u32 width, u32 height);

// Whether CreateBitmap would find the room.
bool BitmapFitsHeap(u32 width, u32 height);

// The pixels of a bitmap that CreateBitmap has just made, `bytes` of them.
u8* PixelsOfNewBitmap(u32 handle, u64 bytes);

}  // namespace moxi
