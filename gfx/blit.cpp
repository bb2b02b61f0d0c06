#include "gfx/blit.h"

#include <chrono>
#include <thread>

#include "gfx/bitmap.h"
#include "gfx/kernels.h"
#include "gfx/kernels_pixel.h"
#include "gfx/patience.h"
#include "gfx/tiling.h"
#include "vm/guard.h"

namespace moxi {

namespace {

// One copy, or what the clip leaves of it: pixels of the destination and the distance to those of
// the source.
struct Copy {
    Area target;
    i64 toSourceX, toSourceY;
};

// Writing a row can change what the same row has still to read when it starts a little to the
// right of the source in the same memory. The loops over single pixels then give the right bytes.
bool RowOverlaps(const u8* to, const u8* from) {
    const auto distance =
        reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from);
    return distance - 1 < kKernelBlock - 1;
}

// Host bitmaps and the image share no bytes, and what is copied was found to lie within them.
bool AreSeparate() {
    return srcSelection.host != dstSelection.host;
}

// A copy of some height within one memory, where each row is looked at by itself.
[[gnu::noinline]] void CopyRowByRow(u8* to, const u8* from, std::size_t count, std::size_t rows,
                                    bool invert) {
    for (std::size_t row = 0; row < rows; ++row) {
        const Kernels* const set = RowOverlaps(to, from) ? &scalarKernels : kernels;
        (invert ? set->blendInverted : set->blend)(to, 0, from, 0, count, 1);
        to += dstSelection.stride;
        from += srcSelection.stride;
    }
}

[[gnu::always_inline]] inline void CopyBand(const Copy& copy, const Area& target, bool invert) {
    u8* const to = PixelAt(dstSelection, target.left, target.top);
    const u8* const from =
        PixelAt(srcSelection, target.left + copy.toSourceX, target.top + copy.toSourceY);
    const i64 toStride = dstSelection.stride;
    const i64 fromStride = srcSelection.stride;
    const std::size_t count = static_cast<std::size_t>(target.right - target.left);
    const std::size_t rows = static_cast<std::size_t>(target.bottom - target.top);
    const Kernels* set = kernels;
    if (!AreSeparate()) {
        if (rows != 1 && toStride != fromStride) {
            CopyRowByRow(to, from, count, rows, invert);
            return;
        }
        set = RowOverlaps(to, from) ? &scalarKernels : kernels;
    }
    (invert ? set->blendInverted : set->blend)(to, toStride, from, fromStride, count, rows);
}

[[gnu::always_inline]] inline void CopyArea(const Copy& copy, bool invert) {
    if (copy.target.Empty()) {
        return;
    }
    ForEachBand(copy.target, [&](const Area& band) { CopyBand(copy, band, invert); });
}

// What a copy takes from a host bitmap: beyond it everything is transparent.
Area WithinSource(const Copy& copy) {
    return Intersect(copy.target,
                     Moved(BitmapArea(srcSelection), -copy.toSourceX, -copy.toSourceY));
}

// The copy pixel by pixel, for a destination whose record leads out of the image: only pixels that
// are not transparent need it.
template <class Visit>
void VisitShownPixels(const Copy& copy, Visit visit) {
    for (i64 y = copy.target.top; y < copy.target.bottom; ++y) {
        for (i64 x = copy.target.left; x < copy.target.right; ++x) {
            NoteDrawing(1);
            const u32 source =
                LoadBytes<u32>(PixelAt(srcSelection, x + copy.toSourceX, y + copy.toSourceY));
            if (AlphaOf(source) == 0) {
                continue;
            }
            RequireArea(dstSelection, {x, y, x + 1, y + 1});
            visit(PixelAt(dstSelection, x, y), source);
        }
    }
}

struct BlitWork {
    Tiling tiling;
    Area visible;
    i64 sourceX, sourceY;
    bool invert;

