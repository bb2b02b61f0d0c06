// The inner loops as vector code. This file is compiled once for each instruction set: the include
// of foreach_target.h brings it in again.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gfx/kernels_simd.cpp"
// The next one up adds nothing here but time to compile.
#define HWY_DISABLED_TARGETS HWY_AVX3_DL
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include "gfx/kernels.h"
#include "gfx/kernels_pixel.h"

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

// Without vectors the plain loops are the best there is.
const Kernels* Table() {
    return &scalarKernels;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using D32 = hn::ScalableTag<u32>;
using V32 = hn::Vec<D32>;
using D16 = hn::Repartition<u16, D32>;
using V16 = hn::Vec<D16>;
using D8 = hn::Repartition<u8, D32>;
constexpr D32 d32;
constexpr D16 d16;
constexpr D8 d8;

constexpr u32 kAlphaMask = 0xFF000000;
constexpr u32 kColourMask = 0x00FFFFFF;

HWY_INLINE V32 LoadPixels(const u8* pixels) {
    return hn::BitCast(d32, hn::LoadU(d8, pixels));
}

HWY_INLINE void StorePixels(V32 v, u8* pixels) {
    hn::StoreU(hn::BitCast(d8, v), d8, pixels);
}

// Whether an AVX2 or a later set can load and store a part of a vector without touching the rest.
constexpr bool kPartialAccess = HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3;

HWY_INLINE V32 LoadFirst(const u8* pixels, std::size_t count) {
    return hn::MaskedLoad(hn::FirstN(d32, count), d32, reinterpret_cast<const u32*>(pixels));
}

HWY_INLINE void StoreFirst(V32 v, u8* pixels, std::size_t count) {
    hn::BlendedStore(v, hn::FirstN(d32, count), d32, reinterpret_cast<u32*>(pixels));
}

// value / 255 in 16-bit lanes.
HWY_INLINE V16 Div255(V16 value) {
    return hn::ShiftRight<7>(hn::MulHigh(value, hn::Set(d16, 0x8081)));
}

// Bytes 0 and 2 of each pixel, and bytes 1 and 3, as 16-bit lanes.
HWY_INLINE V16 EvenBytes(V32 v) {
    return hn::And(hn::BitCast(d16, v), hn::Set(d16, 0x00FF));
}
HWY_INLINE V16 OddBytes(V32 v) {
    return hn::ShiftRight<8>(hn::BitCast(d16, v));
}
HWY_INLINE V32 JoinBytes(V16 even, V16 odd) {
    return hn::BitCast(d32, hn::Or(even, hn::ShiftLeft<8>(odd)));
}

// The alpha of each pixel in both of its 16-bit lanes.
HWY_INLINE V16 AlphaLanes(V32 v) {
    const V32 a = hn::ShiftRight<24>(v);
    return hn::BitCast(d16, hn::Or(a, hn::ShiftLeft<16>(a)));
}

// Source pixels laid over old ones. For the colours of a blit the alpha lanes are given the factor
// 255 twice, so that they add up.
template <bool kInverted, bool kAddAlpha>
HWY_INLINE V32 Mix(V32 source, V32 old) {
    const V16 bytes = hn::Set(d16, 0x00FF);
    const V32 colour = kInverted ? hn::Xor(source, hn::Set(d32, kColourMask)) : source;
    const V16 a = AlphaLanes(source);
    const V16 keep = hn::Xor(a, bytes);
    const V16 alphaLanes = hn::BitCast(d16, hn::Set(d32, kAddAlpha ? 0x00FF0000 : 0));
    const V16 aOdd = hn::Or(a, alphaLanes);
    const V16 keepOdd = hn::Or(keep, alphaLanes);
    const V16 even =
        hn::Add(Div255(hn::Mul(EvenBytes(colour), a)), Div255(hn::Mul(EvenBytes(old), keep)));
    V16 odd =
        hn::Add(Div255(hn::Mul(OddBytes(colour), aOdd)), Div255(hn::Mul(OddBytes(old), keepOdd)));
    if (kAddAlpha) odd = hn::Min(odd, bytes);
    return JoinBytes(even, odd);
}

HWY_INLINE bool AllTransparent(V32 source) {
    return hn::AllTrue(d32, hn::Eq(hn::And(source, hn::Set(d32, kAlphaMask)), hn::Zero(d32)));
}

HWY_INLINE bool AllOpaque(V32 source) {
    return hn::AllTrue(d32,
                       hn::Eq(hn::And(source, hn::Set(d32, kAlphaMask)), hn::Set(d32, kAlphaMask)));
}

template <bool kInverted>
HWY_INLINE V32 Shown(V32 source) {
    return kInverted ? hn::Xor(source, hn::Set(d32, kColourMask)) : source;
}

template <bool kInverted>
HWY_INLINE void BlendOne(u8* to, V32 source) {
    if (AllTransparent(source)) return;
    if (AllOpaque(source)) {
        StorePixels(Shown<kInverted>(source), to);
    } else {
        StorePixels(Mix<kInverted, true>(source, LoadPixels(to)), to);
    }
}

template <bool kInverted>
HWY_INLINE void BlendRow(u8* to, const u8* from, std::size_t count) {
    const std::size_t lanes = hn::Lanes(d32);
    // Four vectors at a time: long runs of transparent and of opaque pixels are the rule.
    for (; count >= 4 * lanes; count -= 4 * lanes, to += 16 * lanes, from += 16 * lanes) {
        const V32 s0 = LoadPixels(from);
        const V32 s1 = LoadPixels(from + 4 * lanes);
        const V32 s2 = LoadPixels(from + 8 * lanes);
        const V32 s3 = LoadPixels(from + 12 * lanes);
        if (AllOpaque(hn::And(hn::And(s0, s1), hn::And(s2, s3)))) {
            StorePixels(Shown<kInverted>(s0), to);
            StorePixels(Shown<kInverted>(s1), to + 4 * lanes);
            StorePixels(Shown<kInverted>(s2), to + 8 * lanes);
            StorePixels(Shown<kInverted>(s3), to + 12 * lanes);
        } else if (!AllTransparent(hn::Or(hn::Or(s0, s1), hn::Or(s2, s3)))) {
            BlendOne<kInverted>(to, s0);
            BlendOne<kInverted>(to + 4 * lanes, s1);
            BlendOne<kInverted>(to + 8 * lanes, s2);
            BlendOne<kInverted>(to + 12 * lanes, s3);
        }
    }
    for (; count >= lanes; count -= lanes, to += 4 * lanes, from += 4 * lanes) {
        BlendOne<kInverted>(to, LoadPixels(from));
    }
    if (count == 0) return;
    if constexpr (kPartialAccess) {
        const V32 source = LoadFirst(from, count);
        if (AllTransparent(source)) return;
        StoreFirst(Mix<kInverted, true>(source, LoadFirst(to, count)), to, count);
    } else {
        for (; count != 0; --count, to += 4, from += 4) {
            BlitPixel<kInverted>(to, LoadBytes<u32>(from));
        }
    }
}

template <bool kInverted>
void Blend(u8* to, i64 toStride, const u8* from, i64 fromStride, std::size_t count,
           std::size_t rows) {
    for (; rows != 0; --rows, to += toStride, from += fromStride) {
        BlendRow<kInverted>(to, from, count);
    }
}

void Compose(u8* to, const u32* colours, std::size_t count) {
    const std::size_t lanes = hn::Lanes(d32);
    for (; count >= lanes; count -= lanes, to += 4 * lanes, colours += lanes) {
        const V32 source = hn::LoadU(d32, colours);
        if (AllTransparent(source)) continue;
        StorePixels(AllOpaque(source) ? source : Mix<false, false>(source, LoadPixels(to)), to);
    }
    for (; count != 0; --count, to += 4, ++colours) ComposePixel(to, *colours);
}

HWY_INLINE void FillOpaqueRow(u8* row, std::size_t count, u32 colour) {
    const std::size_t lanes = hn::Lanes(d32);
    const V32 v = hn::Set(d32, colour);
    if (count < lanes) {
        for (; count != 0; --count, row += 4) StoreBytes<u32>(row, colour);
        return;
    }
    // The last vector overlaps the one before it: storing the same bytes twice does no harm.
    u8* const last = row + 4 * (count - lanes);
    for (; count >= 4 * lanes; count -= 4 * lanes, row += 16 * lanes) {
        StorePixels(v, row);
        StorePixels(v, row + 4 * lanes);
        StorePixels(v, row + 8 * lanes);
        StorePixels(v, row + 12 * lanes);
    }
    for (; count >= lanes; count -= lanes, row += 4 * lanes) StorePixels(v, row);
    StorePixels(v, last);
}

// `factor` is 257 * keep + 1: its product with a byte, over 65536, is byte * keep / 255 exactly as
// long as keep is below 255.
HWY_INLINE V32 FillMix(V32 old, V32 part, V16 factor) {
    return hn::Add(
        part, JoinBytes(hn::MulHigh(EvenBytes(old), factor), hn::MulHigh(OddBytes(old), factor)));
}

HWY_INLINE void FillRow(u8* row, std::size_t count, BlendColour blend) {
    const std::size_t lanes = hn::Lanes(d32);
    const V32 part = hn::Set(d32, blend.part);
    const V16 factor = hn::Set(d16, static_cast<u16>(257 * blend.keep + 1));
    for (; count >= 2 * lanes; count -= 2 * lanes, row += 8 * lanes) {
        const V32 first = FillMix(LoadPixels(row), part, factor);
        const V32 second = FillMix(LoadPixels(row + 4 * lanes), part, factor);
        StorePixels(first, row);
        StorePixels(second, row + 4 * lanes);
    }
    for (; count >= lanes; count -= lanes, row += 4 * lanes) {
        StorePixels(FillMix(LoadPixels(row), part, factor), row);
    }
    if (count == 0) return;
    if constexpr (kPartialAccess) {
        StoreFirst(FillMix(LoadFirst(row, count), part, factor), row, count);
    } else {
        for (; count != 0; --count, row += 4) BlendPixelAt(row, blend);
    }
}

void Fill(u8* pixels, i64 stride, std::size_t count, std::size_t rows, u32 colour) {
    const u32 a = AlphaOf(colour);
    if (a == 0) return;
    if (stride == static_cast<i64>(4 * count)) {
        count *= rows;
        rows = 1;
    }
    if (a == 255) {
        for (; rows != 0; --rows, pixels += stride) FillOpaqueRow(pixels, count, colour);
        return;
    }
    const BlendColour blend = PrepareBlend(colour);
    for (; rows != 0; --rows, pixels += stride) FillRow(pixels, count, blend);
}

u64 Replace(u8* row, std::size_t count, const Replacement& replacement) {
    const std::size_t lanes = hn::Lanes(d32);
    const V32 mask = hn::Set(d32, replacement.mask);
    const V32 value = hn::Set(d32, replacement.value);
    const V32 keep = hn::Set(d32, replacement.keep);
    const V32 set = hn::Set(d32, replacement.set);
    const V32 flip = hn::Set(d32, replacement.whenEqual ? 0 : ~u32{0});
    u64 changed = 0;
    for (; count >= lanes; count -= lanes, row += 4 * lanes) {
        const V32 old = LoadPixels(row);
        const V32 equal = hn::VecFromMask(d32, hn::Eq(hn::And(old, mask), value));
        const auto chosen = hn::MaskFromVec(hn::Xor(equal, flip));
        const std::size_t hits = hn::CountTrue(d32, chosen);
        if (hits == 0) continue;
        changed += hits;
        StorePixels(hn::IfThenElse(chosen, hn::Or(hn::And(old, keep), set), old), row);
    }
    for (; count != 0; --count, row += 4) changed += ReplacePixel(row, replacement) ? 1 : 0;
    return changed;
}

// --- Colour adjustment: whole numbers below 2^24 in float lanes, where a quotient of two such
// numbers, rounded to nearest, never reaches the next whole number from below.

using DF = hn::Repartition<f32, D32>;
using DI = hn::Repartition<i32, D32>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;
constexpr DF df;
constexpr DI di;

HWY_INLINE VF Whole(VF v) {
    return hn::ConvertTo(df, hn::ConvertTo(di, v));
}

HWY_INLINE VF Quotient(VF a, VF b) {
    return Whole(hn::Div(a, b));
}

HWY_INLINE VF Constant(f32 value) {
    return hn::Set(df, value);
}

HWY_INLINE VF ByteLanes(V32 v) {
    return hn::ConvertTo(df, hn::BitCast(di, hn::And(v, hn::Set(d32, 0xFF))));
}

HWY_INLINE V32 WholeLanes(VF v) {
    return hn::BitCast(d32, hn::ConvertTo(di, v));
}

struct HueLanes {
    VF hue, saturation;
};

HWY_INLINE HueLanes Analyse(VF b0, VF b1, VF b2, VF highest, VF d) {
    const VF zero = hn::Zero(df);
    const auto grey = hn::Eq(d, zero);
    // Grey pixels divide by 1 instead of 0; the result is then left out.
    const VF divisor = hn::IfThenElse(grey, Constant(1), d);
    const VF scale = Constant(255);
    const VF c0 = Quotient(hn::Mul(hn::Sub(highest, b0), scale), divisor);
    const VF c1 = Quotient(hn::Mul(hn::Sub(highest, b1), scale), divisor);
    const VF c2 = Quotient(hn::Mul(hn::Sub(highest, b2), scale), divisor);
    const auto isBlue = hn::Eq(b2, highest);
    const auto isGreen = hn::Eq(b1, highest);
    const VF span = hn::IfThenElse(isBlue, hn::Sub(c0, c1),
                                   hn::IfThenElse(isGreen, hn::Sub(c2, c0), hn::Sub(c1, c2)));
    const VF start =
        hn::IfThenElse(isBlue, zero, hn::IfThenElse(isGreen, Constant(85), Constant(171)));
    const VF hue = hn::Add(Quotient(span, Constant(6)), start);
    const VF saturation = Quotient(hn::Mul(d, scale), hn::IfThenElse(grey, Constant(1), highest));
    return {hn::IfThenZeroElse(grey, hue), saturation};
}

HWY_INLINE V32 Synthesise(V32 hue, V32 saturation, VF value) {
    const VF h = ByteLanes(hue);
    const VF s = ByteLanes(saturation);
    const VF turn = Quotient(h, Constant(42));
    const VF f = hn::Sub(h, hn::Mul(turn, Constant(42)));
    const VF f6 = hn::Mul(f, Constant(6));
    const VF whole = Constant(62730);
    const V32 v = WholeLanes(value);
    const V32 fall = WholeLanes(hn::Div(hn::Mul(hn::Sub(whole, hn::Mul(f6, s)), value), whole));
    const V32 p = WholeLanes(hn::Div(hn::Mul(hn::Sub(Constant(255), s), value), Constant(255)));
    const V32 rise = WholeLanes(hn::Div(
        hn::Mul(hn::Add(hn::Mul(hn::Sub(f6, Constant(246)), s), whole), value), Constant(67830)));
    // Hues of 252 and more belong to the first sixth again.
    const auto is = [&](f32 n) {
        return hn::MaskFromVec(hn::BitCast(d32, hn::VecFromMask(df, hn::Eq(turn, Constant(n)))));
    };
    const auto is1 = is(1);
    const auto is2 = is(2);
    const auto is3 = is(3);
    const auto is4 = is(4);
    const auto is5 = is(5);
    V32 b0 = v;
    V32 b1 = rise;
    V32 b2 = p;
    b0 = hn::IfThenElse(is1, fall, b0);
    b1 = hn::IfThenElse(is1, v, b1);
    b0 = hn::IfThenElse(is2, p, b0);
    b1 = hn::IfThenElse(is2, v, b1);
    b2 = hn::IfThenElse(is2, rise, b2);
    b0 = hn::IfThenElse(is3, p, b0);
    b1 = hn::IfThenElse(is3, fall, b1);
    b2 = hn::IfThenElse(is3, v, b2);
    b0 = hn::IfThenElse(is4, rise, b0);
    b1 = hn::IfThenElse(is4, p, b1);
    b2 = hn::IfThenElse(is4, v, b2);
    b1 = hn::IfThenElse(is5, p, b1);
    b2 = hn::IfThenElse(is5, fall, b2);
    const auto grey = hn::Eq(hn::And(saturation, hn::Set(d32, 0xFF)), hn::Zero(d32));
    b0 = hn::IfThenElse(grey, v, b0);
    b1 = hn::IfThenElse(grey, v, b1);
    b2 = hn::IfThenElse(grey, v, b2);
    return hn::Or(b0, hn::Or(hn::ShiftLeft<8>(b1), hn::ShiftLeft<16>(b2)));
}

void Adjust(u8* row, std::size_t count, const Adjustment& adjustment) {
    const std::size_t lanes = hn::Lanes(d32);
    for (; count >= lanes; count -= lanes, row += 4 * lanes) {
        const V32 old = LoadPixels(row);
        const VF b0 = ByteLanes(old);
        const VF b1 = ByteLanes(hn::ShiftRight<8>(old));
        const VF b2 = ByteLanes(hn::ShiftRight<16>(old));
        const VF highest = hn::Max(b0, hn::Max(b1, b2));
        const VF d = hn::Sub(highest, hn::Min(b0, hn::Min(b1, b2)));
        const HueLanes own = Analyse(b0, b1, b2, highest, d);
        const V32 hue = adjustment.hue >= 0 ? hn::Set(d32, static_cast<u32>(adjustment.hue))
                                            : hn::BitCast(d32, hn::ConvertTo(di, own.hue));
        const V32 saturation = adjustment.saturation >= 0
                                   ? hn::Set(d32, static_cast<u32>(adjustment.saturation))
                                   : hn::BitCast(d32, hn::ConvertTo(di, own.saturation));
        const VI value = hn::GatherIndex(di, adjustment.values, hn::ConvertTo(di, highest));
        const V32 colour = Synthesise(hue, saturation, hn::ConvertTo(df, value));
        StorePixels(hn::Or(colour, hn::And(old, hn::Set(d32, kAlphaMask))), row);
    }
    for (; count != 0; --count, row += 4) AdjustPixel(row, adjustment);
}

// --- The box average, a pixel's four bytes in four lanes

using D4 = hn::CappedTag<u32, 4>;
constexpr D4 d4;
using V4 = hn::Vec<D4>;

HWY_INLINE V4 Channels(u32 pixel) {
    const hn::Rebind<u8, D4> bytes;
    return hn::PromoteTo(
        d4, hn::BitCast(bytes, hn::Set(hn::Repartition<u32, decltype(bytes)>(), pixel)));
}

// A share is byte * factor / 2^24, exactly byte * weight / area up to this area.
constexpr int kShareBits = 24;
constexpr u64 kLargestShared = ((u64{1} << kShareBits) - 1) / 255;

HWY_INLINE V4 Share(V4 channels, u32 factor) {
    return hn::ShiftRight<kShareBits>(hn::Mul(channels, hn::Set(d4, factor)));
}

HWY_INLINE u32 AverageOne(const BoxColumn& column, const BoxRow& row) {
    const u8* line = row.pixels + column.offset;
    const u32 firstPixel = LoadBytes<u32>(line);
    if (column.cells * row.bands <= 1) return firstPixel;
    if (u64{column.width} * row.height > kLargestShared) return AverageBox(column, row);
    const f64 part = f64{1 << kShareBits} / (f64(column.width) * f64(row.height));
    u32 different = 0;
    V4 sum = hn::Zero(d4);
    for (u32 band = 0; band < row.bands; ++band, line += row.stride) {
        const u32 height = band == 0 ? row.first : (band + 1 == row.bands ? row.last : 32);
        const f64 bandPart = part * height;
        const auto factor = [bandPart](u32 width) {
            return static_cast<u32>(static_cast<i32>(bandPart * width)) + 1;
        };
        const auto add = [&](const u8* cell, u32 share) {
            const u32 pixel = LoadBytes<u32>(cell);
            different |= pixel ^ firstPixel;
            sum = hn::Add(sum, Share(Channels(pixel), share));
        };
        add(line, factor(column.first));
        if (column.cells == 1) continue;
        const u32 middle = factor(32);
        const u8* const last = line + 4 * (column.cells - 1);
        for (const u8* cell = line + 4; cell != last; cell += 4) add(cell, middle);
        add(last, factor(column.last));
    }
    if (different == 0) return firstPixel;
    HWY_ALIGN u32 sums[4];
    hn::Store(sum, d4, sums);
    const auto channel = [&](u32 i) {
        return ByteOf(different, i) == 0 ? ByteOf(firstPixel, i) : std::min(sums[i], 255U);
    };
    return PackBytes(channel(0), channel(1), channel(2), channel(3));
}

void Average(u32* out, const BoxColumn* columns, std::size_t count, const BoxRow& row) {
    for (std::size_t i = 0; i < count; ++i) out[i] = AverageOne(columns[i], row);
}

// --- The saturation and value square

void HueRow(u8* row, const HueColumn* columns, std::size_t count, f64 value, u32 sector) {
    for (std::size_t i = 0; i < count; ++i) HuePixel(row + 4 * i, columns[i], value, sector);
}

const Kernels* Table() {
    static const Kernels kTable = {
        .name = hwy::TargetName(HWY_TARGET),
        .fill = Fill,
        .blend = Blend<false>,
        .blendInverted = Blend<true>,
        .compose = Compose,
        .replace = Replace,
        .adjust = Adjust,
        .hueRow = HueRow,
        .average = Average,
    };
    return &kTable;
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace
}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

HWY_EXPORT(Table);

constinit const Kernels* kernels = &scalarKernels;

std::vector<const Kernels*> AvailableKernels() {
    std::vector<const Kernels*> available;
    for (const i64 target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(target);
        available.push_back(HWY_DYNAMIC_DISPATCH(Table)());
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    if (available.empty() || available.back() != &scalarKernels) {
        available.push_back(&scalarKernels);
    }
    return available;
}

void ChooseKernels() {
    kernels = HWY_DYNAMIC_DISPATCH(Table)();
}

#endif
