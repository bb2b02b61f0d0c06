// Pixels in vectors: what the loops over pixels have in common.
// Included once for each instruction set, as gfx/kernels_simd.cpp is.

#if defined(MOXI_GFX_SIMD_PIXELS_H) == defined(HWY_TARGET_TOGGLE)
#ifdef MOXI_GFX_SIMD_PIXELS_H
#undef MOXI_GFX_SIMD_PIXELS_H
#else
#define MOXI_GFX_SIMD_PIXELS_H
#endif

#include <hwy/highway.h>

#include "base/types.h"

namespace moxi {

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

using D32 = hn::ScalableTag<u32>;
using V32 = hn::Vec<D32>;
using D16 = hn::Repartition<u16, D32>;
using V16 = hn::Vec<D16>;
using D8 = hn::Repartition<u8, D32>;
using V8 = hn::Vec<D8>;
using D64 = hn::Repartition<f64, D32>;
constexpr D32 d32;
constexpr D16 d16;
constexpr D8 d8;
constexpr D64 d64;

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

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace
}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

}  // namespace moxi

#endif
