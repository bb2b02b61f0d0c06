// Pictures of Draw Text with the usual fonts, by their structure: what a new version of a font
// package may not change.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "desktop/pango/pango_engine.h"
#include "gfx/draw_text.h"
#include "gfx/fonts.h"
#include "tests/support/font_set.h"
#include "tests/support/gfx_fixture.h"

namespace moxi {

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
        StartGfxBench(1 << 20, 600, 300);
        Use({kUrwFonts, kDejaVuFonts, kDevanagariFonts, kJapaneseFonts});
    }
    void TearDown() override {
        EmptyFontCache();
        EndGfxBench();
        ResetPangoText();
        textEngine = kNoEngine;
    }

    // From here on these fonts are installed and no others.
    void Use(const std::vector<std::string>& folders) {
        EmptyFontCache();
        ResetPangoText();
        installed.reset();
        installed = std::make_unique<FontSet>(folders);
        StartPangoText();
    }

    // Black on white at (100, 100), on a screen that is white everywhere.
    Ink Draw(std::string_view text, u32 flags, u32 height = 60, u32 width = 400) {
        std::fill(screenBitmap.pixels, screenBitmap.pixels + std::size_t{600} * 300 * 4, u8{255});
        const u32 words[9] = {0, kTextAddress, 100, 100, width, height, flags, kWhite, 0xFF000000};
        for (u32 i = 0; i < 9; ++i) {
            Store<u32>(kBlock + 4 * i, words[i]);
        }
        for (u32 i = 0; i < text.size(); ++i) {
            Store<char>(kTextAddress + i, text[i]);
        }
        Store<u8>(kTextAddress + static_cast<u32>(text.size()), 0);
        result = DrawText(kBlock);
        Ink ink;
        for (i32 y = 0; y < 300; ++y) {
            for (i32 x = 0; x < 600; ++x) {
                const u8* const pixel = screenBitmap.pixels + (std::ptrdiff_t{y} * 600 + x) * 4;
                EXPECT_EQ(pixel[3], 255);
                EXPECT_TRUE(pixel[0] == pixel[1] && pixel[1] == pixel[2]) << "grey antialiasing";
                ink.amount += (255 - pixel[0]) / 255.0;
                if (pixel[0] > 160) {
                    continue;
                }
                ink.left = std::min(ink.left, x);
                ink.top = std::min(ink.top, y);
                ink.right = std::max(ink.right, x);
                ink.bottom = std::max(ink.bottom, y);
            }
        }
        return ink;
    }
    i32 Width() const { return static_cast<i32>(result >> 16); }

    // What the box's first columns show.
    static std::vector<u8> Columns(i32 count, i32 height) {
        std::vector<u8> pixels;
        for (i32 y = 100; y < 100 + height; ++y) {
            const u8* const row = screenBitmap.pixels + (std::ptrdiff_t{y} * 600 + 100) * 4;
            pixels.insert(pixels.end(), row, row + std::ptrdiff_t{count} * 4);
        }
        return pixels;
    }

    u32 result = 0;
    std::unique_ptr<FontSet> installed;
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

// A line is 1.2 sizes high and has to be less high than the box: 41 gives 49.2 and 42 gives 50.4;
// 50 gives 60, which is not less than 60.
TEST_F(TextPictures, ABoxGivesTheSameSizeInEveryStyleAndFont) {
    const struct {
        i32 height;
        double size;
    } boxes[] = {{50, 41}, {60, 49}, {61, 50}, {28, 23}, {20, 16}, {12, 9}, {256, 213}};
    for (const bool urw : {true, false}) {
        if (!urw) {
            Use({kDejaVuFonts});
        }
        for (const u32 family : kStyles) {
            for (const u32 weight : kWeights) {
                for (const auto& box : boxes) {
                    const FittedFont fitted =
                        FitFont("\xD0\x8Dy", 2048, box.height, family | weight);
                    EXPECT_EQ(fitted.size, box.size) << box.height;
                    textEngine.releaseFont(fitted.font);
                }
            }
        }
    }
}

