// The text engine on the usual fonts, against plain Pango and Cairo.

#include <gtest/gtest.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "desktop/pango/pango_engine.h"
#include "desktop/text_engine.h"
#include "tests/support/colour_font.h"
#include "tests/support/font_set.h"
#include "tests/support/headless_run.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

namespace {

constexpr FontStyle kHelvetica = {FontFamily::Helvetica, false, false};

const char* const kTexts[] = {
    "a",
    "Hello, world!",
    "AVATAR To. We Ty P. 11 fi ffi office",
    "Score: 12345   trailing   ",
    "1234.56 (78%)",
    "\xC3\x84rger \xC3\xBC\x62\x65r Stra\xC3\x9F\x65n \xE2\x80\x93 "
    "\xE2\x80\x9Cquoted\xE2\x80\x9D\xE2\x80\xA6 5 \xE2\x82\xAC",
    "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82, \xD0\xBC\xD0\xB8\xD1\x80! "
    "\xD0\x93\xD0\xB0\xD0\xA2",
    "\xCE\x95\xCE\xBB\xCE\xBB\xCE\xB7\xCE\xBD\xCE\xB9\xCE\xBA\xCE\xAC",
    "\xD0\x8Dy",
    "mixed \xD0\x9F\xD1\x80\xD0\xB8 and \xCE\xB1\xCE\xB2",
    "\xD9\x85\xD8\xB1\xD8\xAD\xD8\xA8\xD8\xA7 "
    "\xD8\xA8\xD8\xA7\xD9\x84\xD8\xB9\xD8\xA7\xD9\x84\xD9\x85",
    "\xE0\xA4\xA8\xE0\xA4\xAE\xE0\xA4\xB8\xE0\xA5\x8D\xE0\xA4\xA4\xE0\xA5\x87",
    "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x83\x86\xE3\x82\xAD\xE3\x82\xB9\xE3\x83\x88",
    "e\xCC\x81\x61\xCC\x88 combining",
    "Player \xE2\x98\x85 gets joy",
    "a\tlist\t\twith tabs",
    "abc \xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D 12 \xD7\xA2\xD7\x9D (x) def",
    "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D\tabc 12\t\xD7\xA2\xD7\x9D",
};

// Pango as it comes, with the settings that a picture independent of the desktop needs.
class PlainPango {
  public:
    PlainPango(FontStyle style, double size) {
        PangoFontMap* const map = pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT);
        PangoContext* const context = pango_font_map_create_context(map);
        pango_context_set_round_glyph_positions(context, FALSE);
        cairo_font_options_t* const options = cairo_font_options_create();
        cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
        cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
        pango_cairo_context_set_font_options(context, options);
        cairo_font_options_destroy(options);
        layout = pango_layout_new(context);
        const char* const families[] = {"Helvetica", "Times", "Courier"};
        PangoFontDescription* const font = pango_font_description_new();
        pango_font_description_set_family(font, families[static_cast<int>(style.family)]);
        if (style.bold) {
            pango_font_description_set_weight(font, PANGO_WEIGHT_BOLD);
        }
        if (style.italic) {
            pango_font_description_set_style(font, PANGO_STYLE_ITALIC);
        }
        pango_font_description_set_absolute_size(font, size * PANGO_SCALE);
        pango_layout_set_font_description(layout, font);
        pango_font_description_free(font);
        PangoTabArray* const tabs =
            pango_tab_array_new_with_positions(2, TRUE, PANGO_TAB_LEFT, 28, PANGO_TAB_LEFT, 56);
        pango_layout_set_tabs(layout, tabs);
        pango_tab_array_free(tabs);
        g_object_unref(context);
        g_object_unref(map);
    }
    ~PlainPango() { g_object_unref(layout); }
    PlainPango(const PlainPango&) = delete;
    PlainPango& operator=(const PlainPango&) = delete;

    double Measure(std::string_view text) {
        pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
        PangoRectangle logical;
        pango_layout_get_extents(layout, nullptr, &logical);
        return logical.width / 1024.0;
    }

