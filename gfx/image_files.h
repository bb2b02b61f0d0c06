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

// --- BMP, gfx/bmp.cpp: 24 and 32 bits a pixel, not compressed, bottom row first

// The handle of a new bitmap with the file's picture, 0 when it is not such a file. Top-down files
// (a negative height) are taken for huge ones and refused. A picture without an image size in its
// header is read with the row stride of 24 bits, even when it has 32. Rows beyond the end of the
// pixel data are 0.
u32 LoadBmp(const char* name);

// Writes 32 bits a pixel. 1 when every row was written; what was written before a failure stays.
u32 SaveBmp(u32 handle, const char* name);

// --- PNG, gfx/png.cpp, coded by libspng

// The handle of a new bitmap with the picture's bytes as they are (no transparency from a palette,
// no gamma, no premultiplication), 0 when it cannot be decoded. Checksums do not matter.
u32 LoadPng(const char* name);

// Writes 8-bit RGBA with bytes 0 and 2 of each pixel exchanged: red and blue change places in the
// file. 1 when all of it was written; a bitmap without width or height gives 0 and no file.
u32 SavePng(u32 handle, const char* name);

// --- What the formats share

// A new bitmap, or 0 when the module's heap has no room for it: a file may claim any size.
u32 CreateBitmapIfItFits(u32 width, u32 height);

// Whether CreateBitmap would find the room.
bool BitmapFitsHeap(u32 width, u32 height);

// The pixels of a bitmap that CreateBitmap has just made, `bytes` of them.
u8* PixelsOfNewBitmap(u32 handle, u64 bytes);

}  // namespace moxi
