// Pixels laid over pixels, colours over areas, and words exchanged for others.
// Included once for each instruction set, as gfx/kernels_simd.cpp is.

#if defined(MOXI_GFX_SIMD_BLEND_H) == defined(HWY_TARGET_TOGGLE)
#ifdef MOXI_GFX_SIMD_BLEND_H
#undef MOXI_GFX_SIMD_BLEND_H
#else
#define MOXI_GFX_SIMD_BLEND_H
#endif

#include "gfx/kernels.h"
#include "gfx/kernels_pixel.h"
#include "gfx/simd_pixels.h"

namespace moxi {

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

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

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace
}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

}  // namespace moxi

#endif
