// Pictures of Draw Text with the fonts of this machine, by their structure: what a new version of a
// font package may not change.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "desktop/pango/pango_engine.h"
#include "gfx/draw_text.h"
#include "tests/support/gfx_fixture.h"

namespace {

constexpr u32 kBlock = 600;
constexpr u32 kTextAddress = 1024;
constexpr u32 kWhite = 0xFFFFFFFF;

const TextEngine kNoEngine = textEngine;

// The rows and columns of the screen that hold anything but white, and how much.
struct Ink {
    i32 left = 10000, top = 10000, right = -1, bottom = -1;  // all inclusive
    double amount = 0;                                       // black pixels
    bool Empty() const { return right < 0; }
};

class TextPictures : public ::testing::Test {
  protected:
    void SetUp() override {
        StartPangoText();
        StartGfxBench(1 << 20, 600, 300);
    }
    void TearDown() override {
        EmptyFontCache();
        EndGfxBench();
        ResetPangoText();
        textEngine = kNoEngine;
    }

    // Black on white at (100, 100), on a screen that is white everywhere.
    Ink Draw(std::string_view text, u32 flags, u32 height = 60, u32 width = 400) {
        std::fill(screenBitmap.pixels, screenBitmap.pixels + std::size_t{600} * 300 * 4, u8{255});
        const u32 words[9] = {0, kTextAddress, 100, 100, width, height, flags, kWhite, 0xFF000000};
        for (u32 i = 0; i < 9; ++i) Store<u32>(kBlock + 4 * i, words[i]);
        for (u32 i = 0; i < text.size(); ++i) Store<char>(kTextAddress + i, text[i]);
        Store<u8>(kTextAddress + static_cast<u32>(text.size()), 0);
        result = DrawText(kBlock);
        Ink ink;
        for (i32 y = 0; y < 300; ++y) {
            for (i32 x = 0; x < 600; ++x) {
                const u8* const pixel = screenBitmap.pixels + (std::ptrdiff_t{y} * 600 + x) * 4;
                EXPECT_EQ(pixel[3], 255);
                EXPECT_TRUE(pixel[0] == pixel[1] && pixel[1] == pixel[2]) << "grey antialiasing";
                ink.amount += (255 - pixel[0]) / 255.0;
                if (pixel[0] > 160) continue;
                ink.left = std::min(ink.left, x);
                ink.top = std::min(ink.top, y);
                ink.right = std::max(ink.right, x);
                ink.bottom = std::max(ink.bottom, y);
            }
        }
        return ink;
    }
    i32 Width() const { return static_cast<i32>(result >> 16); }

