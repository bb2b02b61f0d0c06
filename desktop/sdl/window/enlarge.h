#pragma once
// A picture drawn larger or smaller into another one: where no graphics processor does it.

#include "base/types.h"
#include "desktop/sdl/window/geometry.h"

namespace moxi {

// 4 bytes a pixel, rows top first.
struct SourcePicture {
    const u8* pixels = nullptr;
    i32 width = 0;
    i32 height = 0;
    i32 pitch = 0;  // bytes from row to row
};
struct TargetPicture {
    u8* pixels = nullptr;
    i32 width = 0;
    i32 height = 0;
    i32 pitch = 0;                     // bytes from row to row
    bool redAndBlueExchanged = false;  // bytes 0 and 2 are the source's 2 and 0
};

// Draws all of `from` over `place`, which may reach beyond `to`; only what comes of the source
// pixels in `changed` is drawn, and its extent in `to` is returned (width 0 when that is nothing).
// Sharp: each pixel is the source pixel nearest to its centre. Smooth: it is mixed of the four
// around its centre, in 256ths and rounded, first across and then down.
//
// What is larger than the caches is written past them: nothing here reads it again.
ScreenArea Enlarge(const SourcePicture& from, const TargetPicture& to, const ScreenArea& place,
                   const ScreenArea& changed, bool smooth);

// Draws the pixels in `area`, which lies in both, at the same place.
void CopyPixels(const SourcePicture& from, const TargetPicture& to, const ScreenArea& area);

}  // namespace moxi
