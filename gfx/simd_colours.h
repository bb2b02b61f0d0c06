// Colour adjustment, in float lanes that hold whole numbers, and the saturation and value square.
// Included once for each instruction set, as gfx/kernels_simd.cpp is.

#if defined(MOXI_GFX_SIMD_COLOURS_H) == defined(HWY_TARGET_TOGGLE)
#ifdef MOXI_GFX_SIMD_COLOURS_H
#undef MOXI_GFX_SIMD_COLOURS_H
#else
#define MOXI_GFX_SIMD_COLOURS_H
#endif

#include "gfx/kernels.h"
#include "gfx/kernels_pixel.h"
#include "gfx/simd_pixels.h"

namespace moxi {

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

using DF = hn::Repartition<f32, D32>;
using DI = hn::Repartition<i32, D32>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;
constexpr DF df;
constexpr DI di;

HWY_INLINE VF Constant(f32 value) {
    return hn::Set(df, value);
}

HWY_INLINE VF Whole(VF v) {
    return hn::ConvertTo(df, hn::ConvertTo(di, v));
}

HWY_INLINE VF ByteLanes(V32 v) {
    return hn::ConvertTo(df, hn::BitCast(di, hn::And(v, hn::Set(d32, 0xFF))));
}

HWY_INLINE V32 WholeLanes(VF v) {
    return hn::BitCast(d32, hn::ConvertTo(di, v));
}

// Reciprocals are taken a little too large, so that a quotient that is a whole number does not come
// out below it. With quotients and divisors up to 255 none is then lifted to the next number.
constexpr f32 kSlightlyMore = 1.000002F;

HWY_INLINE VF Reciprocal(VF v) {
    return hn::Div(Constant(kSlightlyMore), v);
}

struct HueLanes {
    VF hue, saturation;
};

// AnalysePixel, with the bytes of the two colours that decide chosen before the division.
HWY_INLINE HueLanes Analyse(VF b0, VF b1, VF b2, VF highest, VF d) {
    const auto grey = hn::Eq(d, hn::Zero(df));
    const auto isBlue = hn::Eq(b2, highest);
    const auto isGreen = hn::Eq(b1, highest);
    const VF first = hn::IfThenElse(isBlue, b0, hn::IfThenElse(isGreen, b2, b1));
    const VF second = hn::IfThenElse(isBlue, b1, hn::IfThenElse(isGreen, b0, b2));
    const VF start =
        hn::IfThenElse(isBlue, hn::Zero(df), hn::IfThenElse(isGreen, Constant(85), Constant(171)));
    // Grey pixels divide by 1 instead of 0; what comes out is not used.
    const VF scale = hn::Mul(Constant(255), Reciprocal(hn::IfThenElse(grey, Constant(1), d)));
    const VF c0 = Whole(hn::Mul(hn::Sub(highest, first), scale));
    const VF c1 = Whole(hn::Mul(hn::Sub(highest, second), scale));
    const VF sixth = Whole(hn::Mul(hn::Sub(c0, c1), Constant(kSlightlyMore / 6)));
    const VF whole = hn::Mul(Constant(255), Reciprocal(hn::Max(highest, Constant(1))));
    return {hn::IfThenZeroElse(grey, hn::Add(sixth, start)), Whole(hn::Mul(d, whole))};
}

// SynthesisePixel. Odd sixths have a falling byte, even ones a rising one.
HWY_INLINE V32 Synthesise(V32 hue, V32 saturation, VF value) {
    const VF h = ByteLanes(hue);
    const VF s = ByteLanes(saturation);
    const VF turn = Whole(hn::Mul(h, Constant(kSlightlyMore / 42)));
    const VF f6 = hn::Mul(hn::Sub(h, hn::Mul(turn, Constant(42))), Constant(6));
    const V32 sector = WholeLanes(turn);
    const auto falls = hn::RebindMask(df, hn::Ne(hn::And(sector, hn::Set(d32, 1)), hn::Zero(d32)));
    const VF slope = hn::IfThenElse(falls, f6, hn::Sub(Constant(246), f6));
    const VF dividend = hn::Mul(hn::Sub(Constant(62730), hn::Mul(slope, s)), value);
    const VF divisor = hn::IfThenElse(falls, Constant(62730), Constant(67830));
    // Both are below 2^24, so that the quotient rounded to nearest stays below the next number.
    const V32 moving = WholeLanes(hn::Div(dividend, divisor));
    const V32 v = WholeLanes(value);
    const V32 p = WholeLanes(
        hn::Mul(hn::Mul(hn::Sub(Constant(255), s), value), Constant(kSlightlyMore / 255)));
    // Hues of 252 and more belong to the first sixth again.
    const auto is = [&](u32 n) { return hn::Eq(sector, hn::Set(d32, n)); };
    const auto is1 = is(1);
    const auto is2 = is(2);
    const auto is3 = is(3);
    const auto is4 = is(4);
    const auto is5 = is(5);
    const auto grey = hn::Eq(hn::And(saturation, hn::Set(d32, 0xFF)), hn::Zero(d32));
    V32 b0 = hn::IfThenElse(hn::Or(is1, is4), moving, hn::IfThenElse(hn::Or(is2, is3), p, v));
    V32 b1 = hn::IfThenElse(hn::Or(is1, is2), v, hn::IfThenElse(hn::Or(is4, is5), p, moving));
    V32 b2 = hn::IfThenElse(hn::Or(is3, is4), v, hn::IfThenElse(hn::Or(is2, is5), moving, p));
    b0 = hn::IfThenElse(grey, v, b0);
    b1 = hn::IfThenElse(grey, v, b1);
    b2 = hn::IfThenElse(grey, v, b2);
    return hn::Or(b0, hn::Or(hn::ShiftLeft<8>(b1), hn::ShiftLeft<16>(b2)));
}

// AdjustValue with quotients below 1,100, where being slightly more does no harm.
constexpr i32 kLargestChange = 512;

HWY_INLINE VF AdjustValues(VF value, const Adjustment& adjustment) {
    const VF part = Constant(kSlightlyMore / 255);
    const auto change = [&](VF v, i32 factor) {
        return Whole(hn::Mul(hn::Mul(v, Constant(static_cast<f32>(factor))), part));
    };
    if (adjustment.contrast != 0) {
        value = hn::Add(value, change(hn::Sub(value, Constant(128)), adjustment.contrast));
    }
    if (adjustment.brightness != 0) {
        value = hn::Add(value, change(value, adjustment.brightness));
    }
    return hn::Min(hn::Max(value, hn::Zero(df)), Constant(255));
}

bool IsLargeChange(i32 change) {
    return change < -kLargestChange || change > kLargestChange;
}

void Adjust(u8* row, std::size_t count, const Adjustment& adjustment) {
    if (IsLargeChange(adjustment.brightness) || IsLargeChange(adjustment.contrast)) {
        scalarKernels.adjust(row, count, adjustment);
        return;
    }
    const std::size_t lanes = hn::Lanes(d32);
    for (; count >= lanes; count -= lanes, row += 4 * lanes) {
        const V32 old = LoadPixels(row);
        const VF b0 = ByteLanes(old);
        const VF b1 = ByteLanes(hn::ShiftRight<8>(old));
        const VF b2 = ByteLanes(hn::ShiftRight<16>(old));
        const VF highest = hn::Max(b0, hn::Max(b1, b2));
        V32 hue = hn::Set(d32, static_cast<u32>(adjustment.hue));
        V32 saturation = hn::Set(d32, static_cast<u32>(adjustment.saturation));
        if (adjustment.hue < 0 || adjustment.saturation < 0) {
            const VF d = hn::Sub(highest, hn::Min(b0, hn::Min(b1, b2)));
            const HueLanes own = Analyse(b0, b1, b2, highest, d);
            if (adjustment.hue < 0) {
                hue = WholeLanes(own.hue);
            }
            if (adjustment.saturation < 0) {
                saturation = WholeLanes(own.saturation);
            }
        }
        const VF value = AdjustValues(highest, adjustment);
        const V32 colour = Synthesise(hue, saturation, value);
        StorePixels(hn::Or(colour, hn::And(old, hn::Set(d32, kAlphaMask))), row);
    }
    for (; count != 0; --count, row += 4) {
        AdjustPixel(row, adjustment);
    }
}

// --- The saturation and value square

void HueRow(u8* row, const HueColumns& columns, std::size_t count, f64 value,
            const HueOrder& order) {
    const hn::Rebind<i32, D64> narrow;
    const hn::Rebind<u32, D64> words;
    const auto level = hn::Set(d64, value);
    const auto scale = hn::Set(d64, 255.0);
    const auto base = hn::Set(words, HueBase(value, order));
    // The byte that each place of a pixel takes from the two worked out, or none.
    alignas(16) u8 places[16];
    for (u32 place = 0; place < 16; ++place) {
        const u32 bit = place % 4 * 8;
        places[place] = static_cast<u8>(bit == order.low      ? place / 4 * 4
                                        : bit == order.moving ? place / 4 * 4 + 1
                                                              : 0x80);
    }
    const hn::Repartition<u8, decltype(words)> wordBytes;
    const auto order8 = hn::LoadDup128(wordBytes, places);
    const auto bytes = [&](const f64* factors) {
        return hn::BitCast(
            words, hn::DemoteTo(narrow, hn::Mul(hn::Mul(hn::LoadU(d64, factors), level), scale)));
    };
    std::size_t i = 0;
    for (; i + hn::Lanes(d64) <= count; i += hn::Lanes(d64)) {
        const auto both =
            hn::Or(bytes(columns.low + i), hn::ShiftLeft<8>(bytes(columns.moving + i)));
        const auto placed =
            hn::BitCast(words, hn::TableLookupBytesOr0(hn::BitCast(wordBytes, both), order8));
        hn::StoreU(hn::BitCast(wordBytes, hn::Or(base, placed)), wordBytes, row + 4 * i);
    }
    for (; i < count; ++i) {
        HuePixel(row + 4 * i, columns.low[i], columns.moving[i], value, order);
    }
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace
}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

}  // namespace moxi

#endif