    // The byte of the first character with which the text is too wide, every prefix measured.
    std::size_t Overflow(std::string_view text, double width) {
        for (std::size_t i = 0; i < text.size();) {
            std::size_t end = i + 1;
            while (end < text.size() && (static_cast<u8>(text[end]) & 0xC0) == 0x80) {
                ++end;
            }
            if (Measure(text.substr(0, end)) > width) {
                return i;
            }
            i = end;
        }
        return text.size();
    }

    // Coverage of columns 0..399, rows -60..59 around the baseline. Cairo puts glyphs on whole
    // pixels, so for other places the text is drawn so many times as wide, and each pixel is the
    // mean of as many.
    std::vector<u8> Draw(std::string_view text, int places) {
        cairo_surface_t* const surface =
            cairo_image_surface_create(CAIRO_FORMAT_A8, 400 * places, 120);
        cairo_t* const cairo = cairo_create(surface);
        pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
        cairo_scale(cairo, places, 1);
        cairo_move_to(cairo, 0, 60);
        pango_cairo_show_layout_line(cairo, pango_layout_get_line_readonly(layout, 0));
        cairo_surface_flush(surface);
        std::vector<u8> bytes;
        const int stride = cairo_image_surface_get_stride(surface);
        for (int y = 0; y < 120; ++y) {
            const u8* const row = cairo_image_surface_get_data(surface) + y * stride;
            for (const u8* from = row; from < row + 400 * places; from += places) {
                const int sum = std::accumulate(from, from + places, 0);
                bytes.push_back(static_cast<u8>((sum + places / 2) / places));
            }
        }
        cairo_destroy(cairo);
        cairo_surface_destroy(surface);
        return bytes;
    }

  private:
    PangoLayout* layout;
};

std::vector<u8> Spread(const TextPicture& picture) {
    std::vector<u8> bytes(std::size_t{400} * 120);
    for (i32 y = 0; y < picture.height; ++y) {
        for (i32 x = 0; x < picture.width; ++x) {
            const i32 row = 60 + picture.top + y;
            const i32 column = picture.left + x;
            if (row < 0 || row >= 120 || column < 0 || column >= 400) {
                continue;
            }
            bytes[static_cast<std::size_t>(row * 400 + column)] =
                picture.coverage[static_cast<std::size_t>(y) * picture.stride +
                                 static_cast<std::size_t>(x)];
        }
    }
    return bytes;
}

class PangoText : public ::testing::Test {
  protected:
    void SetUp() override { Use({kUrwFonts, kDejaVuFonts, kDevanagariFonts, kJapaneseFonts}); }
    void TearDown() override { Release(); }

    // From here on these fonts are installed and no others.
    void Use(const std::vector<std::string>& folders) {
        Release();
        installed = std::make_unique<FontSet>(folders);
        StartPangoText();
    }
    TextFont* Font(FontStyle style, double size) {
        fonts.push_back(textEngine.makeFont(style, size));
        return fonts.back();
    }

  private:
    void Release() {
        for (TextFont* font : fonts) {
            textEngine.releaseFont(font);
        }
        fonts.clear();
        ResetPangoText();
        installed.reset();
    }
    std::unique_ptr<FontSet> installed;
    std::vector<TextFont*> fonts;
};

std::vector<FontStyle> AllStyles() {
    std::vector<FontStyle> styles;
    for (const FontFamily family :
         {FontFamily::Helvetica, FontFamily::Times, FontFamily::Courier}) {
        for (const bool bold : {false, true}) {
            for (const bool italic : {false, true}) {
                styles.push_back({family, bold, italic});
            }
        }
    }
    return styles;
}

TEST_F(PangoText, WidthsAreThoseOfAPlainLayout) {
    for (const FontStyle style : AllStyles()) {
        for (const double size : {5.0, 19.0, 40.5}) {
            TextFont* const font = Font(style, size);
            PlainPango plain(style, size);
            for (const char* text : kTexts) {
                SCOPED_TRACE(text);
                EXPECT_DOUBLE_EQ(textEngine.measure(font, text), plain.Measure(text));
            }
        }
    }
}

