// The scaled blit: every destination pixel is the average of the source area that it covers, worked
// out in 1/32 of a pixel.

#include <algorithm>
#include <array>

#include "gfx/bitmap.h"
#include "gfx/blit.h"
#include "gfx/kernels.h"
#include "gfx/kernels_pixel.h"
#include "gfx/patience.h"
#include "gfx/tiling.h"
#include "vm/guard.h"

namespace moxi {

namespace {

constexpr i64 kUnit = 32;  // parts of a source pixel
constexpr int kUnitBits = 5;
constexpr i64 kColumns = i64{kBoxColumns};  // worked out at a time
constexpr i64 kMostCells = i64{1} << 20;    // of one box, else it is worked out step by step

i32 Wrapped(u32 word) {
    return static_cast<i32>(word);
}

// One axis of the mapping. Its products wrap as 32-bit words.
struct ScaledAxis {
    i32 source, sourceSize, size;

    // Where destination position `index` begins in the source, in units.
    i64 Edge(i64 index) const {
        const u32 product = static_cast<u32>(index) * static_cast<u32>(sourceSize) * u32{kUnit};
        return Wrapped(static_cast<u32>(Wrapped(product) / size) +
                       static_cast<u32>(source) * u32{kUnit});
    }
    // Whether no product and no edge wraps.
    bool IsRegular() const {
        const i64 limit = i64{1} << 31;
        const i64 start = i64{source} * kUnit;
        return i64{size} * sourceSize < limit / kUnit && start >= -limit &&
               start + i64{sourceSize} * kUnit < limit;
    }
    // The first source pixel that destination positions [first, end) touch, and the one after the
    // last. Only of a regular axis, whose edges never fall.
    i64 FirstPixel(i64 first) const { return Edge(first) >> kUnitBits; }
    i64 EndPixel(i64 end) const {
        return std::max((Edge(end) - 1) >> kUnitBits, Edge(end - 1) >> kUnitBits) + 1;
    }
    // Source pixels that a destination position touches, at most.
    i64 LargestSpan() const { return i64{sourceSize} / size + 2; }
};

// The pixels that [start, end) touches and the weights of the first and the last.
struct Cells {
    u32 count, first, last, span;
};

Cells SplitIntoCells(i64 start, i64 end) {
    if (end <= start) {
        return {0, 0, 0, 0};
    }
    const u32 count = static_cast<u32>(((end - 1) >> kUnitBits) - (start >> kUnitBits) + 1);
    const i64 firstEnd = ((start >> kUnitBits) + 1) << kUnitBits;
    const i64 lastStart = ((end - 1) >> kUnitBits) << kUnitBits;
    return {count, static_cast<u32>(std::min(end, firstEnd) - start),
            static_cast<u32>(end - std::max(start, lastStart)), static_cast<u32>(end - start)};
}

// --- Any box, pixel by pixel: for boxes that leave the bitmap, the image or the range of the
// arithmetic, and for copies in place.

struct Box {
    i64 left, top, right, bottom;  // in units
};

u32 CheckedPixel(i64 x, i64 y) {
    const Area pixel = {x, y, x + 1, y + 1};
    if (!Reaches(srcSelection, pixel)) {
        if (srcSelection.host) {
            return 0;
        }
        MemoryFault();
    }
    return LoadBytes<u32>(PixelAt(srcSelection, x, y));
}

u32 AverageAnyBox(const Box& box) {
    const u32 firstPixel = CheckedPixel(box.left >> kUnitBits, box.top >> kUnitBits);
    if (box.top >= box.bottom || box.right <= box.left) {
        return firstPixel;
    }
    const u64 area =
        static_cast<u64>(box.right - box.left) * static_cast<u64>(box.bottom - box.top);
    const Area cells = {box.left >> kUnitBits, box.top >> kUnitBits,
                        ((box.right - 1) >> kUnitBits) + 1, ((box.bottom - 1) >> kUnitBits) + 1};
    if (!srcSelection.host) {
        RequireArea(srcSelection, cells);
    }
    BoxAverage average = {firstPixel, area};
    Area present = cells;
    if (srcSelection.host) {
        present = Intersect(cells, BitmapArea(srcSelection));
        // What lies beyond is transparent black and adds nothing.
        if (present.Empty()) {
            return 0;
        }
        const bool whole = present.left == cells.left && present.right == cells.right &&
                           present.top == cells.top && present.bottom == cells.bottom;
        if (!whole) {
            average.different = firstPixel;
        }
    }
    for (i64 y = present.top; y < present.bottom; ++y) {
        const i64 height = std::min((y + 1) * kUnit, box.bottom) - std::max(y * kUnit, box.top);
        for (i64 x = present.left; x < present.right; ++x) {
            NoteDrawing(1);
            const i64 width = std::min((x + 1) * kUnit, box.right) - std::max(x * kUnit, box.left);
            average.Add(LoadBytes<u32>(PixelAt(srcSelection, x, y)),
                        static_cast<u64>(width * height));
        }
    }
    return average.Pixel();
}

struct ScaleWork {
    Tiling tiling;
    Area visible;
    ScaledAxis across, down;

