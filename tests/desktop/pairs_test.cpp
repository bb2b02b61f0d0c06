// Plain text set from pairs, against HarfBuzz on the whole of it.

#include "desktop/pango/pairs.h"
#include "desktop/pango/pair_rules.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "desktop/pango/pango_engine.h"
#include "desktop/pango/simple_text.h"
#include "desktop/pango/text_font.h"

namespace moxi {

namespace {

constexpr FontStyle kStyles[] = {
    {FontFamily::Helvetica, false, false}, {FontFamily::Helvetica, true, true},
    {FontFamily::Times, false, false},     {FontFamily::Times, false, true},
    {FontFamily::Times, true, false},      {FontFamily::Courier, false, false}};

class Pairs : public testing::Test {
  protected:
    void SetUp() override { StartPangoText(); }
    void TearDown() override { ResetPangoText(); }
};

std::string RandomText(std::mt19937& random, bool everything) {
    // Mostly what ligatures and kerning are made of.
    constexpr std::string_view kLikely = "filfflAVToWy. ,-tr";
    std::string text;
    for (std::size_t length = 1 + random() % 60; text.size() < length;) {
        text += everything || random() % 4 == 0
                    ? static_cast<char>(kFirstPlain + random() % kPlainCharacters)
                    : kLikely[random() % kLikely.size()];
    }
    return text;
}

void ExpectSame(const TextFont& font, const std::string& text, SimpleScript script,
                const ShapedText& shaped) {
    ShapedText whole;
    ShapePart(font, text, 0, text.size(), script, whole);
    ASSERT_EQ(shaped.width, whole.width) << text;
    ASSERT_EQ(shaped.glyphs.size(), whole.glyphs.size()) << text;
    for (std::size_t i = 0; i < whole.glyphs.size(); ++i) {
        const ShapedGlyph& is = shaped.glyphs[i];
        const ShapedGlyph& should = whole.glyphs[i];
        ASSERT_EQ(is.glyph, should.glyph) << text;
        ASSERT_EQ(is.cluster, should.cluster) << text;
        ASSERT_EQ(is.x, should.x) << text;
        ASSERT_EQ(is.y, should.y) << text;
        ASSERT_EQ(is.before, should.before) << text;
        // What may be cut must be what may be cut.
        if (!is.unsafe && i > 0) {
            ShapedText before;
            ShapePart(font, text, 0, is.cluster, script, before);
            ASSERT_EQ(before.width, is.before) << text << " before " << is.cluster;
        }
    }
}

TEST_F(Pairs, GiveTheGlyphsAndPlacesThatTheWholeTextGives) {
    std::mt19937 random(11);
    for (const FontStyle& style : kStyles) {
        TextFont* const font = NewTextFont(style, 10 + static_cast<double>(random() % 40));
        u32 set = 0;
        for (int round = 0; round < 1500 && !testing::Test::HasFatalFailure(); ++round) {
            const std::string text = RandomText(random, round % 3 == 0);
            const SimpleScript script = ScriptOfText(*font, text);
            if (script == SimpleScript::None) {
                continue;
            }
            ShapedText shaped;
            if (SetByPairs(*font, text, script, shaped)) {
                ++set;
                ExpectSame(*font, text, script, shaped);
                i64 width = 0;
                if (MeasureByPairs(*font, text, script, width)) {
                    ShapedText whole;
                    ShapePart(*font, text, 0, text.size(), script, whole);
                    EXPECT_EQ(width, whole.width) << text;
                }
            } else {
                ShapePart(*font, text, 0, text.size(), script, shaped);
                LearnPairs(*font, text, script, shaped);
            }
        }
        // Fonts with other rules are left to HarfBuzz.
        if (font->scaled != nullptr && font->face->pairs[1].usable) {
            EXPECT_GT(set, 100U);
        }
        DeleteTextFont(font);
    }
}

TEST_F(Pairs, AreNotKnownBeforeTheyWereSeen) {
    TextFont* const font = NewTextFont({FontFamily::Helvetica, false, false}, 20);
    ShapedText shaped;
    EXPECT_FALSE(SetByPairs(*font, "seen", SimpleScript::Latin, shaped));
    if (font->scaled != nullptr && font->face->pairs[1].usable) {
        ShapePart(*font, "seen", 0, 4, SimpleScript::Latin, shaped);
        LearnPairs(*font, "seen", SimpleScript::Latin, shaped);
        EXPECT_TRUE(SetByPairs(*font, "seen", SimpleScript::Latin, shaped));
        EXPECT_FALSE(SetByPairs(*font, "sneer", SimpleScript::Latin, shaped));
    }
    EXPECT_FALSE(SetByPairs(*font, "se\xC3\xA9", SimpleScript::Latin, shaped));
    DeleteTextFont(font);
}

}  // namespace

// Its ligatures overlap, so that 955 bytes say 65,535 ligatures of 65,535 parts for every glyph.
TEST(PairRules, AFontWhoseLigaturesDoNotEndIsNotReadByPairs) {
    hb_blob_t* const blob =
        hb_blob_create_from_file_or_fail(MOXI_SOURCE_DIR "/fuzz/corpus/font/ligatures_without_end");
    ASSERT_NE(blob, nullptr);
    hb_face_t* const face = hb_face_create(blob, 0);
    EXPECT_FALSE(ReadPairRules(face, HB_SCRIPT_LATIN, hb_language_from_string("en", -1)).usable);
    hb_face_destroy(face);
    hb_blob_destroy(blob);
}

}  // namespace moxi