    u32 result = 0;
};

const u32 kStyles[] = {0, kTextTimes, kTextCourier};
const u32 kWeights[] = {0, kTextBold, kTextItalic, kTextBold | kTextItalic};

TEST_F(TextPictures, LettersOfAllTwelveFontsStandOnOneBaselineInsideTheBox) {
    for (const u32 family : kStyles) {
        for (const u32 weight : kWeights) {
            SCOPED_TRACE(::testing::Message() << std::hex << (family | weight));
            const Ink capital = Draw("H", family | weight);
            const Ink small = Draw("x", family | weight);
            const Ink descending = Draw("p", family | weight);
            ASSERT_FALSE(capital.Empty());
            EXPECT_NEAR(capital.bottom, small.bottom, 1);  // slanted feet end with a serif
            EXPECT_GT(descending.bottom, capital.bottom + 4);
            EXPECT_LT(capital.top, small.top - 5);
            EXPECT_GE(capital.top, 100);
            EXPECT_LT(descending.bottom, 160);
            // A baseline at about three quarters of the box.
            EXPECT_GT(capital.bottom, 100 + 30);
            EXPECT_LT(capital.bottom, 100 + 54);
            EXPECT_GE(capital.left, 99);
        }
    }
}

TEST_F(TextPictures, BoldIsBlackerAndItalicLeans) {
    for (const u32 family : kStyles) {
        SCOPED_TRACE(family);
        EXPECT_GT(Draw("Hill", family | kTextBold).amount, Draw("Hill", family).amount * 1.1);
        // The top of a stem lies further to the right than its foot.
        const Ink upright = Draw("l", family);
        const Ink leaning = Draw("l", family | kTextItalic);
        EXPECT_GT(leaning.right - leaning.left, 0);
        EXPECT_GE(leaning.right, upright.right);
    }
}

TEST_F(TextPictures, CourierIsOfOneWidthAndTheOthersAreNot) {
    Draw("iiii", kTextCourier);
    const i32 narrow = Width();
    Draw("WWWW", kTextCourier);
    EXPECT_EQ(Width(), narrow);
    for (const u32 family : {u32{0}, kTextTimes}) {
        Draw("iiii", family);
        const i32 thin = Width();
        Draw("WWWW", family);
        EXPECT_GT(Width(), thin * 2);
    }
}

TEST_F(TextPictures, TheInkFollowsTheAlignment) {
    const Ink left = Draw("Align", 0);
    const i32 width = Width();
    const Ink centred = Draw("Align", kTextCentred);
    const Ink right = Draw("Align", kTextRight);
    EXPECT_EQ(centred.left - left.left, (400 - width) / 2);
    EXPECT_EQ(right.left - left.left, 400 - width);
    EXPECT_EQ(left.top, right.top);
    EXPECT_EQ(left.amount, right.amount);
}

TEST_F(TextPictures, WrappedAndCutLinesHoldTheInkOfTheirCharacters) {
    const Ink whole = Draw("several words", 0);
    const Ink words = Draw("several words and more", kTextWrap, 60, 390);
    EXPECT_EQ(result & 0xFFFF, 13U);
    EXPECT_EQ(words.amount, whole.amount);
    const Ink cut = Draw("several words", kTextCut, 60, 200);
    EXPECT_LT(cut.right, 100 + 200);
    EXPECT_GT(cut.right, 100 + 140);
}

TEST_F(TextPictures, FiveScriptsAreDrawnWithGlyphsOfTheirOwn) {
    const struct {
        const char* name;
        const char* text;
        const char* other;  // as many characters that must look different
    } scripts[] = {
        {"Latin", "Moxi", "Game"},
        {"Cyrillic", "\xD0\x98\xD0\xB3\xD1\x80\xD0\xB0", "\xD0\x9C\xD0\xBE\xD1\x81\xD1\x82"},
        {"Arabic", "\xD9\x85\xD8\xB1\xD8\xAD\xD8\xA8", "\xD8\xA8\xD8\xA7\xD8\xA8\xD8\xA7"},
        {"Devanagari", "\xE0\xA4\xA8\xE0\xA4\xAE\xE0\xA4\xB8\xE0\xA5\x8D",
         "\xE0\xA4\xAF\xE0\xA4\xB9\xE0\xA4\xA6\xE0\xA4\xBF"},
        {"Japanese", "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x83\x86",
         "\xE5\xB1\xB1\xE5\xB7\x9D\xE4\xB8\x80\xE3\x82\xB9"},
    };
    for (const auto& script : scripts) {
        SCOPED_TRACE(script.name);
        const Ink ink = Draw(script.text, 0);
        ASSERT_FALSE(ink.Empty());
        EXPECT_GT(Width(), 40);
        EXPECT_LT(Width(), 260);
        EXPECT_GT(ink.amount, 150);
        // Boxes in place of missing glyphs would have the same ink for any text.
        EXPECT_GT(std::abs(ink.amount - Draw(script.other, 0).amount), 5);
    }
}

TEST_F(TextPictures, ArabicLettersAreJoined) {
    // Joined letters are much narrower than as many that stand alone.
    Draw("\xD8\xA8\xD8\xA8\xD8\xA8\xD8\xA8", 0);
    const i32 joined = Width();
    Draw("\xD8\xA8", 0);
    EXPECT_LT(joined, 4 * Width() - 20);
}

TEST_F(TextPictures, CombiningMarksTakeNoRoom) {
    Draw("aeo", 0);
    const i32 plain = Width();
    Draw("a\xCC\x88\x65\xCC\x81o\xCC\x82", 0);
    EXPECT_NEAR(Width(), plain, 2);
}

}  // namespace