    template <class Visit>
    void ForEachCopy(Visit visit) const {
        ForEachTile(tiling, visible, [&](i64 x, i64 y, const Area& part) {
            Copy copy = {part, sourceX - x, sourceY - y};
            if (srcSelection.host) {
                copy.target = WithinSource(copy);
            }
            visit(copy);
        });
    }
};

// Copies narrower than this are drawn row by row across all of them, if it makes no difference: a
// screen is then walked through once in the order of its memory.
constexpr i64 kNarrowCopy = 256;
// And only across rows that are short enough to be announced one by one.
constexpr i64 kLongestRow = 1 << 16;

bool IsNarrowTiling(const BlitWork& work) {
    if (work.tiling.width >= kNarrowCopy || work.tiling.IsFirstCopy(work.visible)) {
        return false;
    }
    if (work.visible.right - work.visible.left > kLongestRow) {
        return false;
    }
    if (!RowsAreApart(dstSelection, work.visible)) {
        return false;
    }
    const Area source = Moved(VisiblePart(work.tiling, work.visible), work.sourceX, work.sourceY);
    return Reaches(srcSelection, source) && !MayOverlap(source, work.visible);
}

// Source and destination share no bytes, so that every row may be drawn by the fastest loops.
void RunNarrowTiling(const BlitWork& work) {
    const Tiling& tiling = work.tiling;
    const Area& visible = work.visible;
    const auto blend = work.invert ? kernels->blendInverted : kernels->blend;
    const i64 firstColumn = (visible.left - tiling.x) % tiling.width;
    const i64 width = visible.right - visible.left;
    const i64 copies = (firstColumn + width + tiling.width - 1) / tiling.width;
    i64 row = (visible.top - tiling.y) % tiling.height;
    for (i64 y = visible.top; y < visible.bottom; ++y) {
        NoteDrawing(static_cast<u64>(width) + static_cast<u64>(copies) * kPixelsOfAStep);
        u8* to = PixelAt(dstSelection, visible.left, y);
        i64 column = firstColumn;
        for (i64 left = width; left > 0;) {
            const std::size_t count =
                static_cast<std::size_t>(std::min(tiling.width - column, left));
            blend(to, 0, PixelAt(srcSelection, work.sourceX + column, work.sourceY + row), 0, count,
                  1);
            to += count * kBytesPerPixel;
            left -= static_cast<i64>(count);
            column = 0;
        }
        row = row + 1 == tiling.height ? 0 : row + 1;
    }
}

void RunBlit(const BlitWork& work) {
    if (work.visible.Empty()) {
        return;
    }
    if (!srcSelection.host) {
        RequireArea(srcSelection,
                    Moved(VisiblePart(work.tiling, work.visible), work.sourceX, work.sourceY));
    }
    if (Reaches(dstSelection, work.visible)) {
        if (IsNarrowTiling(work)) {
            RunNarrowTiling(work);
            return;
        }
        work.ForEachCopy([&](const Copy& copy) { CopyArea(copy, work.invert); });
        return;
    }
    // First without writing, so that a blit that faults draws nothing.
    work.ForEachCopy([](const Copy& copy) { VisitShownPixels(copy, [](u8*, u32) {}); });
    work.ForEachCopy([&](const Copy& copy) {
        VisitShownPixels(copy, [&](u8* to, u32 source) {
            if (work.invert) {
                BlitPixel<true>(to, source);
            } else {
                BlitPixel<false>(to, source);
            }
        });
    });
}

// The way of nearly all blits: one copy. False when the destination is not reached.
bool RunOneCopy(const Area& visible, i64 toSourceX, i64 toSourceY, bool invert) {
    if (visible.Empty()) {
        return true;
    }
    const Area source = Moved(visible, toSourceX, toSourceY);
    if (!srcSelection.host) {
        RequireArea(srcSelection, source);
    }
    if (!Reaches(dstSelection, visible)) {
        return false;
    }
    Copy copy = {visible, toSourceX, toSourceY};
    if (srcSelection.host) {
        copy.target = WithinSource(copy);
    }
    CopyArea(copy, invert);
    return true;
}

// The copies go on beyond the limit, where they draw nothing, until the host ends.
[[noreturn]] void PlaceCopiesForever() {
    for (;;) {
        AskWhetherToEnd();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// Copies up to a limit, or one whose destination is not reached. True when there is no end of them:
// inverted copies are placed side by side by a test of the source's x, not of the position, so that
// there is one copy in each row of copies, or no end.
[[gnu::noinline]] bool BlitCopies(Tiling tiling, i32 sourceX, i32 sourceY, bool invert, i32 right) {
    if (tiling.width <= 0 || tiling.height <= 0) {
        return false;
    }
    const bool endless = invert && sourceX > 0 && sourceX < right;
    if (endless) {
        tiling.bottom = std::min(tiling.bottom, tiling.y + tiling.height);
    } else if (invert) {
        tiling.right = std::min(tiling.right, tiling.x + tiling.width);
    }
    RunBlit({tiling, Intersect(tiling.Extent(), ClipArea(dstSelection)), sourceX, sourceY, invert});
    return endless;
}

}  // namespace

void Blit(u32 destination, i32 x, i32 y, u32 source, i32 sourceX, i32 sourceY, i32 width,
          i32 height, bool invert, i32 right, i32 bottom) {
    StartDSTSRC(source, destination);
    const Area once = {x, y, i64{x} + width, i64{y} + height};
    const bool done =
        (right | bottom) == 0 && RunOneCopy(Intersect(once, ClipArea(dstSelection)),
                                            i64{sourceX} - x, i64{sourceY} - y, invert);
    if (!done && BlitCopies(MakeTiling(x, y, width, height, right, bottom), sourceX, sourceY,
                            invert, right)) {
        // Nothing is drawn from here on, so what runs while the host is asked may select bitmaps.
        EndDSTSRC();
        PlaceCopiesForever();
    }
    if (destination == kScreenBitmap) {
        GrowDirtyRect(x, y, GrowthTo(right, x, width), GrowthTo(bottom, y, height));
    }
    EndDSTSRC();
}

}  // namespace moxi
