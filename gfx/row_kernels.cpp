// This file is compiled once for each instruction set: the include of foreach_target.h brings it in
// again.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gfx/row_kernels.cpp"
// Instruction sets that are left out: AVX3_DL has nothing beyond AVX3 that is used here and would
// only lengthen the build; SVE's vectors, whose length is known when the program starts and not
// before, cannot be members of records.
#define HWY_DISABLED_TARGETS (HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>

#include "base/bytes.h"
#include "gfx/pixel.h"
#include "gfx/row_kernels.h"

namespace moxi {

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

HWY_INLINE u32 LayOver(u32 old, u32 colour, u32 c) {
    const auto lay = [&](u32 index) {
        return Div255(ByteOf(colour, index) * c + ByteOf(old, index) * (255 - c));
    };
    return PackBytes(lay(0), lay(1), lay(2), lay(3));
}

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

constexpr hn::ScalableTag<u32> d32;
constexpr hn::Repartition<u16, decltype(d32)> d16;
constexpr hn::Repartition<u8, decltype(d32)> d8;
constexpr hn::Rebind<u8, decltype(d32)> dCoverage;
using V16 = hn::Vec<decltype(d16)>;

// value / 255 in 16-bit lanes.
HWY_INLINE V16 Div255Lanes(V16 value) {
    return hn::ShiftRight<7>(hn::MulHigh(value, hn::Set(d16, 0x8081)));
}

// A vector of pixels with as many coverage bytes, of which the first `done` do not count.
HWY_INLINE void LayVector(u8* pixels, const u8* coverage, u32 colour, std::size_t done) {
    const V16 old = hn::BitCast(d16, hn::LoadU(d8, pixels));
    // The coverage in both 16-bit lanes of its pixel.
    auto once = hn::PromoteTo(d32, hn::LoadU(dCoverage, coverage));
    if (done != 0) {
        once = hn::IfThenZeroElse(hn::FirstN(d32, done), once);
    }
    const V16 cover = hn::BitCast(d16, hn::Or(once, hn::ShiftLeft<16>(once)));
    const V16 low = hn::Set(d16, 0x00FF);
    const V16 rest = hn::Sub(low, cover);
    const V16 colours = hn::BitCast(d16, hn::Set(d32, colour));
    const V16 even = Div255Lanes(
        hn::Add(hn::Mul(hn::And(colours, low), cover), hn::Mul(hn::And(old, low), rest)));
    const V16 odd = Div255Lanes(
        hn::Add(hn::Mul(hn::ShiftRight<8>(colours), cover), hn::Mul(hn::ShiftRight<8>(old), rest)));
    hn::StoreU(hn::BitCast(d8, hn::Or(even, hn::ShiftLeft<8>(odd))), d8, pixels);
}

#endif

#if HWY_TARGET != HWY_SCALAR

// Lays whole vectors and returns how many pixels they were. Most of a text's rows are empty but for
// a few letters, so four vectors are looked at together.
HWY_INLINE std::size_t LayVectors(u8* pixels, const u8* coverage, std::size_t count, u32 colour) {
    const std::size_t step = hn::Lanes(d32);
    std::size_t x = 0;
    for (; x + 4 * step <= count; x += 4 * step) {
        if (hn::AllTrue(d8, hn::Eq(hn::LoadU(d8, coverage + x), hn::Zero(d8)))) {
            continue;
        }
        for (std::size_t i = x; i < x + 4 * step; i += step) {
            LayVector(pixels + i * 4, coverage + i, colour, 0);
        }
    }
    for (; x + step <= count; x += step) {
        LayVector(pixels + x * 4, coverage + x, colour, 0);
    }
    return x;
}

#endif

HWY_INLINE void LayRow(u8* pixels, const u8* coverage, std::size_t count, u32 colour) {
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = LayVectors(pixels, coverage, count, colour);
    if (x != 0 && x != count) {
        // The last vector reaches back over pixels that are done; coverage of 0 leaves them alone.
        const std::size_t last = count - hn::Lanes(d32);
        LayVector(pixels + last * 4, coverage + last, colour, x - last);
        return;
    }
#endif
    for (; x < count; ++x) {
        u8* const pixel = pixels + x * 4;
        StoreBytes<u32>(pixel, LayOver(LoadBytes<u32>(pixel), colour, coverage[x]));
    }
}

void LayRowsHere(u8* pixels, std::size_t stride, const CoverageRows& coverage, u32 colour) {
    for (std::size_t y = 0; y < coverage.rows; ++y) {
        LayRow(pixels + y * stride, coverage.bytes + y * coverage.stride, coverage.columns, colour);
    }
}

bool IsOpaqueRowHere(const u8* pixels, std::size_t count) {
    u32 all = 0xFFFFFFFF;
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const std::size_t step = hn::Lanes(d32);
    auto lanes = hn::Set(d32, 0xFFFFFFFF);
    for (; x + step <= count; x += step) {
        lanes = hn::And(lanes, hn::BitCast(d32, hn::LoadU(d8, pixels + x * 4)));
    }
    const auto alpha = hn::Set(d32, 0xFF000000);
    if (!hn::AllTrue(d32, hn::Eq(hn::And(lanes, alpha), alpha))) {
        return false;
    }
#endif
    for (; x < count; ++x) {
        all &= LoadBytes<u32>(pixels + x * 4);
    }
    return AlphaOf(all) == 255;
}

#if HWY_TARGET != HWY_SCALAR

// Whole vectors; `to` is a multiple of their size where it `streams`.
template <bool streams>
HWY_INLINE std::size_t CopyOpaqueVectors(u8* to, const u8* from, std::size_t count) {
    constexpr std::size_t kAtOnce = 4;
    const std::size_t step = hn::Lanes(d32);
    const auto alpha = hn::Set(d32, 0xFF000000);
    const auto store = [&](hn::Vec<decltype(d32)> pixels, std::size_t x) {
        if constexpr (streams) {
            hn::Stream(hn::BitCast(d8, pixels), d8, to + x * 4);
        } else {
            hn::StoreU(hn::BitCast(d8, pixels), d8, to + x * 4);
        }
    };
    const auto load = [&](std::size_t x) { return hn::BitCast(d32, hn::LoadU(d8, from + x * 4)); };
    std::size_t x = 0;
    for (; x + kAtOnce * step <= count; x += kAtOnce * step) {
        const auto a = load(x);
        const auto b = load(x + step);
        const auto c = load(x + 2 * step);
        const auto d = load(x + 3 * step);
        const auto all = hn::And(hn::And(a, b), hn::And(c, d));
        if (!hn::AllTrue(d32, hn::Eq(hn::And(all, alpha), alpha))) {
            return x;
        }
        store(a, x);
        store(b, x + step);
        store(c, x + 2 * step);
        store(d, x + 3 * step);
    }
    return x;
}

#endif

std::size_t CopyOpaquePixels(u8* to, const u8* from, std::size_t count) {
    std::size_t x = 0;
    for (; x < count; ++x) {
        const u32 pixel = LoadBytes<u32>(from + x * 4);
        if (AlphaOf(pixel) != 255) {
            break;
        }
        StoreBytes<u32>(to + x * 4, pixel);
    }
    return x;
}

std::size_t CopyOpaqueHere(u8* to, const u8* from, std::size_t count,
                           [[maybe_unused]] bool streams) {
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const std::size_t bytes = hn::Lanes(d8);
    const std::size_t beside = reinterpret_cast<std::uintptr_t>(to) % bytes;
    if (streams && beside % 4 == 0) {
        const std::size_t head = std::min((bytes - beside) % bytes / 4, count);
        x = CopyOpaquePixels(to, from, head);
        if (x < head) {
            return x;
        }
        x += CopyOpaqueVectors<true>(to + x * 4, from + x * 4, count - x);
        hwy::FlushStream();
    } else {
        x = CopyOpaqueVectors<false>(to, from, count);
    }
    // Beyond a group that is not opaque as a whole there may be more.
    constexpr std::size_t kAtOnce = 4;
    if (count - x >= kAtOnce * hn::Lanes(d32)) {
        return x + CopyOpaquePixels(to + x * 4, from + x * 4, kAtOnce * hn::Lanes(d32));
    }
#endif
    return x + CopyOpaquePixels(to + x * 4, from + x * 4, count - x);
}

void CopyExchangedHere(u8* to, const u8* from, std::size_t count) {
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const std::size_t step = hn::Lanes(d32);
    alignas(16) static constexpr u8 kExchange[16] = {2,  1, 0, 3,  6,  5,  4,  7,
                                                     10, 9, 8, 11, 14, 13, 12, 15};
    const auto exchange = hn::LoadDup128(d8, kExchange);
    for (; i + step <= count; i += step) {
        hn::StoreU(hn::TableLookupBytes(hn::LoadU(d8, from + i * 4), exchange), d8, to + i * 4);
    }
#endif
    for (; i < count; ++i) {
        StoreBytes<u32>(to + i * 4, ExchangeRedBlue(LoadBytes<u32>(from + i * 4)));
    }
}

}  // namespace
}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

HWY_EXPORT(LayRowsHere);
HWY_EXPORT(IsOpaqueRowHere);
HWY_EXPORT(CopyOpaqueHere);
HWY_EXPORT(CopyExchangedHere);

void LayRows(u8* pixels, std::size_t stride, const CoverageRows& coverage, u32 colour) {
    HWY_DYNAMIC_DISPATCH(LayRowsHere)(pixels, stride, coverage, colour);
}

bool IsOpaqueRow(const u8* pixels, std::size_t count) {
    return HWY_DYNAMIC_DISPATCH(IsOpaqueRowHere)(pixels, count);
}

std::size_t CopyOpaque(u8* to, const u8* from, std::size_t count, bool streams) {
    return HWY_DYNAMIC_DISPATCH(CopyOpaqueHere)(to, from, count, streams);
}

void CopyExchanged(u8* to, const u8* from, std::size_t count) {
    HWY_DYNAMIC_DISPATCH(CopyExchangedHere)(to, from, count);
}

#endif

}  // namespace moxi
