#include "gfx/colour.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "gfx/bitmap.h"
#include "gfx/kernels.h"
#include "gfx/patience.h"
#include "gfx/pixel.h"
#include "gfx/tiling.h"

namespace moxi {

namespace {

constexpr u32 kAlphaMask = 0xFF000000;
constexpr f64 kHueSteps = 42.0;  // of a sixth of the circle
constexpr i32 kHueCircle = 252;
// The square's hue byte runs backwards from here.
constexpr i32 kSquareHueStart = 167;

u32 Whole(f64 level) {
    return static_cast<u32>(static_cast<i32>(level));
}

// The columns of a hue square are worked out in pieces of this many.
constexpr i64 kColumns = 128;

struct SquareSide {
    i64 start, size;
    bool backwards;
    // 0 at one end, 1 at the other. One pixel alone is 0 / 0.
    f64 Level(i64 position) const {
        const i64 step = position - start;
        return static_cast<f64>(backwards ? size - 1 - step : step) / static_cast<f64>(size - 1);
    }
};

SquareSide MakeSide(i32 start, i32 size) {
    return {start, std::abs(i64{size}), size < 0};
}

// Byte 2 plays the part that byte 0 has elsewhere. Even sixths have a byte that rises with the
// saturation's distance from the next primary, odd ones one that falls.
constexpr HueOrder kSquareOrder[6] = {{0, 8, 16}, {0, 16, 8}, {16, 0, 8},
                                      {16, 8, 0}, {8, 16, 0}, {8, 0, 16}};

// A side of one pixel has no levels: 0 / 0 comes out as bytes of 0.
f64 OrZero(f64 level) {
    return std::isnan(level) ? 0 : level;
}

struct Hue {
    f64 slope;  // of the moving byte
    HueOrder order;
};

// Piece by piece across, each from the top down.
void PaintArea(const Area& area, const SquareSide& across, const SquareSide& down, const Hue& hue) {
    std::array<f64, kColumns> low;
    std::array<f64, kColumns> moving;
    for (i64 left = area.left; left < area.right; left += kColumns) {
        const std::size_t count = static_cast<std::size_t>(std::min(kColumns, area.right - left));
        for (std::size_t i = 0; i < count; ++i) {
            const f64 saturation = across.Level(left + static_cast<i64>(i));
            low[i] = OrZero(1 - saturation);
            moving[i] = OrZero(1 - saturation * hue.slope);
        }
        for (i64 y = area.top; y < area.bottom; ++y) {
            NoteDrawing(count);
            kernels->hueRow(PixelAt(dstSelection, left, y), {low.data(), moving.data()}, count,
                            OrZero(down.Level(y)), hue.order);
        }
    }
}

void PaintSquare(const SquareSide& across, const SquareSide& down, u32 hueByte) {
    i32 turn = kSquareHueStart - static_cast<i32>(hueByte);
    if (turn < 0) {
        turn += kHueCircle;
    }
    const f64 position = turn / kHueSteps;
    const u32 sector = static_cast<u32>(std::floor(position));
    const f64 f = position - sector;
    const f64 slope = sector % 2 == 0 ? 1 - f : f;
    const Area area =
        Intersect({across.start, down.start, across.start + across.size, down.start + down.size},
                  ClipArea(dstSelection));
    if (area.Empty()) {
        return;
    }
    RequireArea(dstSelection, area);
    const Hue hue = {slope, kSquareOrder[sector]};
    if (RowsAreApart(dstSelection, area)) {
        PaintArea(area, across, down, hue);
        return;
    }
    for (i64 y = area.top; y < area.bottom; ++y) {
        NoteDrawing(kPixelsOfAStep);
        PaintArea({area.left, y, area.right, y + 1}, across, down, hue);
    }
}
}  // namespace

u32 RgbToHsv(u32 colour) {
    const f64 r = ByteOf(colour, 0) / 255.0;
    const f64 g = ByteOf(colour, 1) / 255.0;
    const f64 b = ByteOf(colour, 2) / 255.0;
    const f64 highest = std::max({r, g, b});
    const f64 d = highest - std::min({r, g, b});
    const u32 value = Whole(highest * 255.0);
    if (d == 0) {
        return (colour & kAlphaMask) | value << 16;
    }
    f64 hue = 0;
    if (r == highest) {
        hue = (g - b) / d;
    } else if (b == highest) {
        hue = (r - g) / d + 4;
    } else {
        hue = (b - r) / d + 2;
    }
    if (hue < 0) {
        hue += 6;
    }
    if (hue >= 6) {
        hue -= 6;
    }
    const u32 saturation = Whole(d / highest * 255.0);
    return (colour & kAlphaMask) + (value << 16) + (saturation << 8) + Whole(hue * kHueSteps);
}

u32 HsvToRgb(u32 hsv) {
    const u32 alpha = hsv & kAlphaMask;
    const f64 value = ByteOf(hsv, 2) / 255.0;
    const f64 s = ByteOf(hsv, 1) / 255.0;
    const u32 v = Whole(value * 255.0);
    if (s == 0) {
        return alpha | PackBytes(v, v, v, 0);
    }
    const f64 position = ByteOf(hsv, 0) / kHueSteps;
    const f64 sector = std::floor(position);
    if (sector > 5) {
        return alpha;
    }
    const f64 f = position - sector;
    const u32 p = Whole((1 - s) * value * 255);
    const u32 q = Whole((1 - s * f) * value * 255);
    const u32 t = Whole((1 - (1 - f) * s) * value * 255);
    switch (static_cast<u32>(sector)) {
        case 0: return alpha | PackBytes(v, t, p, 0);
        case 1: return alpha | PackBytes(q, v, p, 0);
        case 2: return alpha | PackBytes(p, v, t, 0);
        case 3: return alpha | PackBytes(p, q, v, 0);
        case 4: return alpha | PackBytes(t, p, v, 0);
        default: return alpha | PackBytes(v, p, q, 0);
    }
}

void HueSquare(u32 handle, i32 x, i32 y, i32 w, i32 h, u32 hue) {
    if (w != 0 && h != 0) {
        StartDST(handle);
        PaintSquare(MakeSide(x, w), MakeSide(y, h), hue & 0xFF);
        EndDST();
    }
    if (handle == kScreenBitmap) {
        GrowDirtyRect(x, y, static_cast<i32>(std::abs(i64{w})), static_cast<i32>(std::abs(i64{h})));
    }
}

void AdjustColours(u32 handle, i32 x, i32 y, i32 w, i32 h, i32 hue, i32 saturation, i32 brightness,
                   i32 contrast) {
    StartSRC(handle);
    const Area area = Intersect({x, y, i64{x} + w, i64{y} + h}, ClipArea(srcSelection));
    if (!area.Empty()) {
        RequireArea(srcSelection, area);
        const Adjustment adjustment = {hue, saturation, brightness, contrast};
        ForEachPiece(area, [&](i64 left, i64 row, std::size_t count) {
            kernels->adjust(PixelAt(srcSelection, left, row), count, adjustment);
        });
        if (handle == kScreenBitmap) {
            GrowDirtyRect(static_cast<i32>(area.left), static_cast<i32>(area.top),
                          static_cast<i32>(area.right - area.left),
                          static_cast<i32>(area.bottom - area.top));
        }
    }
    EndSRC();
}

}  // namespace moxi
