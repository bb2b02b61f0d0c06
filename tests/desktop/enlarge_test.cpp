// Enlarging without a graphics processor. The sums are those of pictures that a program in Python
// has worked out from the rule, with whole fractions and pixel by pixel.
#include "desktop/sdl/window/enlarge.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstring>

namespace moxi {

namespace {

using Bytes = std::vector<u8>;

u32 Crc32(const Bytes& bytes) {
    u32 sum = 0xFFFFFFFF;
    for (const u8 byte : bytes) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    return ~sum;
}

constexpr i32 kWidth = 5;
constexpr i32 kHeight = 3;

// Pixel (x, y) is 50 x, 100 y, and a sum of both in bytes 0 to 2.
Bytes Source() {
    Bytes bytes;
    for (i32 y = 0; y < kHeight; ++y) {
        for (i32 x = 0; x < kWidth; ++x) {
            for (const i32 value : {x * 50, y * 100, (x * 7 + y * 13) * 5 % 256, 255}) {
                bytes.push_back(static_cast<u8>(value));
            }
        }
    }
    return bytes;
}

struct Canvas {
    Canvas(i32 w, i32 h) : width(w), height(h), bytes(static_cast<size_t>(w * h * 4), 0x77) {}
    TargetPicture Target(bool exchanged = false) {
        return {bytes.data(), width, height, width * 4, exchanged};
    }
    u32 Pixel(i32 x, i32 y) const {
        u32 pixel = 0;
        std::memcpy(&pixel, bytes.data() + (y * width + x) * 4, 4);
        return pixel;
    }
    i32 width;
    i32 height;
    Bytes bytes;
};

u32 SumOf(i32 width, i32 height, bool smooth) {
    const Bytes source = Source();
    Canvas canvas(width, height);
    const ScreenArea drawn = Enlarge({source.data(), kWidth, kHeight, kWidth * 4}, canvas.Target(),
                                     {0, 0, width, height}, {0, 0, kWidth, kHeight}, smooth);
    EXPECT_EQ(drawn, (ScreenArea{0, 0, width, height}));
    return Crc32(canvas.bytes);
}

// For each instruction set that this processor has.
template <class Check>
void OnEveryProcessor(Check check) {
    for (const i64 target : hwy::SupportedAndGeneratedTargets()) {
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(target);
        check();
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

TEST(Enlarge, SharpTakesThePixelNearestToEachCentre) {
    OnEveryProcessor([] {
        EXPECT_EQ(SumOf(5, 3, false), 0xD76A739Bu);
        EXPECT_EQ(SumOf(10, 6, false), 0x397C4D3Fu);
        EXPECT_EQ(SumOf(15, 9, false), 0x0F122206u);
        EXPECT_EQ(SumOf(13, 8, false), 0x051A6CADu);
        EXPECT_EQ(SumOf(4, 2, false), 0x5E9D253Au);
        EXPECT_EQ(SumOf(64, 21, false), 0x96314F6Au);
        EXPECT_EQ(SumOf(333, 7, false), 0xC60DA7E7u);
    });
}

TEST(Enlarge, SmoothMixesTheFourPixelsAroundEachCentre) {
    OnEveryProcessor([] {
        EXPECT_EQ(SumOf(5, 3, true), 0xD76A739Bu);
        EXPECT_EQ(SumOf(10, 6, true), 0xD3563B9Au);
        EXPECT_EQ(SumOf(15, 9, true), 0xFDE3A2FEu);
        EXPECT_EQ(SumOf(13, 8, true), 0x7FE3EAFEu);
        EXPECT_EQ(SumOf(4, 2, true), 0xDF361C15u);
        EXPECT_EQ(SumOf(64, 21, true), 0xDF1BC19Du);
        EXPECT_EQ(SumOf(333, 7, true), 0xD907C215u);
    });
}

TEST(Enlarge, OnlyWhatHasChangedIsDrawn) {
    const Bytes source = Source();
    Canvas canvas(20, 12);
    // Three times as large from (2, 1) on; the pixel (1, 2) covers 5..7 and 7..9 there.
    const ScreenArea drawn = Enlarge({source.data(), kWidth, kHeight, kWidth * 4}, canvas.Target(),
                                     {2, 1, 15, 9}, {1, 2, 1, 1}, false);
    EXPECT_EQ(drawn, (ScreenArea{5, 7, 3, 3}));
    for (i32 y = 0; y < 12; ++y) {
        for (i32 x = 0; x < 20; ++x) {
            const bool isInside = x >= 5 && x < 8 && y >= 7 && y < 10;
            // 50, 200, (7 + 26) * 5 = 165
            EXPECT_EQ(canvas.Pixel(x, y), isInside ? 0xFFA5C832u : 0x77777777u) << x << " " << y;
        }
    }
}

TEST(Enlarge, PartByPartIsTheWhole) {
    const Bytes source = Source();
    for (const bool smooth : {false, true}) {
        Canvas whole(64, 21);
        Canvas parts(64, 21);
        const SourcePicture from = {source.data(), kWidth, kHeight, kWidth * 4};
        Enlarge(from, whole.Target(), {0, 0, 64, 21}, {0, 0, kWidth, kHeight}, smooth);
        for (i32 y = 0; y < kHeight; ++y) {
            for (i32 x = 0; x < kWidth; ++x) {
                Enlarge(from, parts.Target(), {0, 0, 64, 21}, {x, y, 1, 1}, smooth);
            }
        }
        EXPECT_EQ(parts.bytes, whole.bytes) << smooth;
    }
}

TEST(Enlarge, WhatIsLargerThanTheCachesIsDrawnTheSame) {
    const Bytes source = Source();
    const SourcePicture from = {source.data(), kWidth, kHeight, kWidth * 4};
    // Odd sizes and places, so that rows begin and end beside whole vectors.
    for (const bool exchanged : {false, true}) {
        for (const bool smooth : {false, true}) {
            Canvas whole(1103, 601);
            Canvas parts(1103, 601);
            Enlarge(from, whole.Target(exchanged), {3, 1, 1099, 599}, {0, 0, kWidth, kHeight},
                    smooth);
            for (i32 x = 0; x < kWidth; ++x) {
                Enlarge(from, parts.Target(exchanged), {3, 1, 1099, 599}, {x, 0, 1, kHeight},
                        smooth);
            }
            EXPECT_EQ(parts.bytes, whole.bytes) << smooth;
        }
    }
}

TEST(Enlarge, PixelsAreCopiedWhereTheyAreAndNothingBesideThem) {
    Bytes source;
    constexpr i32 kSide = 701;
    for (i32 i = 0; i < kSide * kSide * 4; ++i) {
        source.push_back(static_cast<u8>(i * 7 + i / 1000));
    }
    const SourcePicture from = {source.data(), kSide - 1, kSide, kSide * 4};
    // The second is larger than the caches.
    for (const ScreenArea& area : {ScreenArea{2, 3, 31, 5}, ScreenArea{5, 1, 690, 700}}) {
        for (const bool exchanged : {false, true}) {
            Canvas canvas(kSide, kSide);
            CopyPixels(from, canvas.Target(exchanged), area);
            Canvas expected(kSide, kSide);
            for (i32 y = area.y; y < area.y + area.height; ++y) {
                for (i32 x = area.x; x < area.x + area.width; ++x) {
                    for (i32 i = 0; i < 4; ++i) {
                        const i32 other = exchanged && i != 3 && i != 1 ? 2 - i : i;
                        const auto at = [&](i32 byte) {
                            return static_cast<size_t>((y * kSide + x) * 4 + byte);
                        };
                        expected.bytes[at(i)] = source[at(other)];
                    }
                }
            }
            EXPECT_EQ(canvas.bytes == expected.bytes, true) << area.width << exchanged;
        }
    }
}

TEST(Enlarge, WhatLiesBeyondTheTargetIsLeftOut) {
    const Bytes source = Source();
    for (const bool smooth : {false, true}) {
        Canvas canvas(6, 4);
        const ScreenArea drawn =
            Enlarge({source.data(), kWidth, kHeight, kWidth * 4}, canvas.Target(), {-7, -4, 15, 9},
                    {-3, -3, 90, 90}, smooth);
        EXPECT_EQ(drawn, (ScreenArea{0, 0, 6, 4}));
        // The middle of the picture's pixel (2, 1): place 7 across and 4 down.
        EXPECT_EQ(canvas.Pixel(0, 0), 0xFF876464u);  // 100, 100, 135
    }
    Canvas canvas(6, 4);
    EXPECT_EQ(Enlarge({source.data(), kWidth, kHeight, kWidth * 4}, canvas.Target(), {6, 0, 15, 9},
                      {0, 0, 5, 3}, false)
                  .width,
              0);
    EXPECT_EQ(Enlarge({source.data(), kWidth, kHeight, kWidth * 4}, canvas.Target(), {0, 0, 15, 9},
                      {5, 0, 5, 3}, false)
                  .width,
              0);
}

TEST(Enlarge, RedAndBlueChangePlacesWhereTheTargetHasThemSo) {
    const Bytes source = Source();
    for (const bool smooth : {false, true}) {
        Canvas canvas(15, 9);
        Enlarge({source.data(), kWidth, kHeight, kWidth * 4}, canvas.Target(true), {0, 0, 15, 9},
                {0, 0, 5, 3}, smooth);
        EXPECT_EQ(canvas.Pixel(7, 4), 0xFF646487u);  // 135, 100, 100
    }
}

}  // namespace

}  // namespace moxi
