#pragma once
// A machine with a heap and the two host bitmaps, for tests that call the drawing code directly.

#include "base/bytes.h"
#include "gfx/bitmap.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

// An image of this size with a heap from kTestHeapStart on.
constexpr u32 kTestHeapStart = 1024;

// Fresh machine, heap and host bitmaps. The heap's handle 0 is in use, as after a module is loaded.
void StartGfxBench(u32 imageBytes, u32 screenWidth, u32 screenHeight);
void EndGfxBench();

// The image address of a module bitmap's first pixel, and of its record.
u32 PixelAddress(u32 handle);
u32 RecordAddress(u32 handle);

// A bitmap with every pixel set to `pixel`.
u32 MakeBitmap(u32 width, u32 height, u32 pixel);
void SetPixel(u32 handle, i32 x, i32 y, u32 pixel);

class GfxTest : public ::testing::Test {
  protected:
    void SetUp() override { StartGfxBench(65536, 40, 30); }
    void TearDown() override { EndGfxBench(); }
};

}  // namespace moxi
