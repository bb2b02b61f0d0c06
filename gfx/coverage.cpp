#include "gfx/coverage.h"

#include <hwy/highway.h>

#include "base/bytes.h"
#include "gfx/pixel.h"

namespace {

namespace hn = hwy::HWY_NAMESPACE;

u32 LayOver(u32 old, u32 colour, u32 c) {
    const auto lay = [&](u32 index) {
        return Div255(ByteOf(colour, index) * c + ByteOf(old, index) * (255 - c));
    };
    return PackBytes(lay(0), lay(1), lay(2), lay(3));
}

// value / 255 in 16-bit lanes.
template <class V>
V Div255Lanes(V value) {
    const hn::DFromV<V> d;
    return hn::ShiftRight<7>(hn::MulHigh(value, hn::Set(d, 0x8081)));
}

// Four pixels with the four coverage bytes in `c`.
void LayFour(u8* pixels, u32 c, u32 colour) {
    const hn::Full128<u32> d32;
    const hn::Full128<u16> d16;
    const hn::Full128<u8> d8;
    const auto old = hn::LoadU(d8, pixels);
    // Each coverage byte four times, once for each byte of its pixel.
    const auto bytes = hn::BitCast(d8, hn::Set(d32, c));
    const auto pairs = hn::InterleaveLower(d8, bytes, bytes);
    const auto pairs16 = hn::BitCast(d16, pairs);
    const auto coverage = hn::BitCast(d8, hn::InterleaveLower(d16, pairs16, pairs16));
    const auto rest = hn::BitCast(d16, hn::Not(coverage));
    const auto colours = hn::BitCast(d16, hn::Set(d32, colour));
    const auto low = hn::Set(d16, 0x00FF);
    const auto coverage16 = hn::BitCast(d16, coverage);
    const auto old16 = hn::BitCast(d16, old);
    const auto even = Div255Lanes(
        hn::Add(hn::Mul(hn::And(colours, low), hn::And(coverage16, low)),
                hn::Mul(hn::And(old16, low), hn::And(rest, low))));
    const auto odd = Div255Lanes(
        hn::Add(hn::Mul(hn::ShiftRight<8>(colours), hn::ShiftRight<8>(coverage16)),
                hn::Mul(hn::ShiftRight<8>(old16), hn::ShiftRight<8>(rest))));
    hn::StoreU(hn::BitCast(d8, hn::Or(even, hn::ShiftLeft<8>(odd))), d8, pixels);
}

void LayRow(u8* pixels, const u8* coverage, i64 count, u32 colour) {
    i64 x = 0;
    for (; x + 4 <= count; x += 4) {
        const u32 four = LoadBytes<u32>(coverage + x);
        if (four == 0) continue;
        if (four == 0xFFFFFFFF) {
            for (i64 i = 0; i < 4; ++i) StoreBytes<u32>(pixels + (x + i) * 4, colour);
        } else {
            LayFour(pixels + x * 4, four, colour);
        }
    }
    for (; x < count; ++x) {
        u8* const pixel = pixels + x * 4;
        StoreBytes<u32>(pixel, LayOver(LoadBytes<u32>(pixel), colour, coverage[x]));
    }
}

}  // namespace

void LayPicture(const HostBitmap& bitmap, const TextPicture& picture, i32 baseline, u32 colour,
                const Area& area) {
    if (picture.coverage == nullptr) return;
    const i64 top = i64{baseline} + picture.top;
    const Area covered =
        Intersect(area, {picture.left, top, i64{picture.left} + picture.width, top + picture.height});
    if (covered.Empty()) return;
    const u32 opaque = colour | 0xFF000000;
    for (i64 y = covered.top; y < covered.bottom; ++y) {
        LayRow(bitmap.pixels + y * bitmap.stride + covered.left * i64{kBytesPerPixel},
               picture.coverage + (y - top) * static_cast<i64>(picture.stride) +
                   (covered.left - picture.left),
               covered.right - covered.left, opaque);
    }
}
