// Characters of UTF-8, as every room finds, reads and writes them.
#include "base/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace moxi {

namespace {

// A, a with two dots, euro sign, cat: 1, 2, 3 and 4 bytes.
const std::string kText = "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\xB1";

TEST(Characters, AreReadOneAfterTheOther) {
    std::size_t index = 0;
    EXPECT_EQ(NextCharacter(kText, index), u32{'A'});
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(NextCharacter(kText, index), 0xE4u);
    EXPECT_EQ(index, 3u);
    EXPECT_EQ(NextCharacter(kText, index), 0x20ACu);
    EXPECT_EQ(index, 6u);
    EXPECT_EQ(NextCharacter(kText, index), 0x1F431u);
    EXPECT_EQ(index, 10u);
}

TEST(Characters, AreWrittenAsTheyAreRead) {
    std::string text;
    for (const u32 character : {0x41u, 0xE4u, 0x20ACu, 0x1F431u}) {
        AppendUtf8(text, character);
    }
    EXPECT_EQ(text, kText);
}

TEST(Characters, OfEachLengthHaveAFirstAndALastOne) {
    const auto written = [](u32 character) {
        std::string text;
        AppendUtf8(text, character);
        return text;
    };
    EXPECT_EQ(written(0), std::string(1, '\0'));
    EXPECT_EQ(written(0x7F), "\x7F");
    EXPECT_EQ(written(0x80), "\xC2\x80");
    EXPECT_EQ(written(0x7FF), "\xDF\xBF");
    EXPECT_EQ(written(0x800), "\xE0\xA0\x80");
    EXPECT_EQ(written(0xFFFF), "\xEF\xBF\xBF");
    EXPECT_EQ(written(0x10000), "\xF0\x90\x80\x80");
    EXPECT_EQ(written(0x10FFFF), "\xF4\x8F\xBF\xBF");
}

TEST(Characters, ThatAreNoneAreNotWritten) {
    std::string text = "x";
    for (const u32 none : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
        AppendUtf8(text, none);
    }
    EXPECT_EQ(text, "x");
}

TEST(Characters, BeginAndEndAroundEachOfTheirBytes) {
    const std::size_t starts[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6};
    const std::size_t ends[] = {1, 3, 3, 6, 6, 6, 10, 10, 10, 10};
    for (std::size_t i = 0; i < kText.size(); ++i) {
        EXPECT_EQ(CharacterStart(kText, i), starts[i]) << i;
        EXPECT_EQ(CharacterEnd(kText, i), ends[i]) << i;
    }
    EXPECT_EQ(CharacterStart(kText, kText.size()), kText.size());
}

TEST(Characters, BeginAtTheStartInBytesThatContinueNone) {
    const std::string bytes = "\x80\x81\x82";
    EXPECT_EQ(CharacterStart(bytes, 2), 0u);
    EXPECT_EQ(CharacterEnd(bytes, 0), 3u);
}

TEST(Utf8Texts, HaveNoOverlongFormsSurrogatesOrCharactersBeyondTheLast) {
    EXPECT_TRUE(IsUtf8(kText));
    EXPECT_TRUE(IsUtf8(""));
    EXPECT_TRUE(IsUtf8("\xF4\x8F\xBF\xBF"));
    for (const char* const bad :
         {"\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF8", "\x80", "\xC3", "\xE2\x82", "eight letters, then \xFF"}) {
        EXPECT_FALSE(IsUtf8(bad)) << bad;
    }
}

TEST(Utf8Texts, CountCharactersBeyondTheFirstPlaneAsTwoUnits) {
    EXPECT_EQ(CountUnits(kText), 5u);
}

}  // namespace

}  // namespace moxi
