// The inner loops as vector code. This file is compiled once for each instruction set: the include
// of foreach_target.h brings it in again.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gfx/kernels_simd.cpp"
// Instruction sets that are left out: AVX3_DL has nothing beyond AVX3 that is used here and would
// only lengthen the build; SVE's vectors, whose length is known when the program starts and not
// before, cannot be members of records.
#define HWY_DISABLED_TARGETS (HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include <algorithm>

#include "gfx/kernels.h"
#include "gfx/kernels_pixel.h"

namespace moxi {

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const Kernels* Table() {
    return BaselineKernels();
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using D32 = hn::ScalableTag<u32>;
using V32 = hn::Vec<D32>;
using D16 = hn::Repartition<u16, D32>;
using V16 = hn::Vec<D16>;
using D8 = hn::Repartition<u8, D32>;
using V8 = hn::Vec<D8>;
constexpr D32 d32;
constexpr D16 d16;
constexpr D8 d8;

constexpr u32 kAlphaMask = 0xFF000000;
constexpr u32 kColourMask = 0x00FFFFFF;

HWY_INLINE V32 LoadPixels(const u8* pixels) {
    return hn::BitCast(d32, hn::LoadU(d8, pixels));
}

// The same for pixels that several operations use: the fence keeps compilers from loading them
// once for each, which is dear where a vector lies across two cache lines.
HWY_INLINE V32 LoadPixelsOnce(const u8* pixels) {
    const V32 v = LoadPixels(pixels);
    HWY_FENCE;
    return v;
}

HWY_INLINE void StorePixels(V32 v, u8* pixels) {
    hn::StoreU(hn::BitCast(d8, v), d8, pixels);
}

// Whether choosing bytes from two vectors takes one operation.
constexpr bool kCheapSelect = HWY_TARGET != HWY_SSSE3;

// Whether masks have registers of their own, so that unsigned comparisons are single operations.
constexpr bool kMaskRegisters = HWY_TARGET == HWY_AVX3;

// Whether an AVX2 or a later set can load and store a part of a vector without touching the rest.
constexpr bool kPartialAccess = HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3;

[[maybe_unused]] HWY_INLINE V32 LoadFirst(const u8* pixels, std::size_t count) {
    return hn::MaskedLoad(hn::FirstN(d32, count), d32, reinterpret_cast<const u32*>(pixels));
}

[[maybe_unused]] HWY_INLINE void StoreFirst(V32 v, u8* pixels, std::size_t count) {
    hn::BlendedStore(v, hn::FirstN(d32, count), d32, reinterpret_cast<u32*>(pixels));
}

// Constants of the blending loops, loaded into registers before the loop. Compilers that know the
// values make them from numbers within the loop, which costs as much as the arithmetic.
struct BlendConstants {
    V16 one, oneOrMost, most;
    V32 alphaMask;
    V8 evenTwice, oddTwice, alphaHigh, firstAlphas, lastAlphas;
};

HWY_INLINE BlendConstants LoadBlendConstants() {
    const auto load = [](const u8* bytes) { return hn::LoadDup128(d8, bytes); };
    return {hn::BitCast(d16, load(blendBytes.one)),
            hn::BitCast(d16, load(blendBytes.oneOrMost)),
            hn::BitCast(d16, load(blendBytes.most)),
            hn::BitCast(d32, load(blendBytes.alphaMask)),
            load(blendBytes.evenTwice),
            load(blendBytes.oddTwice),
            load(blendBytes.alphaHigh),
            load(blendBytes.firstAlphas),
            load(blendBytes.lastAlphas)};
}

// Bytes 1 and 3 of each pixel as 16-bit lanes; bytes 0 and 2 are left by a mask.
HWY_INLINE V16 OddBytes(V32 v) {
    return hn::ShiftRight<8>(hn::BitCast(d16, v));
}
HWY_INLINE V32 JoinBytes(V16 even, V16 odd) {
    return hn::BitCast(d32, hn::Or(even, hn::ShiftLeft<8>(odd)));
}

HWY_INLINE bool AllTransparent(V32 any, const BlendConstants& constants) {
    if constexpr (kMaskRegisters) {
        return hn::AllTrue(d32, hn::Lt(any, hn::Set(d32, 0x01000000)));
    }
    return hn::AllTrue(d32, hn::Eq(hn::And(any, constants.alphaMask), hn::Zero(d32)));
}

HWY_INLINE bool AllOpaque(V32 all, const BlendConstants& constants) {
    if constexpr (kMaskRegisters) {
        return hn::AllTrue(d32, hn::Gt(all, hn::Set(d32, 0xFEFFFFFF)));
    }
    return hn::AllTrue(d32, hn::Eq(hn::And(all, constants.alphaMask), constants.alphaMask));
}

// Source pixels laid over old ones; with kAddAlpha their alphas are added.
//
// A byte times alpha over 255 is exactly byte 3 of (257 * byte) * (256 * alpha + 1), for every byte
// and every alpha: with the byte twice in a 16-bit lane it is the upper byte of the high product.
template <bool kInverted, bool kAddAlpha>
HWY_INLINE V32 MixByParity(V32 source, V32 old, const BlendConstants& constants) {
    const V8 colour =
        hn::BitCast(d8, kInverted ? hn::Xor(source, hn::Set(d32, kColourMask)) : source);
    const V8 under = hn::BitCast(d8, old);
    const V16 alpha =
        hn::BitCast(d16, hn::TableLookupBytesOr0(hn::BitCast(d8, source), constants.alphaHigh));
    const V16 part = hn::Or(alpha, constants.one);
    const V16 keep = hn::Sub(constants.most, alpha);
    const auto times = [](V8 bytes, V8 order, V16 factor) {
        return hn::MulHigh(hn::BitCast(d16, hn::TableLookupBytesOr0(bytes, order)), factor);
    };
    const auto join = [](V16 even, V16 odd, V8 own) {
        if constexpr (kAddAlpha) {
            odd = hn::OddEven(hn::BitCast(d16, own), odd);
        }
        return hn::OddEven(hn::BitCast(d8, odd), hn::BitCast(d8, hn::ShiftRight<8>(even)));
    };
    const V8 added = join(times(colour, constants.evenTwice, part),
                          times(colour, constants.oddTwice, part), colour);
    const V8 kept = join(times(under, constants.evenTwice, keep),
                         times(under, constants.oddTwice, keep), under);
    return hn::BitCast(d32, hn::SaturatedAdd(added, kept));
}

// The same with added alpha, by halves of 16 bytes. Their lanes have factors of their own: alpha's
// is that of 255.
template <bool kInverted>
HWY_INLINE V32 MixByHalves(V32 source, V32 old, const BlendConstants& constants) {
    const V8 colour =
        hn::BitCast(d8, kInverted ? hn::Xor(source, hn::Set(d32, kColourMask)) : source);
    const V8 under = hn::BitCast(d8, old);
    const auto alphas = [&](V8 order) {
        return hn::BitCast(d16, hn::TableLookupBytesOr0(hn::BitCast(d8, source), order));
    };
    const auto times = [](V8 twice, V16 factor) {
        return hn::BitCast(d8, hn::MulHigh(hn::BitCast(d16, twice), factor));
    };
    const V16 first = alphas(constants.firstAlphas);
    const V16 last = alphas(constants.lastAlphas);
    const V8 added = hn::ConcatOdd(
        d8, times(hn::InterleaveUpper(d8, colour, colour), hn::Or(last, constants.oneOrMost)),
        times(hn::InterleaveLower(d8, colour, colour), hn::Or(first, constants.oneOrMost)));
    const V8 kept = hn::ConcatOdd(
        d8, times(hn::InterleaveUpper(d8, under, under), hn::Sub(constants.most, last)),
        times(hn::InterleaveLower(d8, under, under), hn::Sub(constants.most, first)));
    return hn::BitCast(d32, hn::SaturatedAdd(added, kept));
}

template <bool kInverted, bool kAddAlpha>
HWY_INLINE V32 Mix(V32 source, V32 old, const BlendConstants& constants) {
    if constexpr (kAddAlpha && !kCheapSelect) {
        return MixByHalves<kInverted>(source, old, constants);
    } else {
        return MixByParity<kInverted, kAddAlpha>(source, old, constants);
    }
}

template <bool kInverted>
HWY_INLINE V32 Shown(V32 source) {
    return kInverted ? hn::Xor(source, hn::Set(d32, kColourMask)) : source;
}

template <bool kInverted>
HWY_INLINE void BlendOne(u8* to, V32 source, const BlendConstants& constants) {
    StorePixels(Mix<kInverted, true>(source, LoadPixelsOnce(to), constants), to);
}

// Less than a vector; only where parts of one can be loaded and stored.
template <bool kInverted>
HWY_INLINE void BlendFirst(u8* to, const u8* from, std::size_t count,
                           const BlendConstants& constants) {
    const V32 source = LoadFirst(from, count);
    if (AllTransparent(source, constants)) {
        return;
    }
    StoreFirst(Mix<kInverted, true>(source, LoadFirst(to, count), constants), to, count);
}

// Vectors that are looked at together: 128 bytes, but 64 where vectors are short.
constexpr std::size_t kBlockVectors = HWY_TARGET == HWY_AVX3 ? 2 : 4;

// A row in bytes: up to where it goes by blocks, up to where by vectors, and the pixels left.
struct RowParts {
    std::size_t blocks, vectors, pixels;
};

template <bool kInverted>
HWY_INLINE void BlendBlock(u8* to, const u8* from, const BlendConstants& constants) {
    const std::size_t step = 4 * hn::Lanes(d32);
    // Long runs of transparent and of opaque pixels are the rule. The first pixel says which run to
    // look for; mixed pixels cost no more than finding out where the arithmetic could be left out.
    const u8 firstAlpha = from[3];
    constexpr bool kFour = kBlockVectors == 4;
    const V32 s0 = LoadPixels(from);
    const V32 s1 = LoadPixels(from + step);
    const V32 s2 = kFour ? LoadPixels(from + 2 * step) : s0;
    const V32 s3 = kFour ? LoadPixels(from + 3 * step) : s1;
    if (firstAlpha == 0) {
        if (AllTransparent(hn::Or(hn::Or(s0, s1), hn::Or(s2, s3)), constants)) {
            return;
        }
    } else if (firstAlpha == 255) {
        if (AllOpaque(hn::And(hn::And(s0, s1), hn::And(s2, s3)), constants)) {
            StorePixels(Shown<kInverted>(s0), to);
            StorePixels(Shown<kInverted>(s1), to + step);
            if constexpr (kFour) {
                StorePixels(Shown<kInverted>(s2), to + 2 * step);
            }
            if constexpr (kFour) {
                StorePixels(Shown<kInverted>(s3), to + 3 * step);
            }
            return;
        }
    }
    BlendOne<kInverted>(to, s0, constants);
    BlendOne<kInverted>(to + step, s1, constants);
    if constexpr (kFour) {
        BlendOne<kInverted>(to + 2 * step, s2, constants);
    }
    if constexpr (kFour) {
        BlendOne<kInverted>(to + 3 * step, s3, constants);
    }
}

template <bool kInverted>
HWY_INLINE void BlendRow(u8* to, const u8* from, const RowParts& parts,
                         const BlendConstants& constants) {
    const std::size_t step = 4 * hn::Lanes(d32);
    std::size_t i = 0;
    for (; i != parts.blocks; i += kBlockVectors * step) {
        BlendBlock<kInverted>(to + i, from + i, constants);
    }
    for (; i != parts.vectors; i += step) {
        const V32 source = LoadPixels(from + i);
        if (AllTransparent(source, constants)) {
            continue;
        }
        BlendOne<kInverted>(to + i, source, constants);
    }
    if (parts.pixels == 0) {
        return;
    }
    if constexpr (kPartialAccess) {
        BlendFirst<kInverted>(to + i, from + i, parts.pixels, constants);
    } else {
        for (const std::size_t end = i + 4 * parts.pixels; i != end; i += 4) {
            BlitPixel<kInverted>(to + i, LoadBytes<u32>(from + i));
        }
    }
}

template <bool kInverted>
void Blend(u8* to, i64 toStride, const u8* from, i64 fromStride, std::size_t count,
           std::size_t rows) {
    const BlendConstants constants = LoadBlendConstants();
    const std::size_t lanes = hn::Lanes(d32);
    const RowParts parts = {4 * (count - count % (kBlockVectors * lanes)),
                            4 * (count - count % lanes), count % lanes};
    for (; rows != 0; --rows, to += toStride, from += fromStride) {
        BlendRow<kInverted>(to, from, parts, constants);
    }
}

void Compose(u8* to, const u32* colours, std::size_t count) {
    const BlendConstants constants = LoadBlendConstants();
    const std::size_t lanes = hn::Lanes(d32);
    for (; count >= lanes; count -= lanes, to += 4 * lanes, colours += lanes) {
        const V32 source = hn::LoadU(d32, colours);
        if (AllTransparent(source, constants)) {
            continue;
        }
        StorePixels(Mix<false, false>(source, LoadPixelsOnce(to), constants), to);
    }
    for (; count != 0; --count, to += 4, ++colours) {
        ComposePixel(to, *colours);
    }
}

HWY_INLINE void FillOpaqueRow(u8* row, std::size_t count, u32 colour) {
    const std::size_t lanes = hn::Lanes(d32);
    const V32 v = hn::Set(d32, colour);
    if (count < lanes) {
        for (; count != 0; --count, row += 4) {
            StoreBytes<u32>(row, colour);
        }
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
    for (; count >= lanes; count -= lanes, row += 4 * lanes) {
        StorePixels(v, row);
    }
    StorePixels(v, last);
}

// `factor` is 257 * keep + 1: its product with a byte, over 65536, is byte * keep / 255 exactly as
// long as keep is below 255.
HWY_INLINE V32 FillMix(V32 old, V32 part, V16 factor) {
    const V16 even = hn::And(hn::BitCast(d16, old), hn::Set(d16, 0x00FF));
    return hn::Add(part, JoinBytes(hn::MulHigh(even, factor), hn::MulHigh(OddBytes(old), factor)));
}

HWY_INLINE void FillRow(u8* row, std::size_t count, BlendColour blend) {
    const std::size_t lanes = hn::Lanes(d32);
    const V32 part = hn::Set(d32, blend.part);
    const V16 factor = hn::Set(d16, static_cast<u16>(257 * blend.keep + 1));
    for (; count >= 2 * lanes; count -= 2 * lanes, row += 8 * lanes) {
        const V32 first = FillMix(LoadPixelsOnce(row), part, factor);
        const V32 second = FillMix(LoadPixelsOnce(row + 4 * lanes), part, factor);
        StorePixels(first, row);
        StorePixels(second, row + 4 * lanes);
    }
    for (; count >= lanes; count -= lanes, row += 4 * lanes) {
        StorePixels(FillMix(LoadPixelsOnce(row), part, factor), row);
    }
    if (count == 0) {
        return;
    }
    if constexpr (kPartialAccess) {
        StoreFirst(FillMix(LoadFirst(row, count), part, factor), row, count);
    } else {
        for (; count != 0; --count, row += 4) {
            BlendPixelAt(row, blend);
        }
    }
}

void Fill(u8* pixels, i64 stride, std::size_t count, std::size_t rows, u32 colour) {
    const u32 a = AlphaOf(colour);
    if (a == 0) {
        return;
    }
    if (stride == static_cast<i64>(4 * count)) {
        count *= rows;
        rows = 1;
    }
    if (a == 255) {
        for (; rows != 0; --rows, pixels += stride) {
            FillOpaqueRow(pixels, count, colour);
        }
        return;
    }
    const BlendColour blend = PrepareBlend(colour);
    for (; rows != 0; --rows, pixels += stride) {
        FillRow(pixels, count, blend);
    }
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
        if (hits == 0) {
            continue;
        }
        changed += hits;
        StorePixels(hn::IfThenElse(chosen, hn::Or(hn::And(old, keep), set), old), row);
    }
    for (; count != 0; --count, row += 4) {
        changed += ReplacePixel(row, replacement) ? 1 : 0;
    }
    return changed;
}

// --- Colour adjustment, in float lanes that hold whole numbers.

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

// --- The box average, a pixel's four bytes in four lanes

using D4 = hn::CappedTag<u32, 4>;
using V4 = hn::Vec<D4>;
constexpr D4 d4;

HWY_INLINE V4 Channels(const u8* pixel) {
    const hn::Rebind<u8, D4> bytes;
    return hn::PromoteTo(d4, hn::LoadU(bytes, pixel));
}

// A cell's share of a box is byte * factor / 2^24, exactly byte * weight / area up to this area.
constexpr int kShareBits = 24;
constexpr u64 kLargestShared = ((u64{1} << kShareBits) - 1) / 255;

using D64 = hn::Repartition<f64, D32>;
constexpr D64 d64;

// Columns whose factors are worked out together.
constexpr std::size_t kShareColumns = 64;

// The factors of a row's cells: of the first, of those between and of the last.
struct Shares {
    alignas(64) u32 first[kShareColumns];
    alignas(64) u32 middle[kShareColumns];
    alignas(64) u32 last[kShareColumns];
};

// `bandPart` is the band's part of the box's height.
HWY_INLINE void MakeShares(const BoxParts& parts, std::size_t count, f64 bandPart, Shares& shares) {
    const hn::Rebind<i32, D64> narrow;
    const auto factor = hn::Set(d64, bandPart * (1 << kShareBits));
    const auto make = [&](const f64* part, u32* out) {
        for (std::size_t i = 0; i < count; i += hn::Lanes(d64)) {
            const auto share = hn::DemoteTo(narrow, hn::Mul(hn::LoadU(d64, part + i), factor));
            hn::StoreU(hn::Add(share, hn::Set(narrow, 1)), narrow, reinterpret_cast<i32*>(out + i));
        }
    };
    make(parts.first, shares.first);
    make(parts.middle, shares.middle);
    make(parts.last, shares.last);
}

struct BoxSum {
    V4 sum, different, firstPixel;

    HWY_INLINE void Add(const u8* cell, u32 share) {
        const V4 pixel = Channels(cell);
        different = hn::Or(different, hn::Xor(pixel, firstPixel));
        sum = hn::Add(sum, hn::ShiftRight<kShareBits>(hn::Mul(pixel, hn::Set(d4, share))));
    }
    HWY_INLINE void AddBand(const u8* line, u32 cells, const Shares& shares, std::size_t i) {
        Add(line, shares.first[i]);
        if (cells == 1) {
            return;
        }
        const u8* const last = line + std::size_t{4} * (cells - 1);
        const u32 middle = shares.middle[i];
        for (const u8* cell = line + 4; cell != last; cell += 4) {
            Add(cell, middle);
        }
        Add(last, shares.last[i]);
    }
    // No sum exceeds 255: the weights add up to the area.
    HWY_INLINE u32 Pixel() const {
        const auto same = hn::Eq(different, hn::Zero(d4));
        const V4 channels = hn::IfThenElse(same, firstPixel, sum);
        const hn::Rebind<u8, D4> bytes;
        alignas(4) u8 pixel[4];
        hn::StoreU(hn::DemoteTo(bytes, hn::BitCast(hn::RebindToSigned<D4>(), channels)), bytes,
                   pixel);
        return LoadBytes<u32>(pixel);
    }
};

void Average(u32* out, const BoxColumns& columns, std::size_t count, const BoxRow& row) {
    Shares first;
    Shares middle;
    Shares last;
    if (row.bands > 0) {
        const f64 height = row.height;
        MakeShares(columns.parts, count, row.first / height, first);
        if (row.bands > 1) {
            MakeShares(columns.parts, count, row.last / height, last);
        }
        if (row.bands > 2) {
            MakeShares(columns.parts, count, 32 / height, middle);
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        const BoxColumn& column = columns.columns[i];
        const u8* line = row.pixels + column.offset;
        if (column.cells * row.bands <= 1) {
            out[i] = LoadBytes<u32>(line);
            continue;
        }
        if (u64{column.width} * row.height > kLargestShared) {
            out[i] = AverageBox(column, row);
            continue;
        }
        BoxSum box = {hn::Zero(d4), hn::Zero(d4), Channels(line)};
        box.AddBand(line, column.cells, first, i);
        if (row.bands > 1) {
            for (u32 band = 2; band < row.bands; ++band) {
                line += row.stride;
                box.AddBand(line, column.cells, middle, i);
            }
            box.AddBand(line + row.stride, column.cells, last, i);
        }
        out[i] = box.Pixel();
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
    for (const Kernels* each : {BaselineKernels(), &scalarKernels}) {
        if (std::find(available.begin(), available.end(), each) == available.end()) {
            available.push_back(each);
        }
    }
    return available;
}

void ChooseKernels() {
    kernels = HWY_DYNAMIC_DISPATCH(Table)();
}

#endif

}  // namespace moxi
