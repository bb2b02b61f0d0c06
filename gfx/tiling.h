#pragma once
// Where the copies of a blit lie: one copy, or copies side by side and in rows up to a limit.

#include <algorithm>
#include <cstdlib>

#include "gfx/bitmap.h"
#include "gfx/patience.h"

namespace moxi {

struct Tiling {
    i64 x, y;           // of the first copy
    i64 width, height;  // of a copy, both positive
    i64 right, bottom;  // pixels are written left of `right` and above `bottom`

    // What may be written, before the clip.
    Area Extent() const { return {x, y, right, bottom}; }
    // Whether all of a visible area belongs to the first copy.
    bool IsFirstCopy(const Area& visible) const {
        return visible.right <= x + width && visible.bottom <= y + height;
    }
};

// A limit of 0 asks for one copy.
inline Tiling MakeTiling(i32 x, i32 y, i32 width, i32 height, i32 right, i32 bottom) {
    return {x,
            y,
            width,
            height,
            right != 0 ? i64{right} : i64{x} + width,
            bottom != 0 ? i64{bottom} : i64{y} + height};
}

// Calls visit(tileX, tileY, part) for each copy with a part in the visible area, across, then down.
template <class Visit>
void ForEachTile(const Tiling& tiling, const Area& visible, Visit visit) {
    if (visible.Empty()) {
        return;
    }
    if (tiling.IsFirstCopy(visible)) {
        visit(tiling.x, tiling.y, visible);
        return;
    }
    const i64 firstX = visible.left - (visible.left - tiling.x) % tiling.width;
    const i64 firstY = visible.top - (visible.top - tiling.y) % tiling.height;
    for (i64 y = firstY; y < visible.bottom; y += tiling.height) {
        for (i64 x = firstX; x < visible.right; x += tiling.width) {
            NoteDrawing(kPixelsOfAStep);
            visit(x, y, Intersect({x, y, x + tiling.width, y + tiling.height}, visible));
        }
    }
}

// The smallest area, relative to a copy's corner, that holds the visible parts of all copies. Its
// corners are visible in one of them.
inline Area VisiblePart(const Tiling& tiling, const Area& visible) {
    if (tiling.IsFirstCopy(visible)) {
        return {visible.left - tiling.x, visible.top - tiling.y, visible.right - tiling.x,
                visible.bottom - tiling.y};
    }
    const auto range = [](i64 start, i64 size, i64 low, i64 high, i64& first, i64& end) {
        const i64 lowTile = (low - start) / size;
        const i64 highTile = (high - 1 - start) / size;
        first = lowTile == highTile ? low - start - lowTile * size : 0;
        end = lowTile == highTile ? high - start - lowTile * size : size;
    };
    Area part = {};
    range(tiling.x, tiling.width, visible.left, visible.right, part.left, part.right);
    range(tiling.y, tiling.height, visible.top, visible.bottom, part.top, part.bottom);
    return part;
}

inline Area Moved(const Area& area, i64 x, i64 y) {
    return {area.left + x, area.top + y, area.right + x, area.bottom + y};
}

// What the dirty rectangle grows by on one axis: up to the limit where there is one.
inline i32 GrowthTo(i32 limit, i32 start, i32 size) {
    return limit != 0 ? static_cast<i32>(static_cast<u32>(limit) - static_cast<u32>(start)) : size;
}

// Whether the rows of an area share no bytes. A module's record may lay them over each other, and
// then the order of drawing shows.
inline bool RowsAreApart(const Selection& selection, const Area& area) {
    return std::abs(i64{selection.stride}) >= (area.right - area.left) * i64{kBytesPerPixel};
}

// The bytes that an area takes up, from the lowest address to the end.
struct Bytes {
    std::uintptr_t start, end;
};

inline Bytes BytesOf(const Selection& selection, const Area& area) {
    const auto address = [&](i64 x, i64 y) {
        return reinterpret_cast<std::uintptr_t>(PixelAt(selection, x, y));
    };
    const std::uintptr_t first = address(area.left, area.top);
    const std::uintptr_t last = address(area.left, area.bottom - 1);
    const std::uintptr_t width = static_cast<std::uintptr_t>(area.right - area.left);
    return {std::min(first, last), std::max(first, last) + width * kBytesPerPixel};
}

// Whether drawing on the target area might change the source area. Both are reached.
inline bool MayOverlap(const Area& source, const Area& target) {
    if (srcSelection.host && dstSelection.handle == srcSelection.handle) {
        return !Intersect(source, target).Empty();
    }
    const Bytes a = BytesOf(srcSelection, source);
    const Bytes b = BytesOf(dstSelection, target);
    return a.start < b.end && b.start < a.end;
}

}  // namespace moxi
