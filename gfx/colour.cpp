#include "gfx/colour.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "gfx/bitmap.h"
#include "gfx/kernels.h"
#include "gfx/pixel.h"

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

void PaintSquare(const SquareSide& across, const SquareSide& down, u32 hue) {
    i32 turn = kSquareHueStart - static_cast<i32>(hue);
    if (turn < 0) turn += kHueCircle;
    const f64 position = turn / kHueSteps;
    const f64 sector = std::floor(position);
    const f64 f = position - sector;
    const Area area =
        Intersect({across.start, down.start, across.start + across.size, down.start + down.size},
                  ClipArea(dstSelection));
    RequireArea(dstSelection, area);
    for (i64 left = area.left; left < area.right; left += kColumns) {
        const i64 count = std::min(kColumns, area.right - left);
        std::array<HueColumn, kColumns> columns;
        for (i64 i = 0; i < count; ++i) {
            const f64 saturation = across.Level(left + i);
            columns[static_cast<std::size_t>(i)] = {1 - saturation, 1 - saturation * f,
                                                    1 - saturation * (1 - f), saturation == 0};
        }
        for (i64 y = area.top; y < area.bottom; ++y) {
            kernels->hueRow(PixelAt(dstSelection, left, y), columns.data(),
                            static_cast<std::size_t>(count), down.Level(y),
                            static_cast<u32>(sector));
        }
    }
}

// Products wrap as 32-bit words.
i32 Part(i32 value, i32 factor) {
    return static_cast<i32>(static_cast<u32>(value) * static_cast<u32>(factor)) / 255;
}

i32 Sum(i32 a, i32 b) {
    return static_cast<i32>(static_cast<u32>(a) + static_cast<u32>(b));
}

std::array<i32, 256> AdjustedValues(i32 brightness, i32 contrast) {
    std::array<i32, 256> values;
    for (i32 v = 0; v < 256; ++v) {
        i32 adjusted = v;
        if (contrast != 0) adjusted = Sum(v, Part(v - 128, contrast));
        if (brightness != 0) adjusted = Sum(adjusted, Part(adjusted, brightness));
        values[static_cast<std::size_t>(v)] = std::clamp(adjusted, 0, 255);
    }
    return values;
}

}  // namespace

u32 RgbToHsv(u32 colour) {
    const f64 r = ByteOf(colour, 0) / 255.0;
    const f64 g = ByteOf(colour, 1) / 255.0;
    const f64 b = ByteOf(colour, 2) / 255.0;
    const f64 highest = std::max({r, g, b});
    const f64 d = highest - std::min({r, g, b});
    const u32 value = Whole(highest * 255.0);
    if (d == 0) return (colour & kAlphaMask) | value << 16;
    f64 hue = 0;
    if (r == highest) {
        hue = (g - b) / d;
    } else if (b == highest) {
        hue = (r - g) / d + 4;
    } else {
        hue = (b - r) / d + 2;
    }
    if (hue < 0) hue += 6;
    if (hue >= 6) hue -= 6;
    const u32 saturation = Whole(d / highest * 255.0);
    return (colour & kAlphaMask) + (value << 16) + (saturation << 8) + Whole(hue * kHueSteps);
}

u32 HsvToRgb(u32 hsv) {
    const u32 alpha = hsv & kAlphaMask;
    const f64 value = ByteOf(hsv, 2) / 255.0;
    const f64 s = ByteOf(hsv, 1) / 255.0;
    const u32 v = Whole(value * 255.0);
    if (s == 0) return alpha | PackBytes(v, v, v, 0);
    const f64 position = ByteOf(hsv, 0) / kHueSteps;
    const f64 sector = std::floor(position);
    if (sector > 5) return alpha;
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
        const std::array<i32, 256> values = AdjustedValues(brightness, contrast);
        const Adjustment adjustment = {hue, saturation, values.data()};
        for (i64 row = area.top; row < area.bottom; ++row) {
            kernels->adjust(PixelAt(srcSelection, area.left, row),
                            static_cast<std::size_t>(area.right - area.left), adjustment);
        }
        if (handle == kScreenBitmap) {
            GrowDirtyRect(static_cast<i32>(area.left), static_cast<i32>(area.top),
                          static_cast<i32>(area.right - area.left),
                          static_cast<i32>(area.bottom - area.top));
        }
    }
    EndSRC();
}
