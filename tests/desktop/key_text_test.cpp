// Joining key presses with their text.
#include "desktop/sdl/input/key_text.h"

#include <gtest/gtest.h>

#include "desktop/events.h"

namespace moxi {

namespace {
std::vector<std::string>* told = nullptr;

std::string Line(const char* name, u8 code, const std::string& text) {
    return name + std::to_string(code) + "=" + text;
}

class KeyText : public testing::Test {
  protected:
    void SetUp() override {
        ResetKeyText();
        told = &lines;
        desktopEvents.keyDown = [](u8 code, const std::string& text) {
            told->push_back(Line("down", code, text));
        };
        desktopEvents.keyUp = [](u8 code, const std::string& text) {
            told->push_back(Line("up", code, text));
        };
        desktopEvents.textInput = [](const std::string& text) { told->push_back("text=" + text); };
    }
    void TearDown() override {
        desktopEvents = before;
        told = nullptr;
    }
    void Expect(const std::vector<std::string>& expected) { EXPECT_EQ(lines, expected); }

    std::vector<std::string> lines;
    DesktopEvents before = desktopEvents;
};

KeyPress Plain(u8 code) {
    return {.code = code};
}

TEST_F(KeyText, TextThatFollowsAPressBelongsToIt) {
    PressKey(Plain(0x00));
    TypeText("a");
    FinishKeyPress();
    Expect({"down0=a"});
}

TEST_F(KeyText, APressWithoutTextIsToldWithNone) {
    PressKey(Plain(0x00));
    FinishKeyPress();
    Expect({"down0="});
}

TEST_F(KeyText, ADeadKeyHasNoTextAndTheNextKeyTheComposedCharacter) {
    PressKey(Plain(0x18));
    PressKey(Plain(0x0E));
    TypeText("\xC3\xA9");
    Expect({"down24=", "down14=\xC3\xA9"});
}

TEST_F(KeyText, TextWithoutAPressIsTextAlone) {
    TypeText("\xE6\x97\xA5");
    Expect({"text=\xE6\x97\xA5"});
}

TEST_F(KeyText, ASecondTextAfterAPressIsTextAlone) {
    PressKey(Plain(0x00));
    TypeText("a");
    TypeText("b");
    Expect({"down0=a", "text=b"});
}

TEST_F(KeyText, TextAfterAnArrowIsNotTheArrows) {
    PressKey(Plain(0x7B));
    TypeText("x");
    Expect({"down123=\x1C", "text=x"});
}

TEST_F(KeyText, TheReleaseHasTheTextOfThePress) {
    PressKey(Plain(0x00));
    TypeText("A");
    ReleaseKey(0x00);
    Expect({"down0=A", "up0=A"});
}

TEST_F(KeyText, TheReleaseOfADeadKeyHasNoText) {
    PressKey(Plain(0x18));
    ReleaseKey(0x18);
    Expect({"down24=", "up24="});
}

TEST_F(KeyText, WithCommandHeldTheTextIsTheKeysOwnCharacter) {
    PressKey({.code = 0x0C, .command = true, .plain = 'q'});
    FinishKeyPress();
    Expect({"down12=q"});
}

TEST_F(KeyText, WithCommandAndShiftHeldTheTextIsTheShiftedCharacter) {
    PressKey({.code = 0x2E, .shift = true, .command = true, .plain = 'm'});
    FinishKeyPress();
    Expect({"down46=M"});
}

TEST_F(KeyText, WithCommandHeldTheKeysCharacterCountsWhateverTextComes) {
    PressKey({.code = 0x1A, .shift = true, .command = true, .plain = '7', .shifted = '/'});
    TypeText("7");
    FinishKeyPress();
    Expect({"down26=/"});
}

TEST_F(KeyText, WhatAKeyHasTypedIsNotRememberedForCommand) {
    PressKey(Plain(0x00));
    TypeText("q");  // in a French layout
    PressKey({.code = 0x00, .command = true, .plain = 'a'});
    FinishKeyPress();
    Expect({"down0=q", "down0=a"});
}

TEST_F(KeyText, AKeyWithoutACharacterOfItsOwnHasTheTextThatComesWithCommandHeld) {
    PressKey({.code = 0x18, .command = true});
    TypeText("\xC2\xB4");
    Expect({"down24=\xC2\xB4"});
}

TEST_F(KeyText, KeypadKeysWithoutTextAreTheirOtherMeaning) {
    PressKey(Plain(0x59));
    FinishKeyPress();
    PressKey(Plain(0x59));
    TypeText("7");
    Expect({"down89=\x01", "down89=7"});
}

TEST_F(KeyText, CommittedTextIsCutIntoPiecesOfEightBytesBetweenCharacters) {
    // Five characters of two bytes; the pieces hold four and one.
    TypeText("\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F\xC3\xA9");
    Expect({"text=\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F", "text=\xC3\xA9"});
}

TEST(SplitText, NeverCutsACharacter) {
    // Three characters of three bytes: two of them are six bytes, three would be nine.
    EXPECT_EQ(SplitText("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", 8),
              (std::vector<std::string>{"\xE6\x97\xA5\xE6\x9C\xAC", "\xE8\xAA\x9E"}));
    EXPECT_EQ(SplitText("abcdefgh", 8), std::vector<std::string>{"abcdefgh"});
    EXPECT_EQ(SplitText("abcdefghi", 8), (std::vector<std::string>{"abcdefgh", "i"}));
    EXPECT_TRUE(SplitText("", 8).empty());
}

TEST(SplitText, GetsThroughBytesThatAreNoCharacters) {
    const std::string bytes(20, '\x80');
    std::string joined;
    for (const std::string& piece : SplitText(bytes, 8)) {
        EXPECT_LE(piece.size(), 8u);
        EXPECT_FALSE(piece.empty());
        joined += piece;
    }
    EXPECT_EQ(joined, bytes);
}

TEST(Utf8, EncodesEveryLength) {
    EXPECT_EQ(Utf8('a'), "a");
    EXPECT_EQ(Utf8(0xE9), "\xC3\xA9");
    EXPECT_EQ(Utf8(0x20AC), "\xE2\x82\xAC");
    EXPECT_EQ(Utf8(0x1F600), "\xF0\x9F\x98\x80");
    EXPECT_EQ(Utf8(0), "");
    EXPECT_EQ(Utf8(0xD800), "");
    EXPECT_EQ(Utf8(0x110000), "");
}

TEST(ShiftedCharacter, KnowsCapitalsAndTheSignsAboveTheUsKeys) {
    EXPECT_EQ(ShiftedCharacter('a'), U'A');
    EXPECT_EQ(ShiftedCharacter('2'), U'@');
    EXPECT_EQ(ShiftedCharacter('['), U'{');
    EXPECT_EQ(ShiftedCharacter(0xFC), char32_t{0xDC});    // u with diaeresis
    EXPECT_EQ(ShiftedCharacter(0x441), char32_t{0x421});  // Cyrillic es
    EXPECT_EQ(ShiftedCharacter(0x3B1), char32_t{0x391});  // Greek alpha
    EXPECT_EQ(ShiftedCharacter(0x161), char32_t{0x160});  // s with caron
    EXPECT_EQ(ShiftedCharacter(0x17E), char32_t{0x17D});  // z with caron
    EXPECT_EQ(ShiftedCharacter(0xF7), char32_t{0xF7});    // the division sign has none
    EXPECT_EQ(ShiftedCharacter(' '), U' ');
}
}  // namespace

}  // namespace moxi
