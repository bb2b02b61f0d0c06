#pragma once
// The work of the inner loops on one pixel: the scalar loops are made of these, and the vector
// loops finish the last pixels of a row with them.

#include <algorithm>

#include "gfx/kernels.h"
#include "gfx/pixel.h"

// Lays one source pixel over the destination. Alpha is added, not blended.
template <bool kInverted>
inline void BlitPixel(u8* to, u32 source) {
    const u32 a = AlphaOf(source);
    if (a == 0) return;
    const u32 colour = kInverted ? source ^ 0x00FFFFFF : source;
    const u32 old = LoadBytes<u32>(to);
    const auto mix = [&](u32 index) {
        return Div255(ByteOf(colour, index) * a) + Div255(ByteOf(old, index) * (255 - a));
    };
    StoreBytes<u32>(to, PackBytes(mix(0), mix(1), mix(2), std::min(AlphaOf(old) + a, 255U)));
}

inline void ComposePixel(u8* to, u32 colour) {
    if (AlphaOf(colour) != 0) BlendPixelAt(to, PrepareBlend(colour));
}

inline bool ReplacePixel(u8* pixel, const Replacement& replacement) {
    const u32 word = LoadBytes<u32>(pixel);
    const bool equal = (word & replacement.mask) == replacement.value;
    if (equal != replacement.whenEqual) return false;
    StoreBytes<u32>(pixel, (word & replacement.keep) | replacement.set);
    return true;
}

struct HueSaturation {
    i32 hue, saturation;
};

// Byte 2 is the primary at hue 0, the sixths are 85 / 2 wide and everything truncates.
inline HueSaturation AnalysePixel(i32 b0, i32 b1, i32 b2, i32 highest, i32 lowest) {
    const i32 d = highest - lowest;
    if (d == 0) return {0, 0};
    const i32 c0 = (highest - b0) * 255 / d;
    const i32 c1 = (highest - b1) * 255 / d;
    const i32 c2 = (highest - b2) * 255 / d;
    const i32 saturation = d * 255 / highest;
    if (b2 == highest) return {(c0 - c1) / 6, saturation};
    if (b1 == highest) return {(c2 - c0) / 6 + 85, saturation};
    return {(c1 - c2) / 6 + 171, saturation};
}

// Byte 0 is the primary at hue 0, the sixths are 42 wide. The divisor of a rising byte differs from
// that of a falling one, and neither matches the analysis; modules know the bytes that come out.
inline u32 SynthesisePixel(u32 hue, u32 s, u32 value) {
    if (s == 0) return PackBytes(value, value, value, 0);
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

inline void AdjustPixel(u8* pixel, const Adjustment& adjustment) {
    const i32 highest = std::max({pixel[0], pixel[1], pixel[2]});
    const i32 lowest = std::min({pixel[0], pixel[1], pixel[2]});
    const HueSaturation own = AnalysePixel(pixel[0], pixel[1], pixel[2], highest, lowest);
    const i32 hue = adjustment.hue >= 0 ? adjustment.hue : own.hue;
    const i32 saturation = adjustment.saturation >= 0 ? adjustment.saturation : own.saturation;
    const u32 value = static_cast<u32>(adjustment.values[highest]);
    const u32 colour =
        SynthesisePixel(static_cast<u32>(hue) & 0xFF, static_cast<u32>(saturation) & 0xFF, value);
    StoreBytes<u32>(pixel, colour | u32{pixel[3]} << 24);
}

// A factor times the row's value as a byte. A square one pixel wide or high divides 0 by 0; the
// byte is then 0.
inline u32 HueByte(f64 level) {
    return level >= 0 ? static_cast<u32>(static_cast<i32>(level)) : 0;
}

inline void HuePixel(u8* pixel, const HueColumn& column, f64 value, u32 sector) {
    const u32 v = HueByte(value * 255);
    const u32 p = column.grey ? v : HueByte(column.p * value * 255);
    const u32 q = column.grey ? v : HueByte(column.q * value * 255);
    const u32 t = column.grey ? v : HueByte(column.t * value * 255);
    u32 word = 0;
    switch (sector) {
        case 0: word = PackBytes(p, t, v, 255); break;
        case 1: word = PackBytes(p, v, q, 255); break;
        case 2: word = PackBytes(t, v, p, 255); break;
        case 3: word = PackBytes(v, q, p, 255); break;
        case 4: word = PackBytes(v, p, t, 255); break;
        default: word = PackBytes(q, p, v, 255);
    }
    StoreBytes<u32>(pixel, word);
}

// The average of a box. Each cell's share is truncated on its own, so the sum comes short; a byte
// that is the same in every cell is therefore taken as it is. A box without extent is the pixel
// that it lies in.
inline u32 AverageBox(const BoxColumn& column, const BoxRow& row) {
    const u8* line = row.pixels + column.offset;
    const u32 firstPixel = LoadBytes<u32>(line);
    if (column.cells * row.bands <= 1) return firstPixel;
    const u64 area = u64{column.width} * row.height;
    u64 sums[4] = {};
    u32 different = 0;
    for (u32 band = 0; band < row.bands; ++band, line += row.stride) {
        const u32 bandHeight = band == 0 ? row.first : (band + 1 == row.bands ? row.last : 32);
        for (u32 cell = 0; cell < column.cells; ++cell) {
            const u32 cellWidth =
                cell == 0 ? column.first : (cell + 1 == column.cells ? column.last : 32);
            const u64 weight = u64{cellWidth} * bandHeight;
            const u32 pixel = LoadBytes<u32>(line + std::size_t{4} * cell);
            different |= pixel ^ firstPixel;
            for (u32 i = 0; i < 4; ++i) sums[i] += ByteOf(pixel, i) * weight / area;
        }
    }
    const auto channel = [&](u32 i) {
        return ByteOf(different, i) == 0 ? ByteOf(firstPixel, i)
                                         : static_cast<u32>(std::min<u64>(sums[i], 255));
    };
    return PackBytes(channel(0), channel(1), channel(2), channel(3));
}