TEST_F(PangoText, ACharacterAtTheStartOfALineIsThatOfAPlainDraw) {
    for (const FontStyle style : AllStyles()) {
        TextFont* const font = Font(style, 19);
        PlainPango plain(style, 19);
        for (char character = '!'; character <= '~'; ++character) {
            const std::string text(1, character);
            EXPECT_EQ(Spread(textEngine.draw(font, text, false, 400)), plain.Draw(text, 1)) << text;
        }
    }
}

TEST_F(PangoText, PicturesAreThoseOfAPlainDrawWithGlyphsAtQuartersOfAPixel) {
    for (const FontStyle style : AllStyles()) {
        TextFont* const font = Font(style, 19);
        PlainPango plain(style, 19);
        for (const char* text : kTexts) {
            SCOPED_TRACE(text);
            const std::vector<u8> expected = plain.Draw(text, 4);
            const std::vector<u8> drawn = Spread(textEngine.draw(font, text, false, 400));
            // An edge that is a quarter of a pixel away would differ by 64; outlines that are drawn
            // four times as wide are rounded to other places, but not so far.
            u32 different = 0;
            for (std::size_t i = 0; i < drawn.size(); ++i) {
                if (std::abs(drawn[i] - expected[i]) > 32) {
                    ++different;
                }
            }
            EXPECT_LE(different, 8U);
            EXPECT_GT(*std::max_element(drawn.begin(), drawn.end()), 128);
        }
    }
}

TEST_F(PangoText, APictureIsTheSameTheSecondTime) {
    TextFont* const font = Font(kHelvetica, 19);
    for (const char* text : kTexts) {
        const std::vector<u8> first = Spread(textEngine.draw(font, text, true, 400));
        EXPECT_EQ(Spread(textEngine.draw(font, text, true, 400)), first);
        EXPECT_EQ(Spread(textEngine.draw(font, text, true, 200)).size(), first.size());
        EXPECT_EQ(Spread(textEngine.draw(font, text, true, 400)), first);
    }
}

TEST_F(PangoText, TheFirstCharacterTooMuchIsFoundAsMeasuringEveryPrefixFindsIt) {
    for (const FontStyle style : {kHelvetica, FontStyle{FontFamily::Times, false, true},
                                  FontStyle{FontFamily::Courier, true, false}}) {
        TextFont* const font = Font(style, 23);
        PlainPango plain(style, 23);
        for (const char* text : kTexts) {
            const std::string longText = std::string(text) + " AWAY " + text + "Tofu fi";
            for (double width = 1; width < 700; width += 17.3) {
                SCOPED_TRACE(longText + " in " + std::to_string(width));
                const std::size_t expected = plain.Overflow(longText, width);
                const TextFit fit = textEngine.fit(font, longText, width);
                EXPECT_EQ(fit.whole, expected == longText.size());
                if (!fit.whole) {
                    EXPECT_EQ(fit.overflow, expected);
                }
                // Asked again, the answer comes from memory.
                EXPECT_EQ(textEngine.fit(font, longText, width).overflow, fit.overflow);
            }
        }
    }
}

TEST_F(PangoText, AParagraphThatIsCutLineByLineGivesTheLinesOfMeasuringEveryPrefix) {
    TextFont* const font = Font(kHelvetica, 17);
    PlainPango plain(kHelvetica, 17);
    std::string text;
    for (int i = 0; i < 20; ++i) {
        text += "We took AVATARs (" + std::to_string(i * 37) + ") To. Yes, fi ";
    }
    std::string_view rest = text;
    while (rest.size() > 60) {
        const std::size_t expected = plain.Overflow(rest.substr(0, 60), 160);
        const TextFit fit = textEngine.fit(font, rest, 160);
        ASSERT_FALSE(fit.whole);
        ASSERT_EQ(fit.overflow, expected);
        rest.remove_prefix(fit.overflow);
    }
}

