// The blending loops of every instruction set, for each source byte, old byte and alpha there is.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "base/bytes.h"
#include "gfx/kernels.h"
#include "vm/fault.h"

namespace moxi {

namespace {

// Rows of pixels in which bytes 0 to 2 are each paired with every old byte: for one alpha, source
// bytes run along the row and old bytes from row to row.
constexpr u32 kBytes = 256;
// From 0 to 255. Another alpha gives other values but reaches no other memory, at which the
// sanitizers look.
constexpr u32 kAlphaStep = kCheckedAccess ? 17 : 1;

u32 SourcePixel(u32 x, u32 alpha) {
    return x | (255 - x) << 8 | (x ^ 0x55) << 16 | alpha << 24;
}
u32 OldPixel(u32 x, u32 y) {
    return y | ((y + x) & 255) << 8 | (255 - y) << 16 | (y * 7 & 255) << 24;
}

u32 Expected(u32 source, u32 old, bool inverted) {
    const u32 a = source >> 24;
    if (a == 0) {
        return old;
    }
    u32 pixel = std::min((old >> 24) + a, 255U) << 24;
    for (u32 shift = 0; shift < 24; shift += 8) {
        const u32 byte = source >> shift & 255;
        const u32 colour = inverted ? 255 - byte : byte;
        pixel |= (colour * a / 255 + (old >> shift & 255) * (255 - a) / 255) << shift;
    }
    return pixel;
}

void CheckBlend(const Kernels& set, bool inverted) {
    std::vector<u8> from(std::size_t{kBytes} * 4);
    std::vector<u8> to(std::size_t{kBytes} * kBytes * 4);
    for (u32 alpha = 0; alpha < 256; alpha += kAlphaStep) {
        for (u32 x = 0; x < kBytes; ++x) {
            StoreBytes<u32>(&from[x * 4], SourcePixel(x, alpha));
        }
        for (u32 y = 0; y < kBytes; ++y) {
            for (u32 x = 0; x < kBytes; ++x) {
                StoreBytes<u32>(&to[(std::size_t{y} * kBytes + x) * 4], OldPixel(x, y));
            }
        }
        (inverted ? set.blendInverted : set.blend)(to.data(), kBytes * 4, from.data(), 0, kBytes,
                                                   kBytes);
        u32 wrong = 0;
        for (u32 y = 0; y < kBytes; ++y) {
            for (u32 x = 0; x < kBytes; ++x) {
                const u32 is = LoadBytes<u32>(&to[(std::size_t{y} * kBytes + x) * 4]);
                if (is != Expected(SourcePixel(x, alpha), OldPixel(x, y), inverted)) {
                    ++wrong;
                }
            }
        }
        ASSERT_EQ(wrong, 0U) << set.name << ", alpha " << alpha;
    }
}

TEST(BlendKernels, EverySourceByteAndOldByteAreMixedExactlyAtEveryAlpha) {
    for (const Kernels* set : AvailableKernels()) {
        CheckBlend(*set, false);
    }
}

TEST(BlendKernels, InvertedColoursAreMixedExactlyAtEveryAlpha) {
    for (const Kernels* set : AvailableKernels()) {
        CheckBlend(*set, true);
    }
}

// Colours with an alpha each, of which the alpha is blended as well.
TEST(BlendKernels, EveryColourByteIsComposedExactlyAtEveryAlpha) {
    std::vector<u32> colours(kBytes);
    std::vector<u8> to(std::size_t{kBytes} * 4);
    for (const Kernels* set : AvailableKernels()) {
        u32 wrong = 0;
        for (u32 alpha = 0; alpha < 256; alpha += kAlphaStep) {
            for (u32 x = 0; x < kBytes; ++x) {
                colours[x] = SourcePixel(x, alpha);
            }
            for (u32 y = 0; y < kBytes; ++y) {
                for (u32 x = 0; x < kBytes; ++x) {
                    StoreBytes<u32>(&to[x * 4], OldPixel(x, y));
                }
                set->compose(to.data(), colours.data(), kBytes);
                for (u32 x = 0; x < kBytes; ++x) {
                    u32 expected = 0;
                    for (u32 shift = 0; shift < 32; shift += 8) {
                        expected |= ((colours[x] >> shift & 255) * alpha / 255 +
                                     (OldPixel(x, y) >> shift & 255) * (255 - alpha) / 255)
                                    << shift;
                    }
                    if (LoadBytes<u32>(&to[x * 4]) != expected) {
                        ++wrong;
                    }
                }
            }
        }
        EXPECT_EQ(wrong, 0U) << set->name;
    }
}

}  // namespace

}  // namespace moxi
