#include "gfx/screen.h"

#include <cstdlib>
#include <memory>

#include "gfx/bitmap.h"
#include "gfx/draw.h"
#include "gfx/fonts.h"
#include "gfx/kernels.h"

namespace moxi {

namespace {

constexpr u32 kPixelAlignment = 64;
constexpr u32 kOpaqueBlack = 0xFF000000;

// The text bitmap holds the tallest line of text: 256 rows, more on very high screens.
constexpr u32 kTextRows = 256;
constexpr u32 kTallScreen = 3840;
constexpr u32 kTallScreenPart = 15;

// What calloc gave for each host bitmap; the pixels start a little later.
constinit void* screenBlock = nullptr;
constinit void* textBlock = nullptr;

bool CreateHostBitmap(u32 width, u32 height, HostBitmap& bitmap, void*& block) {
    std::free(block);
    bitmap = {};
    // calloc leaves large blocks untouched until they are used: nobody waits for the text bitmap.
    const u64 size = u64{width} * kBytesPerPixel * height;
    block = std::calloc(1, size + kPixelAlignment);
    if (block == nullptr) {
        return false;
    }
    void* pixels = block;
    std::size_t space = size + kPixelAlignment;
    bitmap.pixels = static_cast<u8*>(std::align(kPixelAlignment, size, pixels, space));
    bitmap.width = width;
    bitmap.height = height;
    bitmap.stride = width * kBytesPerPixel;
    bitmap.clipWidth = static_cast<i32>(width);
    bitmap.clipHeight = static_cast<i32>(height);
    return true;
}

}  // namespace

bool CreateScreenBitmap(u32 width, u32 height) {
    const u32 screenWidth = width & 0xFFFF;
    const u32 screenHeight = height & 0xFFFF;
    if (!CreateHostBitmap(screenWidth, screenHeight, screenBitmap, screenBlock)) {
        return false;
    }
    const u32 textHeight = screenHeight < kTallScreen ? kTextRows : screenHeight / kTallScreenPart;
    if (!CreateHostBitmap(screenWidth, textHeight, textBitmap, textBlock)) {
        return false;
    }
    EmptyFontCache();
    ChooseKernels();
    Rectangle(kScreenBitmap, 0, 0, static_cast<i32>(screenWidth), static_cast<i32>(screenHeight),
              kOpaqueBlack, 0);
    return true;
}

void ResetGraphics() {
    std::free(screenBlock);
    std::free(textBlock);
    screenBlock = textBlock = nullptr;
    ResetBitmaps();
    ResetLinePattern();
}

}  // namespace moxi