TEST_F(PangoText, LongTextsAreCutWithoutMeasuringAllOfThem) {
    TextFont* const font = Font(kHelvetica, 20);
    std::string plain;
    std::string japanese;
    while (plain.size() < 100000) {
        plain += "word after word ";
    }
    while (japanese.size() < 100000) {
        japanese += "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E";
    }
    // Every line of the text asks about all of the rest. With work that grows with the rest this
    // would be 10^8 shaped characters.
    for (const std::string& text : {plain, japanese}) {
        std::string_view rest = text;
        u32 lines = 0;
        while (!rest.empty()) {
            const TextFit fit = textEngine.fit(font, rest, 400);
            if (fit.whole) {
                break;
            }
            ASSERT_GT(fit.overflow, 0U);
            rest.remove_prefix(fit.overflow);
            ++lines;
        }
        EXPECT_GT(lines, 1000U);
    }
}

std::string Repeated(std::string_view what, std::size_t count) {
    std::string text;
    while (count-- > 0) {
        text += what;
    }
    return text;
}

TEST_F(PangoText, LongTextsThatAreSetInPartsMeasureAsInOne) {
    TextFont* const font = Font(kHelvetica, 11);
    PlainPango plain(kHelvetica, 11);
    for (const char* words : {"We took AVATARs To. ", "AVATAR", "a\xE2\x98\x85\xD0\xAF b ",
                              "\xD8\xA8\xD8\xA7\xD9\x84\xD8\xB9 ", "a\t\xE2\x98\x85"}) {
        const std::string text = Repeated(words, 9000);
        EXPECT_DOUBLE_EQ(textEngine.measure(font, text), plain.Measure(text)) << words;
    }
}

TEST_F(PangoText, PilesOfCombiningMarksAreSetHoweverHighTheyAre) {
    TextFont* const font = Font(kHelvetica, 20);
    const std::string marks = Repeated("\xCC\x81", 100000);
    // Two letters of 0.944 sizes, too far from each other to be kerned.
    EXPECT_NEAR(textEngine.measure(font, "W" + marks + "W"), 37.76, 0.01);
    const TextPicture picture = textEngine.draw(font, "W" + marks, false, 100);
    ASSERT_NE(picture.coverage, nullptr);
    EXPECT_GE(picture.top, -8 * 20 - 1);
    EXPECT_LE(picture.height, 2 * (8 * 20 + 1));
    const TextFit fit = textEngine.fit(font, "WWWWWWWWWW" + marks + "WWWWWWWWWW", 200);
    EXPECT_FALSE(fit.whole);
    EXPECT_GE(fit.overflow, 10U);
}

// 2,097,151 pixels are 2^31 units of Pango's.
TEST_F(PangoText, ATextThatIsWiderThanPangosNumbersIsMeasuredAndItsLeftPartDrawn) {
    TextFont* const font = Font(kHelvetica, 100);
    // The URW font's W is 0.944 sizes wide, and two stand 0.017 further apart: 2,882,998, with a
    // rounding to 1/1024 for each.
    EXPECT_NEAR(textEngine.measure(font, Repeated("W", 30000)), 2882998, 30000 / 1024.0);
    EXPECT_DOUBLE_EQ(textEngine.measure(font, Repeated("\t", 100000)), 2800000);
    for (const std::string first : {"", "\xE2\x98\x85 ", "\t"}) {
        const std::vector<u8> start = Spread(textEngine.draw(font, first + "WWWWWWWW", false, 400));
        const std::string wide = first + Repeated("W", 30000);
        EXPECT_EQ(Spread(textEngine.draw(font, wide, false, 400)), start);
        EXPECT_FALSE(textEngine.fit(font, wide, 2800000).whole);
        EXPECT_TRUE(textEngine.fit(font, wide, 2890000).whole);
    }
}

