// The inner loops of text and images against the plain formula, for every width up to a few
// vectors, four of which are looked at together.

#include "gfx/row_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace moxi {

namespace {

constexpr std::size_t kWidest = 150;

struct Row {
    std::vector<u8> bytes;
    explicit Row(u32 seed, std::size_t count) : bytes(count) {
        std::mt19937 random(seed);
        for (u8& byte : bytes) {
            byte = static_cast<u8>(random());
        }
    }
};

TEST(RowKernels, TextIsLaidOverEveryWidthAndNothingBesideItChanges) {
    constexpr u8 kColour[4] = {0x20, 0xC0, 0x71, 0xFF};
    for (std::size_t count = 0; count <= kWidest; ++count) {
        Row pixels(static_cast<u32>(count), (kWidest + 2) * 4);
        Row coverage(static_cast<u32>(count) + 100, kWidest);
        coverage.bytes[0] = 0;
        coverage.bytes[1] = 255;
        std::vector<u8> expected = pixels.bytes;
        for (std::size_t x = 0; x < count; ++x) {
            const u32 c = coverage.bytes[x];
            for (std::size_t i = 0; i < 4; ++i) {
                u8& byte = expected[(x + 1) * 4 + i];
                byte = static_cast<u8>((kColour[i] * c + byte * (255 - c)) / 255);
            }
        }
        LayRows(pixels.bytes.data() + 4, 0, {coverage.bytes.data(), 0, count, 1}, 0xFF71C020);
        EXPECT_EQ(pixels.bytes, expected) << count;
    }
}

// A lone covered pixel among empty ones, at every place of every width, in the second of two rows.
TEST(RowKernels, TextThatIsNearlyEmptyIsLaidWhereItIs) {
    constexpr std::size_t kStride = (kWidest + 2) * 4;
    for (std::size_t count = 1; count <= kWidest; ++count) {
        for (std::size_t at = 0; at < count; ++at) {
            const Row before(static_cast<u32>(count), 2 * kStride);
            std::vector<u8> coverage(2 * kWidest, 0);
            coverage[kWidest + at] = 255;
            std::vector<u8> pixels = before.bytes;
            LayRows(pixels.data() + 4, kStride, {coverage.data(), kWidest, count, 2}, 0xFF71C020);
            std::vector<u8> expected = before.bytes;
            u8* const pixel = expected.data() + kStride + (at + 1) * 4;
            pixel[0] = 0x20;
            pixel[1] = 0xC0;
            pixel[2] = 0x71;
            pixel[3] = 0xFF;
            EXPECT_EQ(pixels, expected) << count << " " << at;
        }
    }
}

TEST(RowKernels, ARowIsOpaqueUnlessOneOfItsPixelsIsNot) {
    for (std::size_t count = 0; count <= kWidest; ++count) {
        std::vector<u8> pixels((kWidest + 1) * 4, 0);
        for (std::size_t x = 0; x < count; ++x) {
            pixels[x * 4 + 3] = 255;
        }
        EXPECT_TRUE(IsOpaqueRow(pixels.data(), count)) << count;
        for (std::size_t x = 0; x < count; ++x) {
            pixels[x * 4 + 3] = 254;
            EXPECT_FALSE(IsOpaqueRow(pixels.data(), count)) << count << " " << x;
            pixels[x * 4 + 3] = 255;
        }
    }
}

TEST(RowKernels, AnOpaqueRowIsCopiedUpToItsFirstTranslucentPixel) {
    constexpr std::size_t kLong = 300;
    for (const bool streams : {false, true}) {
        for (std::size_t count = 0; count <= kLong; count += count < kWidest ? 1 : 23) {
            for (std::size_t first = 0; first <= count; first += 1 + first / 4) {
                Row from(static_cast<u32>(count), (kLong + 1) * 4);
                for (std::size_t x = 0; x < count; ++x) {
                    from.bytes[(x + 1) * 4 + 3] = x == first ? 254 : 255;
                }
                std::vector<u8> to((kLong + 2) * 4, 77);
                const std::size_t copied =
                    CopyOpaque(to.data() + 4, from.bytes.data() + 4, count, streams);
                ASSERT_EQ(copied, first) << count;
                std::vector<u8> expected((kLong + 2) * 4, 77);
                std::copy_n(from.bytes.begin() + 4, copied * 4, expected.begin() + 4);
                ASSERT_EQ(to, expected) << count << " " << first;
            }
        }
    }
}

TEST(RowKernels, EveryPixelIsCopiedWithBytes0And2Exchanged) {
    for (std::size_t count = 0; count <= kWidest; ++count) {
        const Row from(static_cast<u32>(count), kWidest * 4);
        std::vector<u8> to((kWidest + 1) * 4, 77);
        std::vector<u8> expected = to;
        for (std::size_t x = 0; x < count; ++x) {
            constexpr std::size_t kOrder[4] = {2, 1, 0, 3};
            for (std::size_t i = 0; i < 4; ++i) {
                expected[x * 4 + i] = from.bytes[x * 4 + kOrder[i]];
            }
        }
        CopyExchanged(to.data(), from.bytes.data(), count);
        EXPECT_EQ(to, expected) << count;
    }
}

}  // namespace

}  // namespace moxi
