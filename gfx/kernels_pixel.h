#pragma once
// The work of the inner loops on one pixel: the scalar loops are made of these, and the vector
// loops finish the last pixels of a row with them.

#include <algorithm>

#include "gfx/kernels.h"
#include "gfx/pixel.h"

namespace moxi {

// Constants of the vector loops, one 16-byte vector each.
struct BlendBytes {
    alignas(16) u8 one[16], oneOrMost[16], most[16], alphaMask[16];
    alignas(16) u8 evenTwice[16], oddTwice[16], alphaHigh[16], firstAlphas[16], lastAlphas[16];
};
extern const BlendBytes blendBytes;

// Lays one source pixel over the destination. Alpha is added, not blended.
template <bool kInverted>
inline void BlitPixel(u8* to, u32 source) {
    const u32 a = AlphaOf(source);
    if (a == 0) {
        return;
    }
    const u32 colour = kInverted ? source ^ 0x00FFFFFF : source;
    const u32 old = LoadBytes<u32>(to);
    const auto mix = [&](u32 index) {
        return Div255(ByteOf(colour, index) * a) + Div255(ByteOf(old, index) * (255 - a));
    };
    StoreBytes<u32>(to, PackBytes(mix(0), mix(1), mix(2), std::min(AlphaOf(old) + a, 255U)));
}

inline void ComposePixel(u8* to, u32 colour) {
    if (AlphaOf(colour) != 0) {
        BlendPixelAt(to, PrepareBlend(colour));
    }
}

inline bool ReplacePixel(u8* pixel, const Replacement& replacement) {
    const u32 word = LoadBytes<u32>(pixel);
    const bool equal = (word & replacement.mask) == replacement.value;
    if (equal != replacement.whenEqual) {
        return false;
    }
    StoreBytes<u32>(pixel, (word & replacement.keep) | replacement.set);
    return true;
}

struct HueSaturation {
    i32 hue, saturation;
};

// Byte 2 is the primary at hue 0, the sixths are 85 / 2 wide and everything truncates.
inline HueSaturation AnalysePixel(i32 b0, i32 b1, i32 b2, i32 highest, i32 lowest) {
    const i32 d = highest - lowest;
    if (d == 0) {
        return {0, 0};
    }
    const i32 c0 = (highest - b0) * 255 / d;
    const i32 c1 = (highest - b1) * 255 / d;
    const i32 c2 = (highest - b2) * 255 / d;
    const i32 saturation = d * 255 / highest;
    if (b2 == highest) {
        return {(c0 - c1) / 6, saturation};
    }
    if (b1 == highest) {
        return {(c2 - c0) / 6 + 85, saturation};
    }
    return {(c1 - c2) / 6 + 171, saturation};
}

// Byte 0 is the primary at hue 0, the sixths are 42 wide. The divisor of a rising byte differs from
// that of a falling one, and neither matches the analysis; modules know the bytes that come out.
inline u32 SynthesisePixel(u32 hue, u32 s, u32 value) {
    if (s == 0) {
        return PackBytes(value, value, value, 0);
    }
    const u32 sector = hue < 252 ? hue / 42 : 0;
    const u32 f = hue % 42;
    const u32 fall = (62730 - 6 * f * s) * value / 62730;
    const u32 p = (255 - s) * value / 255;
    const u32 rise = (62730 - (246 - 6 * f) * s) * value / 67830;
    switch (sector) {
        case 0: return PackBytes(value, rise, p, 0);
        case 1: return PackBytes(fall, value, p, 0);
        case 2: return PackBytes(p, value, rise, 0);
        case 3: return PackBytes(p, fall, value, 0);
        case 4: return PackBytes(rise, p, value, 0);
        default: return PackBytes(value, p, fall, 0);
    }
}

// Products and sums wrap as 32-bit words.
inline i32 PartOf255(i32 value, i32 factor) {
    return static_cast<i32>(static_cast<u32>(value) * static_cast<u32>(factor)) / 255;
}
inline i32 AdjustValue(i32 value, i32 brightness, i32 contrast) {
    const auto sum = [](i32 a, i32 b) {
        return static_cast<i32>(static_cast<u32>(a) + static_cast<u32>(b));
    };
    if (contrast != 0) {
        value = sum(value, PartOf255(value - 128, contrast));
    }
    if (brightness != 0) {
        value = sum(value, PartOf255(value, brightness));
    }
    return std::clamp(value, 0, 255);
}

inline void AdjustPixel(u8* pixel, const Adjustment& adjustment) {
    const i32 highest = std::max({pixel[0], pixel[1], pixel[2]});
    const i32 lowest = std::min({pixel[0], pixel[1], pixel[2]});
    const HueSaturation own = AnalysePixel(pixel[0], pixel[1], pixel[2], highest, lowest);
    const i32 hue = adjustment.hue >= 0 ? adjustment.hue : own.hue;
    const i32 saturation = adjustment.saturation >= 0 ? adjustment.saturation : own.saturation;
    const u32 value =
        static_cast<u32>(AdjustValue(highest, adjustment.brightness, adjustment.contrast));
    const u32 colour =
        SynthesisePixel(static_cast<u32>(hue) & 0xFF, static_cast<u32>(saturation) & 0xFF, value);
    StoreBytes<u32>(pixel, colour | u32{pixel[3]} << 24);
}

// What all pixels of a row of the square have: the value's byte and the opaque alpha.
inline u32 HueBase(f64 value, const HueOrder& order) {
    return 0xFF000000 | static_cast<u32>(value * 255) << order.value;
}

inline void HuePixel(u8* pixel, f64 low, f64 moving, f64 value, const HueOrder& order) {
    StoreBytes<u32>(pixel, HueBase(value, order) |
                               static_cast<u32>(low * value * 255) << order.low |
                               static_cast<u32>(moving * value * 255) << order.moving);
}

// The average of a box. Each cell's share is truncated on its own, so the sum comes short; a byte
// that is the same in every cell is therefore taken as it is.
struct BoxAverage {
    u32 firstPixel;
    u64 area;
    u32 different = 0;
    u64 sums[4] = {};

    void Add(u32 pixel, u64 weight) {
        different |= pixel ^ firstPixel;
        for (u32 i = 0; i < 4; ++i) {
            sums[i] += ByteOf(pixel, i) * weight / area;
        }
    }
    u32 Channel(u32 i) const {
        return ByteOf(different, i) == 0 ? ByteOf(firstPixel, i)
                                         : static_cast<u32>(std::min<u64>(sums[i], 255));
    }
    u32 Pixel() const { return PackBytes(Channel(0), Channel(1), Channel(2), Channel(3)); }
};

// A box without extent is the pixel that it lies in.
inline u32 AverageBox(const BoxColumn& column, const BoxRow& row) {
    const u8* line = row.pixels + column.offset;
    const u32 firstPixel = LoadBytes<u32>(line);
    if (column.cells * row.bands <= 1) {
        return firstPixel;
    }
    BoxAverage average = {firstPixel, u64{column.width} * row.height};
    for (u32 band = 0; band < row.bands; ++band, line += row.stride) {
        const u32 bandHeight = band == 0 ? row.first : (band + 1 == row.bands ? row.last : 32);
        for (u32 cell = 0; cell < column.cells; ++cell) {
            const u32 cellWidth =
                cell == 0 ? column.first : (cell + 1 == column.cells ? column.last : 32);
            average.Add(LoadBytes<u32>(line + std::size_t{4} * cell), u64{cellWidth} * bandHeight);
        }
    }
    return average.Pixel();
}

}  // namespace moxi
