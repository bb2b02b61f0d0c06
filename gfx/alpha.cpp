#include "gfx/alpha.h"

#include "gfx/bitmap.h"
#include "gfx/kernels.h"
#include "gfx/patience.h"
#include "gfx/pixel.h"

namespace moxi {

namespace {

constexpr u32 kAlphaMask = 0xFF000000;
constexpr u32 kColourMask = 0x00FFFFFF;

Replacement MakeReplacement(i64 selector, u32 alpha) {
    switch (selector) {
        case kEveryPixel: return {kAlphaMask, alpha, false, kColourMask, alpha};
        case kVisiblePixels: return {kAlphaMask, 0, false, kColourMask, alpha};
        case kOpaquePixels: return {kAlphaMask, kAlphaMask, true, kColourMask, alpha};
        default: break;
    }
    const u32 key = static_cast<u32>(selector) & kColourMask;
    // The key is compared as it is and written with red and blue exchanged.
    return {kColourMask, key, true, 0, alpha | ExchangeRedBlue(key)};
}

// The start is moved into the clip without shortening the rectangle; only the clip's end cuts it.
void ClipSpan(i32 start, i32 size, i64 clipStart, i64 clipEnd, i64& newStart, i64& newSize) {
    newStart = start > clipStart ? i64{start} : clipStart;
    newSize = newStart + size > clipEnd ? clipEnd - newStart : i64{size};
}

}  // namespace

u64 SetAlpha(u32 handle, i32 x, i32 y, i32 w, i32 h, i64 selector, u32 alpha) {
    StartSRC(handle);
    const Area clip = ClipArea(srcSelection);
    i64 left = 0;
    i64 top = 0;
    i64 width = 0;
    i64 height = 0;
    ClipSpan(x, w, clip.left, clip.right, left, width);
    ClipSpan(y, h, clip.top, clip.bottom, top, height);
    const Area area = {left, top, left + width, top + height};
    u64 changed = 0;
    if (!area.Empty()) {
        RequireArea(srcSelection, area);
        const Replacement replacement = MakeReplacement(selector, (alpha & 0xFF) << 24);
        ForEachPiece(area, [&](i64 x1, i64 row, std::size_t count) {
            changed += kernels->replace(PixelAt(srcSelection, x1, row), count, replacement);
        });
    }
    if (handle == kScreenBitmap) {
        GrowDirtyRect(static_cast<i32>(left), static_cast<i32>(top), static_cast<i32>(width),
                      static_cast<i32>(height));
    }
    EndSRC();
    return changed;
}

}  // namespace moxi
