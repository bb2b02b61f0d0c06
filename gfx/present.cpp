#include "gfx/present.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "gfx/bitmap.h"
#include "gfx/row_kernels.h"
#include "vm/diagnostics.h"

namespace moxi {

namespace {

// Truncation as the processor does it: what does not fit gives the most negative value.
i32 Truncate(double value) {
    constexpr double kLimit = 2147483648.0;
    if (!(value > -kLimit - 1 && value < kLimit)) {
        return INT32_MIN;
    }
    return static_cast<i32>(value);
}

void MergeIntoDirtyRect(const ViewRect& rect) {
    if (rect.x < dirtyRect.left) {
        dirtyRect.left = Truncate(rect.x);
    }
    if (rect.y < dirtyRect.top) {
        dirtyRect.top = Truncate(rect.y);
    }
    if (dirtyRect.right < rect.x + rect.width) {
        dirtyRect.right = Truncate(rect.x + rect.width);
    }
    if (dirtyRect.bottom < rect.y + rect.height) {
        dirtyRect.bottom = Truncate(rect.y + rect.height);
    }
}

// The first pixel whose centre lies at or above `edge`, kept within 0..limit.
i32 FirstPixel(double edge, i32 limit) {
    const double first = std::ceil(edge - 0.5);
    return static_cast<i32>(std::clamp<double>(first, 0, limit));
}

// The sum is cut to the low 16 bits of each part, as the limit has always been tested.
bool ReachesPast(double start, double size, u32 limit) {
    const i32 sum = (Truncate(start) & 0xFFFF) + (Truncate(size) & 0xFFFF);
    return sum > static_cast<i32>(limit);
}

// Source over white: a premultiplied pixel gives min(255, c + 255 - alpha) a channel.
void DrawPixel(u8* target, const u8* source) {
    const u32 rest = 255u - source[3];
    for (u32 channel = 0; channel < 3; ++channel) {
        target[channel] = static_cast<u8>(std::min(255u, source[channel] + rest));
    }
}

// Answers whether all of it is opaque.
bool DrawRow(u8* target, const u8* source, i32 pixels, bool streams) {
    // Where one pixel is translucent, its neighbours often are.
    constexpr std::size_t kNeighbours = 16;
    const std::size_t count = static_cast<std::size_t>(pixels);
    std::size_t x = CopyOpaque(target, source, count, streams);
    const bool isOpaque = x == count;
    while (x < count) {
        for (const std::size_t end = std::min(x + kNeighbours, count); x < end; ++x) {
            DrawPixel(target + x * 4, source + x * 4);
        }
        x += CopyOpaque(target + x * 4, source + x * 4, count - x, streams);
    }
    return isOpaque;
}

const u8* ScreenRow(i64 row) {
    return screenBitmap.pixels + static_cast<u64>(row) * screenBitmap.stride;
}

// Draws the source rectangle into the destination, each pixel from the source pixel nearest to
// its centre. Answers whether all that was drawn was copied as it is.
bool DrawStretched(const ViewRect& destination, const ViewRect& source, i32 viewHeight,
                   ViewBuffer& view, bool streams) {
    const double top = viewHeight - (destination.y + destination.height);
    const i32 firstColumn = FirstPixel(destination.x, view.width);
    const i32 endColumn = FirstPixel(destination.x + destination.width, view.width);
    const i32 firstRow = FirstPixel(top, view.height);
    const i32 endRow = FirstPixel(top + destination.height, view.height);
    const bool oneToOne = source.width == destination.width && std::floor(source.x) == source.x;
    bool isCopied = oneToOne && source.height == destination.height;
    for (i32 row = firstRow; row < endRow; ++row) {
        const double down = (row + 0.5 - top) * source.height / destination.height;
        const double sourceRow = std::floor(source.y + down);
        if (!(sourceRow >= 0 && sourceRow < screenBitmap.height)) {
            continue;
        }
        const u8* const from = ScreenRow(static_cast<i64>(sourceRow));
        u8* const to = view.pixels.data() + 4 * (static_cast<i64>(row) * view.width);
        if (oneToOne) {
            const i32 end = std::min(endColumn, static_cast<i32>(screenBitmap.width));
            if (end > firstColumn) {
                const i64 first = i64{firstColumn} * 4;
                const bool isOpaque = DrawRow(to + first, from + first, end - firstColumn, streams);
                isCopied = isCopied && isOpaque;
            }
            continue;
        }
        for (i32 column = firstColumn; column < endColumn; ++column) {
            const double across = (column + 0.5 - destination.x) * source.width / destination.width;
            const double sourceColumn = std::floor(source.x + across);
            if (!(sourceColumn >= 0 && sourceColumn < screenBitmap.width)) {
                continue;
            }
            DrawPixel(to + i64{column} * 4, from + 4 * static_cast<i64>(sourceColumn));
        }
    }
    return isCopied;
}

bool IsWhole(const ViewRect& rect) {
    return std::floor(rect.x) == rect.x && std::floor(rect.y) == rect.y &&
           std::floor(rect.width) == rect.width && std::floor(rect.height) == rect.height;
}

bool IsSame(const ViewRect& a, const ViewRect& b) {
    return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

bool LiesWithin(const ViewRect& rect, double width, double height) {
    return rect.x >= 0 && rect.y >= 0 && rect.x + rect.width <= width &&
           rect.y + rect.height <= height;
}

// Whole pixels, one to one, from the same place of the screen bitmap, top first.
void DrawPlain(const ViewRect& place, ViewBuffer& view, PartDrawn drawn) {
    // What is larger than the caches goes past them.
    constexpr i64 kStreamedPixels = i64{1} << 18;
    // A part is drawn and shown while the second-level cache has it.
    constexpr i64 kPartPixels = i64{1} << 15;
    constexpr i64 kSplitPixels = i64{1} << 20;
    const i64 width = static_cast<i64>(place.width);
    const i64 height = static_cast<i64>(place.height);
    const bool isLarge = width * height >= kSplitPixels;
    const i64 rows = isLarge ? std::max<i64>(kPartPixels / width, 1) : height;
    for (i64 row = 0; row < height; row += rows) {
        const double count = static_cast<double>(std::min(rows, height - row));
        const double y = place.y + static_cast<double>(row);
        const ViewRect source = {place.x, y, place.width, count};
        const ViewRect part = {place.x, view.height - y - count, place.width, count};
        drawn(part,
              DrawStretched(part, source, view.height, view, width * height >= kStreamedPixels));
    }
}

// Three quarters of the machine's memory. The system would hand out more, and end the process by
// force when it is used.
u64 MostViewBytes() {
    return static_cast<u64>(sysconf(_SC_PHYS_PAGES)) * static_cast<u64>(sysconf(_SC_PAGESIZE)) / 4 *
           3;
}

}  // namespace

void ResizeViewBuffer(ViewBuffer& view, i32 width, i32 height) {
    const i32 columns = std::max(width, 0);
    const i32 rows = std::max(height, 0);
    const u64 bytes = 4 * static_cast<u64>(columns) * static_cast<u64>(rows);
    if (bytes > MostViewBytes()) {
        ShowFatalMessage("Terminating: insufficient memory. So sorry.");
        EndProcess(1);
    }
    view.pixels.assign(bytes, 0xFF);
    // Not before the pixels are there: without memory the run ends, and dumps the view as it was.
    view.width = columns;
    view.height = rows;
}

PresentResult PresentScreen(ViewRect rect, bool postpone, i32 knownHeight, i32 viewHeight,
                            ViewBuffer& view, PartDrawn drawn) {
    if (postpone) {
        MergeIntoDirtyRect(rect);
        return PresentResult::Postponed;
    }
    const ViewRect asked = rect;
    if (rect.x < 0) {
        rect.width += rect.x;
        rect.x = 0;
    }
    if (rect.y < 0) {
        rect.height += rect.y;
        rect.y = 0;
    }
    if (rect.width <= 0 || rect.height <= 0) {
        SystemLog(FormatText("return dr w=%f h=%f", rect.width, rect.height));
        return PresentResult::Empty;
    }
    if (rect.y + rect.height > knownHeight) {
        rect.height = knownHeight - rect.y;
    }

    ViewRect source = {rect.x, viewHeight - (rect.y + rect.height), rect.width, rect.height};
    if (ReachesPast(source.x, source.width, screenBitmap.width)) {
        const double width = screenBitmap.width - source.x;
        SystemLog(FormatText("sr.size.width %d => %d", Truncate(source.width), Truncate(width)));
        source.width = width;
    }
    if (ReachesPast(source.y, source.height, screenBitmap.height)) {
        const double height = screenBitmap.height - source.y;
        SystemLog(FormatText("sr.size.height %d => %d", Truncate(source.height), Truncate(height)));
        source.height = height;
    }
    if (source.width <= 0 || source.height <= 0) {
        SystemLog(FormatText("return sr w=%f h=%f", source.width, source.height));
        return PresentResult::Empty;
    }
    // Nothing was cut, and no pixel is covered in part.
    const bool isPlain = IsWhole(rect) && IsSame(rect, asked) && source.width == rect.width &&
                         source.height == rect.height && viewHeight == view.height &&
                         LiesWithin(source, view.width, view.height) &&
                         LiesWithin(source, screenBitmap.width, screenBitmap.height);
    if (isPlain) {
        DrawPlain(source, view, drawn);
    } else {
        DrawStretched(rect, source, viewHeight, view, false);
        drawn(asked, false);
    }
    return PresentResult::Drawn;
}

}  // namespace moxi
