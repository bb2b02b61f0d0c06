// The blending loop for processors of the 64-bit x86 family that have nothing beyond its baseline,
// SSE2, where the vector library has no code of its own. The other loops are the scalar ones.

#include "gfx/kernels.h"

#if defined(__SSE2__)
#include <emmintrin.h>

#include "gfx/kernels_pixel.h"
#endif

namespace moxi {

#if defined(__SSE2__)

namespace {

__m128i LoadBlock(const u8* pixels) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
}

// 256 * alpha in each lane of a pixel but its last. `twice` holds every byte twice in a lane.
__m128i AlphaOfColours(__m128i twice) {
    const __m128i low = _mm_shufflelo_epi16(twice, _MM_SHUFFLE(3, 3, 3, 3));
    const __m128i all = _mm_shufflehi_epi16(low, _MM_SHUFFLE(3, 3, 3, 3));
    const i16 byte = static_cast<i16>(0xFF00);
    return _mm_and_si128(all, _mm_setr_epi16(byte, byte, byte, 0, byte, byte, byte, 0));
}

// The upper bytes of the lanes.
__m128i UpperBytes(__m128i low, __m128i high) {
    return _mm_packus_epi16(_mm_srli_epi16(low, 8), _mm_srli_epi16(high, 8));
}

// A byte times alpha over 255 is exactly the upper byte of the high product of the byte twice and
// 256 * alpha + 1. The lanes of alpha itself have the factor of 255, which keeps them whole.
template <bool kInverted>
__m128i Mix(__m128i source, __m128i old) {
    const i16 most = static_cast<i16>(65281);
    const __m128i ones = _mm_setr_epi16(1, 1, 1, most, 1, 1, 1, most);
    const __m128i mostLanes = _mm_set1_epi16(most);
    const __m128i colour = kInverted ? _mm_xor_si128(source, _mm_set1_epi32(0x00FFFFFF)) : source;
    const __m128i colourLow = _mm_unpacklo_epi8(colour, colour);
    const __m128i colourHigh = _mm_unpackhi_epi8(colour, colour);
    const __m128i alphaLow = AlphaOfColours(colourLow);
    const __m128i alphaHigh = AlphaOfColours(colourHigh);
    const __m128i added = UpperBytes(_mm_mulhi_epu16(colourLow, _mm_or_si128(alphaLow, ones)),
                                     _mm_mulhi_epu16(colourHigh, _mm_or_si128(alphaHigh, ones)));
    const __m128i kept = UpperBytes(
        _mm_mulhi_epu16(_mm_unpacklo_epi8(old, old), _mm_sub_epi16(mostLanes, alphaLow)),
        _mm_mulhi_epu16(_mm_unpackhi_epi8(old, old), _mm_sub_epi16(mostLanes, alphaHigh)));
    return _mm_adds_epu8(added, kept);
}

bool HasOnlyAlpha(__m128i pixels, int alpha) {
    const __m128i wanted = _mm_set1_epi32(alpha);
    return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_srli_epi32(pixels, 24), wanted)) == 0xFFFF;
}

void StoreBlock(u8* pixels, __m128i block) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels), block);
}

template <bool kInverted>
void MixAt(u8* to, __m128i source) {
    StoreBlock(to, Mix<kInverted>(source, LoadBlock(to)));
}

// Sixteen pixels; the first one says whether to look for a run of transparent or opaque ones.
template <bool kInverted>
void BlendSixteen(u8* to, const u8* from) {
    const u8 firstAlpha = from[3];
    const __m128i s0 = LoadBlock(from);
    const __m128i s1 = LoadBlock(from + 16);
    const __m128i s2 = LoadBlock(from + 32);
    const __m128i s3 = LoadBlock(from + 48);
    if (firstAlpha == 0) {
        const __m128i any = _mm_or_si128(_mm_or_si128(s0, s1), _mm_or_si128(s2, s3));
        if (HasOnlyAlpha(any, 0)) {
            return;
        }
    } else if (firstAlpha == 255 && !kInverted) {
        const __m128i all = _mm_and_si128(_mm_and_si128(s0, s1), _mm_and_si128(s2, s3));
        if (HasOnlyAlpha(all, 255)) {
            StoreBlock(to, s0);
            StoreBlock(to + 16, s1);
            StoreBlock(to + 32, s2);
            StoreBlock(to + 48, s3);
            return;
        }
    }
    MixAt<kInverted>(to, s0);
    MixAt<kInverted>(to + 16, s1);
    MixAt<kInverted>(to + 32, s2);
    MixAt<kInverted>(to + 48, s3);
}

template <bool kInverted>
void BlendRow(u8* to, const u8* from, std::size_t count) {
    for (; count >= 16; count -= 16, to += 64, from += 64) {
        BlendSixteen<kInverted>(to, from);
    }
    for (; count >= 4; count -= 4, to += 16, from += 16) {
        MixAt<kInverted>(to, LoadBlock(from));
    }
    for (; count != 0; --count, to += 4, from += 4) {
        BlitPixel<kInverted>(to, LoadBytes<u32>(from));
    }
}

template <bool kInverted>
void Blend(u8* to, i64 toStride, const u8* from, i64 fromStride, std::size_t count,
           std::size_t rows) {
    for (; rows != 0; --rows, to += toStride, from += fromStride) {
        BlendRow<kInverted>(to, from, count);
    }
}

}  // namespace

const Kernels* BaselineKernels() {
    static const Kernels kTable = [] {
        Kernels table = scalarKernels;
        table.name = "SSE2";
        table.blend = Blend<false>;
        table.blendInverted = Blend<true>;
        return table;
    }();
    return &kTable;
}

#else

const Kernels* BaselineKernels() {
    return &scalarKernels;
}

#endif

}  // namespace moxi
