// The box average, a pixel's four bytes in four lanes.
// Included once for each instruction set, as gfx/kernels_simd.cpp is.

#if defined(MOXI_GFX_SIMD_AVERAGE_H) == defined(HWY_TARGET_TOGGLE)
#ifdef MOXI_GFX_SIMD_AVERAGE_H
#undef MOXI_GFX_SIMD_AVERAGE_H
#else
#define MOXI_GFX_SIMD_AVERAGE_H
#endif

#include "gfx/kernels.h"
#include "gfx/kernels_pixel.h"
#include "gfx/simd_pixels.h"

namespace moxi {

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

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

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace
}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

}  // namespace moxi

#endif