    // Every visible pixel in the order of drawing; `write` is false for a rehearsal that only
    // faults where the drawing would. A record may claim a bitmap of 2^62 pixels.
    void DrawPixels(bool write) const {
        ForEachTile(tiling, visible, [&](i64 tileX, i64 tileY, const Area& part) {
            for (i64 y = part.top; y < part.bottom; ++y) {
                const i64 top = down.Edge(y - tileY);
                const i64 bottom = down.Edge(y - tileY + 1);
                for (i64 x = part.left; x < part.right; ++x) {
                    NoteDrawing(kPixelsOfAStep);
                    const u32 colour = AverageAnyBox(
                        {across.Edge(x - tileX), top, across.Edge(x - tileX + 1), bottom});
                    if (AlphaOf(colour) == 0) {
                        continue;
                    }
                    RequireArea(dstSelection, {x, y, x + 1, y + 1});
                    if (write) {
                        ComposePixel(PixelAt(dstSelection, x, y), colour);
                    }
                }
            }
        });
    }

    // The same by rows, where every box is small, whole and not drawn upon.
    void DrawRows() const {
        ForEachTile(tiling, visible, [&](i64 tileX, i64 tileY, const Area& part) {
            for (i64 left = part.left; left < part.right; left += kColumns) {
                NoteDrawing(kPixelsOfAStep);
                DrawColumns(left, std::min(left + kColumns, part.right), tileX, tileY, part);
            }
        });
    }

    void DrawColumns(i64 left, i64 right, i64 tileX, i64 tileY, const Area& part) const {
        BoxColumns columns;
        std::array<u32, kBoxColumns> colours;
        const i64 firstPixel = across.FirstPixel(left - tileX);
        const std::size_t count = static_cast<std::size_t>(right - left);
        for (std::size_t i = 0; i < count; ++i) {
            const i64 index = left - tileX + static_cast<i64>(i);
            const i64 start = across.Edge(index);
            const Cells cells = SplitIntoCells(start, across.Edge(index + 1));
            columns.columns[i] = {((start >> kUnitBits) - firstPixel) * i64{kBytesPerPixel},
                                  cells.count, cells.first, cells.last, cells.span};
            const f64 span = std::max(cells.span, 1U);
            columns.parts.first[i] = cells.first / span;
            columns.parts.middle[i] = kUnit / span;
            columns.parts.last[i] = cells.last / span;
        }
        const u64 sourceColumns =
            static_cast<u64>(across.EndPixel(right - tileX) - firstPixel) + count;
        // Loops over several columns at a time read on to a whole number of them.
        std::fill(columns.parts.first + count, std::end(columns.parts.first), 0.0);
        std::fill(columns.parts.middle + count, std::end(columns.parts.middle), 0.0);
        std::fill(columns.parts.last + count, std::end(columns.parts.last), 0.0);
        for (i64 y = part.top; y < part.bottom; ++y) {
            const i64 start = down.Edge(y - tileY);
            const Cells bands = SplitIntoCells(start, down.Edge(y - tileY + 1));
            NoteDrawing((bands.count + 1) * sourceColumns);
            const BoxRow row = {PixelAt(srcSelection, firstPixel, start >> kUnitBits),
                                srcSelection.stride,
                                bands.count,
                                bands.first,
                                bands.last,
                                bands.span};
            kernels->average(colours.data(), columns, count, row);
            kernels->compose(PixelAt(dstSelection, left, y), colours.data(), count);
        }
    }
};

void RunScaledBlit(const ScaleWork& work) {
    if (work.visible.Empty()) {
        return;
    }
    bool simple = work.across.IsRegular() && work.down.IsRegular() &&
                  Reaches(dstSelection, work.visible) && RowsAreApart(dstSelection, work.visible);
    // Of a regular axis, so that the product fits.
    simple = simple && work.down.LargestSpan() * work.across.LargestSpan() <= kMostCells;
    if (simple) {
        const Area part = VisiblePart(work.tiling, work.visible);
        const Area source = {work.across.FirstPixel(part.left), work.down.FirstPixel(part.top),
                             work.across.EndPixel(part.right), work.down.EndPixel(part.bottom)};
        simple = Reaches(srcSelection, source) && !MayOverlap(source, work.visible);
    }
    if (simple) {
        work.DrawRows();
        return;
    }
    // First without writing, so that a blit that faults draws nothing.
    work.DrawPixels(false);
    work.DrawPixels(true);
}

}  // namespace

void BlitScaled(const ScaledBlit& blit) {
    if (blit.width < 1 || blit.height < 1 || blit.sourceWidth < 1 || blit.sourceHeight < 1) {
        return;
    }
    if (blit.width == blit.sourceWidth && blit.height == blit.sourceHeight) {
        Blit(blit.destination, blit.x, blit.y, blit.source, blit.sourceX, blit.sourceY, blit.width,
             blit.height, false, blit.right, blit.bottom);
        return;
    }
    StartDSTSRC(blit.source, blit.destination);
    const Tiling tiling =
        MakeTiling(blit.x, blit.y, blit.width, blit.height, blit.right, blit.bottom);
    RunScaledBlit({tiling,
                   Intersect(tiling.Extent(), ClipArea(dstSelection)),
                   {blit.sourceX, blit.sourceWidth, blit.width},
                   {blit.sourceY, blit.sourceHeight, blit.height}});
    EndDSTSRC();
    if (blit.destination == kScreenBitmap) {
        GrowDirtyRect(blit.x, blit.y, GrowthTo(blit.right, blit.x, blit.width),
                      GrowthTo(blit.bottom, blit.y, blit.height));
    }
}

}  // namespace moxi