TEST_F(TextPictures, CapitalsKeepTheirAccentsInEveryStyleAndFont) {
    const struct {
        const char* plain;
        const char* accented;
    } letters[] = {{"E", "\xC3\x89"}, {"U", "\xC3\x9C"},        {"O", "\xC3\x93"},
                   {"Z", "\xC5\xB9"}, {"\xD0\x95", "\xD0\x81"}, {"\xD0\x98", "\xD0\x99"}};
    for (const bool urw : {true, false}) {
        if (!urw) {
            Use({kDejaVuFonts});
        }
        for (const u32 family : kStyles) {
            for (const u32 weight : kWeights) {
                for (const u32 height : {60U, 24U}) {
                    for (const auto& letter : letters) {
                        SCOPED_TRACE(::testing::Message() << std::hex << (family | weight) << " "
                                                          << letter.accented << std::dec << height);
                        const Ink plain = Draw(letter.plain, family | weight, height);
                        const Ink accented = Draw(letter.accented, family | weight, height);
                        // An accent is at least a tenth of the size, and clear of the box's edge.
                        EXPECT_LE(accented.top, plain.top - static_cast<i32>(height) / 15);
                        EXPECT_GE(accented.top, 100);
                        EXPECT_GT(accented.amount, plain.amount * 1.01);
                        EXPECT_EQ(accented.bottom, plain.bottom);
                    }
                }
            }
        }
    }
}

TEST_F(TextPictures, ALeaningWordStandsOnTheLineOfAnUprightOneAndIsAsLarge) {
    for (const bool urw : {true, false}) {
        if (!urw) {
            Use({kDejaVuFonts});
        }
        for (const u32 family : kStyles) {
            const Ink upright = Draw("H", family);
            for (const u32 weight : kWeights) {
                const Ink other = Draw("H", family | weight);
                EXPECT_NEAR(other.top, upright.top, 1);
                EXPECT_NEAR(other.bottom, upright.bottom, 1);
            }
        }
    }
}

// The baseline of a box of 28 lies 256 - trunc(256 - 27.6 + 5.29) = 23 rows below its top.
TEST_F(TextPictures, ASymbolFromAnotherFontMovesNothing) {
    const Ink plain = Draw("Player gets joy", kTextUnderline, 28);
    Draw("Player ", kTextUnderline, 28);
    const i32 start = Width() - 1;
    const std::vector<u8> alone = Columns(start, 28);
    for (const char* text : {"Player \xE2\x98\x85 gets joy", "Player \xE6\x97\xA5 gets joy",
                             "Player \xE0\xA4\xA8 gets joy", "Player \xD8\xA8 gets joy"}) {
        const Ink mixed = Draw(text, kTextUnderline, 28);
        EXPECT_EQ(Columns(start, 28), alone) << text;
        EXPECT_EQ(mixed.bottom, plain.bottom) << text;
    }
    EXPECT_EQ(Draw("H", 0, 28).bottom, 100 + 23 - 1);
    EXPECT_EQ(Draw("H\xE2\x98\x85", 0, 28).bottom, 100 + 23 - 1);
}

TEST_F(TextPictures, MarksBelowLettersOfOtherFontsAreDrawnInsideTheBox) {
    const struct {
        const char* plain;
        const char* marked;
    } letters[] = {{"\xE0\xA4\x95", "\xE0\xA4\x95\xE0\xA5\x83"},  // Devanagari ka, kri
                   {"\xD8\xAF", "\xD8\xAF\xD9\x90"},              // Arabic dal, with a kasra
                   {"\xC3\xA2", "\xE1\xBA\xAD"}};                 // a circumflex, dot below
    for (const auto& letter : letters) {
        for (const u32 height : {28U, 60U}) {
            SCOPED_TRACE(letter.marked);
            const Ink plain = Draw(letter.plain, 0, height);
            const Ink marked = Draw(letter.marked, 0, height);
            EXPECT_GE(marked.bottom, plain.bottom + static_cast<i32>(height) / 14);
            EXPECT_LT(marked.bottom, 100 + static_cast<i32>(height));
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

}  // namespace moxi
