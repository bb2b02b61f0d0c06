#pragma once
// Drawing that takes days: a bitmap's record may say that 2^62 pixels lie on one another, and a
// blit may be made of as many copies of one pixel. Such work asks now and then whether the run is
// to end.

#include <algorithm>

#include "base/types.h"
#include "desktop/desktop.h"
#include "gfx/bitmap.h"
#include "vm/diagnostics.h"

namespace moxi {

constexpr u64 kPixelsBetweenQuestions = 1 << 22;  // some milliseconds

// Finding out where to draw costs, too: for each copy of a tiling, each line and each step around
// an ellipse as much as so many pixels.
constexpr u64 kPixelsOfAStep = 64;

// Pixels drawn since the last question, by whichever command.
inline constinit u64 pixelsUnasked = 0;

// The run ends here when the user no longer waits for it.
inline void AskWhetherToEnd() {
    if (desktop.endIsForced()) {
        EndProcess(kForcedEnd);
    }
}

// Comes before every piece of work whose length the module chooses, with the number of pixels that
// it touches, or that take as long.
inline void NoteDrawing(u64 pixels) {
    pixelsUnasked += pixels;
    if (pixelsUnasked < kPixelsBetweenQuestions) [[likely]] {
        return;
    }
    pixelsUnasked = 0;
    AskWhetherToEnd();
}

// Whether an area is so small that it is announced and drawn as a whole. Nearly all are, and
// thousands of them make a picture.
inline bool IsOneBand(i64 width, i64 height) {
    constexpr i64 kShort = 1 << 11;
    return width <= kShort && height <= kShort;
}

// A larger area from the top down in bands of whole rows, each announced.
template <class Visit>
[[gnu::noinline]] void ForEachBandOfLarge(const Area& area, Visit visit) {
    const i64 width = area.right - area.left;
    const i64 most = std::max<i64>(i64{kPixelsBetweenQuestions} / std::max<i64>(width, 1), 1);
    for (i64 top = area.top; top < area.bottom; top += most) {
        const Area band = {area.left, top, area.right, std::min(top + most, area.bottom)};
        NoteDrawing(static_cast<u64>(width * (band.bottom - band.top)));
        visit(band);
    }
}

// Any area in such bands.
template <class Visit>
[[gnu::always_inline]] inline void ForEachBand(const Area& area, Visit visit) {
    const i64 width = area.right - area.left;
    const i64 height = area.bottom - area.top;
    if (!IsOneBand(width, height)) {
        ForEachBandOfLarge(area, visit);
        return;
    }
    if (height > 0) {
        NoteDrawing(static_cast<u64>(width * height));
        visit(area);
    }
}

// The same in pieces of rows, for work on one pixel after the other.
template <class Visit>
void ForEachPiece(const Area& area, Visit visit) {
    constexpr i64 kMost = 1 << 16;
    for (i64 y = area.top; y < area.bottom; ++y) {
        for (i64 left = area.left; left < area.right; left += kMost) {
            const i64 count = std::min(kMost, area.right - left);
            NoteDrawing(static_cast<u64>(count));
            visit(left, y, static_cast<std::size_t>(count));
        }
    }
}

}  // namespace moxi