TEST_F(PangoText, TheLeftPartOfAWideTextFromRightToLeftIsItsEnd) {
    TextFont* const font = Font(kHelvetica, 100);
    // Alef a hundred thousand times, then two other letters, which stand leftmost.
    const std::string alefs = Repeated("\xD7\x90", 100000);
    const std::string end = "\xD7\x9C\xD7\xA9";
    EXPECT_GT(textEngine.measure(font, alefs), 5000000);
    EXPECT_EQ(Spread(textEngine.draw(font, alefs + end, false, 400)),
              Spread(textEngine.draw(font, alefs.substr(0, 40) + end, false, 400)));
}

TEST_F(PangoText, AHundredThousandCharactersOfAnythingAreCutWhereAFewAre) {
    TextFont* const font = Font(kHelvetica, 20);
    for (const char* words : {"\t", " ", "a ", "\xE2\x98\x85 a", "\xD7\x90 a", "a\xD0\xAF",
                              "\xE6\x97\xA5", "(", "\xF3\xB0\x80\x80"}) {
        const std::string few = Repeated(words, 1000);
        const std::string many = Repeated(words, 100000);
        EXPECT_EQ(textEngine.fit(font, many, 1000).overflow,
                  textEngine.fit(font, few, 1000).overflow);
        EXPECT_NEAR(textEngine.measure(font, many), 100 * textEngine.measure(font, few),
                    textEngine.measure(font, many) * 0.001);
    }
}

TEST_F(PangoText, LineBreaksAndControlCharactersTakeNoRoom) {
    TextFont* const font = Font(kHelvetica, 20);
    const double plain = textEngine.measure(font, "ab");
    for (const char* text : {"a\nb", "a\rb", "a\x01\x02\x62", "a\x7F\x62", "a\xC2\x85\x62",
                             "a\xE2\x80\xA8\x62", "a\xE2\x80\xA9\x62"}) {
        EXPECT_DOUBLE_EQ(textEngine.measure(font, text), plain);
    }
    EXPECT_DOUBLE_EQ(textEngine.measure(font, "a\t"), 28);
}

TEST_F(PangoText, ALineIs12TenthsOfTheSizeInEveryStyleWhateverTheFontSays) {
    const double descents[] = {23, 25, 24.6};  // of a font of size 100
    for (const bool urw : {true, false}) {
        if (!urw) {
            Use({kDejaVuFonts});
        }
        for (const FontStyle style : AllStyles()) {
            const TextLine line = textEngine.line(Font(style, 100));
            EXPECT_DOUBLE_EQ(line.height, 120);
            EXPECT_DOUBLE_EQ(line.descent, descents[static_cast<int>(style.family)]);
        }
    }
}

TEST_F(PangoText, TheUnderlineLiesBelowTheBaselineUnderTheWholeWidth) {
    TextFont* const font = Font(kHelvetica, 40);
    const std::vector<u8> bytes = Spread(textEngine.draw(font, "AAA ", true, 400));
    const i32 width = static_cast<i32>(std::lround(textEngine.measure(font, "AAA ")));
    std::vector<i32> fullRows;
    for (i32 y = 60; y < 120; ++y) {
        const auto row = bytes.begin() + y * 400;
        if (std::all_of(row, row + width, [](u8 c) { return c == 255; })) {
            fullRows.push_back(y - 60);
            EXPECT_EQ(row[width], 0);
        }
    }
    ASSERT_FALSE(fullRows.empty());
    EXPECT_GE(fullRows.front(), 1);
    EXPECT_LE(fullRows.back(), 10);
    EXPECT_LE(fullRows.size(), 4U);
}

TEST_F(PangoText, AFontWithoutColoursGoesBeforeOneWithThem) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/colours.ttf", ColourFont());
    // A star, a face and a heart that is asked for as an emoji.
    for (const char* text : {"\xE2\x98\x85", "\xF0\x9F\x98\x80", "\xE2\x9D\xA4\xEF\xB8\x8F"}) {
        Use({kUrwFonts, kDejaVuFonts});
        const std::vector<u8> plain =
            Spread(textEngine.draw(Font(kHelvetica, 20), text, false, 400));
        EXPECT_EQ(*std::max_element(plain.begin(), plain.end()), 255);
        for (const std::string& colours : {folder.path, std::string(kEmojiFonts)}) {
            Use({colours, kUrwFonts, kDejaVuFonts});
            EXPECT_EQ(Spread(textEngine.draw(Font(kHelvetica, 20), text, false, 400)), plain)
                << text;
        }
    }
}

// White is 255 - 255 * 3 / 4 = 64, black 255.
TEST_F(PangoText, AGlyphThatIsOnlyToBeHadInColoursIsDrawnFromThem) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/colours.ttf", ColourFont());
    Use({folder.path, kUrwFonts});
    TextFont* const font = Font(kHelvetica, 20);
    EXPECT_DOUBLE_EQ(textEngine.measure(font, "\xF0\x9F\xAB\xA0"), 20);
    const TextPicture picture = textEngine.draw(font, "\xF0\x9F\xAB\xA0", false, 400);
    ASSERT_EQ(picture.width, 20);
    ASSERT_EQ(picture.height, 20);
    EXPECT_EQ(picture.left, 0);
    EXPECT_EQ(picture.top, -20);
    for (std::size_t y = 0; y < 20; ++y) {
        for (std::size_t x = 0; x < 20; ++x) {
            EXPECT_EQ(picture.coverage[y * picture.stride + x], x < 10 ? 255 : 64);
        }
    }
}

TEST_F(PangoText, AnEmojiThatIsABitmapOfColoursShowsWhatItIs) {
    Use({kEmojiFonts, kUrwFonts});
    TextFont* const font = Font(kHelvetica, 40);
    // A black and a white square of the same size.
    const auto middle = [&](const char* text) {
        const std::vector<u8> bytes = Spread(textEngine.draw(font, text, false, 400));
        const i32 half = static_cast<i32>(textEngine.measure(font, text) / 2);
        return i32{bytes[static_cast<std::size_t>((60 - 14) * 400 + half)]};
    };
    const i32 black = middle("\xE2\xAC\x9B");
    const i32 white = middle("\xE2\xAC\x9C");
    EXPECT_GT(black, 180);
    EXPECT_GT(white, 50);
    EXPECT_LT(white, black - 60);
    // It is as high as its neighbours and not as its bitmap.
    EXPECT_LT(textEngine.measure(font, "\xE2\xAC\x9B"), 60);
}

// Runs a part of this test program with other fonts.
TEST(PangoTextFonts, AMissingFamilyIsReplacedAndReportedOnce) {
    const FontSet dejaVu({kDejaVuFonts});
    const ProgramResult result = RunProgram(
        "desktop_tests", {"--gtest_filter=PangoTextFonts.EveryStyleIsUsableWhateverIsInstalled"});
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    for (const char* family : {"Helvetica", "Times", "Courier"}) {
        const std::string line = std::string("log: The font ") + family + " is missing, DejaVu";
        const std::size_t first = result.errors.find(line);
        EXPECT_NE(first, std::string::npos) << result.errors;
        EXPECT_EQ(result.errors.find(line, first + 1), std::string::npos) << result.errors;
    }
}

TEST(PangoTextFonts, EveryStyleIsUsableWhateverIsInstalled) {
    StartPangoText();
    for (const FontStyle style : AllStyles()) {
        TextFont* const font = textEngine.makeFont(style, 20);
        EXPECT_GT(textEngine.measure(font, "abc"), 10);
        EXPECT_NE(textEngine.draw(font, "abc", false, 100).coverage, nullptr);
        textEngine.releaseFont(font);
    }
    ResetPangoText();
}

TEST_F(PangoText, TheUsualFamiliesHaveMetricCompatibleFontsSoNothingIsReported) {
    StandardError errors;
    for (const FontStyle style : AllStyles()) {
        Font(style, 20);
    }
    EXPECT_EQ(errors.Text(), "");
}

}  // namespace

}  // namespace moxi
