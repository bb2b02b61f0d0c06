// Keys as a module meets them: codes, texts and modifier keys, in their order.

#include "host/keyboard.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "tests/support/host_bench.h"
#include "tests/support/message_log.h"
#include "tests/support/picture.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

// The messages that a script brings to a module that keeps no timer of its own.
Messages Played(const std::string& script) {
    const HeadlessResult result = Play({}, script);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    return MessagesAfterStart(result);
}

Messages PlayedWith(const LoggingModule& module, const std::string& script) {
    const HeadlessResult result = Play(module, script);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    return MessagesAfterStart(result);
}

// --- Presses and releases

TEST(Keyboard, PressingAIsItsCodeAndItsText) {
    EXPECT_EQ(Played("10 key-down 00 \"a\"\n"),
              (Messages{{MSG_DOWN, 0x41, 1, 0}, {MSG_CHAR, 0x61, 0, 0}}));
}

TEST(Keyboard, WithShiftTheCodeStaysAndTheTextIsUpperCase) {
    EXPECT_EQ(Played("10 modifiers shift\n10 key-down 00 \"A\"\n"),
              (Messages{{MSG_DOWN, 16, 0, 0}, {MSG_DOWN, 0x41, 1, 0}, {MSG_CHAR, 0x41, 0, 0}}));
}

TEST(Keyboard, ADeadKeyPostsNothingAndTheNextKeyItsComposedCharacter) {
    // The e with an acute accent is C3 A9 in UTF-8.
    EXPECT_EQ(Played("10 key-down 21 \"\"\n20 key-down 0E \"\xC3\xA9\"\n"),
              (Messages{{MSG_DOWN, 0x45, 1, 0}, {MSG_CHAR, 0xA9C3, 0, 0}}));
}

TEST(Keyboard, ACharacterOfFourBytesFillsTheFirstWordAndLeavesTheSecond0) {
    EXPECT_EQ(Played("10 key-down 00 \"\xF0\x9F\x98\x80\"\n"),
              (Messages{{MSG_DOWN, 0x41, 1, 0}, {MSG_CHAR, 0x80989FF0, 0, 0}}));
}

TEST(Keyboard, EightBytesOfTextFillBothWords) {
    EXPECT_EQ(Played("10 key-down 00 \"abcdefgh\"\n"),
              (Messages{{MSG_DOWN, 0x41, 1, 0}, {MSG_CHAR, 0x64636261, 0x68676665, 0}}));
}

TEST(Keyboard, OfALongerTextTheFirstEightBytesAreSent) {
    EXPECT_EQ(Played("10 key-down 00 \"abcdefghijklmnopqrstuvwxyz\"\n"),
              (Messages{{MSG_DOWN, 0x41, 1, 0}, {MSG_CHAR, 0x64636261, 0x68676665, 0}}));
}

TEST(Keyboard, AShortTextLeavesNothingOfALongerOneBefore) {
    EXPECT_EQ(Played("10 key-down 00 \"abcdefgh\"\n20 key-down 00 \"a\"\n"),
              (Messages{{MSG_DOWN, 0x41, 1, 0},
                        {MSG_CHAR, 0x64636261, 0x68676665, 0},
                        {MSG_DOWN, 0x41, 1, 0},
                        {MSG_CHAR, 0x61, 0, 0}}));
}

TEST(Keyboard, KeysThatMapTo0PostKeyCode0OnPressAndRelease) {
    // Command, right Command, right Shift, right Option, right Control.
    for (const char* const code : {"37", "36", "3C", "3D", "3E"}) {
        EXPECT_EQ(
            Played("10 key-down " + std::string(code) + " \"x\"\n20 key-up " + code + " \"x\"\n"),
            (Messages{{MSG_DOWN, 0, 1, 0}, {MSG_CHAR, 0x78, 0, 0}, {MSG_UP, 0, 1, 0}}))
            << code;
    }
}

TEST(Keyboard, AReleaseIsItsCodeAloneAndNothingWithoutCharacters) {
    EXPECT_EQ(Played("10 key-up 24 \"\\x0D\"\n20 key-up 24 \"\"\n"),
              (Messages{{MSG_UP, 0x0D, 1, 0}}));
}

TEST(Keyboard, RepeatsArePostedLikePresses) {
    const std::string press = " key-down 7B \"\\x1C\"\n";
    const LoggedMessage down = {MSG_DOWN, 0x25, 1, 0};
    const LoggedMessage text = {MSG_CHAR, 0x1C, 0, 0};
    EXPECT_EQ(Played("10" + press + "20" + press + "30" + press),
              (Messages{down, text, down, text, down, text}));
}

TEST(Keyboard, EveryKeyHasItsCode) {
    std::istringstream table(R"(
        41 53 44 46 48 47 5A 58 43 56 00 42 51 57 45 52
        59 54 31 32 33 34 36 35 BB 39 37 BD 38 30 DD 4F
        55 DB 49 50 0D 4C 4A DE 4B BA DC BC BF 4E 4D BE
        09 20 C0 08 00 1B 00 00 10 14 12 11 00 00 00 00
        00 6E 00 6A 00 6B 00 90 00 00 00 6F 0D 00 6D 00
        00 BB 60 61 62 63 64 65 66 67 00 68 69 00 00 00
        74 75 76 72 77 78 00 7A 00 2C 00 91 00 79 00 7B
        00 13 2D 24 21 2E 73 23 71 22 70 25 27 28 26 00)");
    std::string script;
    Messages expected;
    for (u32 code = 0; code < 128; ++code) {
        u32 value = 0;
        table >> std::hex >> value;
        char line[32];
        std::snprintf(line, sizeof line, "10 key-down %02X \"x\"\n", code);
        script += line;
        expected.push_back({MSG_DOWN, value, 1, 0});
        expected.push_back({MSG_CHAR, 0x78, 0, 0});
    }
    EXPECT_EQ(Played(script), expected);
}

using KeysOnTheBench = HostTest;

TEST_F(KeysOnTheBench, TextWithoutAKeyIsAMessageOfItsOwn) {
    TextInput("\xE2\x82\xAC");
    TextInput("");
    EXPECT_EQ(DeliveredMessages(), (Messages{{MSG_CHAR, 0x00AC82E2, 0, 0}}));
}

TEST_F(KeysOnTheBench, AKeyCodeIsTakenModulo128) {
    KeyDown(0x80, "a");
    KeyUp(0xFD, "b");
    EXPECT_EQ(DeliveredMessages(),
              (Messages{{MSG_DOWN, 0x41, 1, 0}, {MSG_CHAR, 'a', 0, 0}, {MSG_UP, 0x28, 1, 0}}));
}

// --- Modifier keys

TEST(Keyboard, PressingAndReleasingShiftIsDownAndUpAndLeavesTheButtons) {
    EXPECT_EQ(Played("10 mouse-down 0 1 2\n20 modifiers shift\n30 mouse-move 3 4\n"
                     "40 modifiers\n50 mouse-move 5 6\n"),
              (Messages{{MSG_DOWN, 1, 0x0001, 0x00020001},
                        {MSG_DOWN, 16, 0, 0},
                        {MSG_POINTER, 3, 4, 0x0005},
                        {MSG_UP, 16, 0, 0},
                        {MSG_POINTER, 5, 6, 0x0001}}));
}

TEST(Keyboard, ShiftComesBeforeCommandBeforeOption) {
    EXPECT_EQ(Played("10 modifiers option command shift\n20 mouse-move 1 1\n30 modifiers\n"),
              (Messages{{MSG_DOWN, 16, 0, 0},
                        {MSG_DOWN, 17, 0, 0},
                        {MSG_DOWN, 18, 0, 0},
                        {MSG_POINTER, 1, 1, 0x800C},
                        {MSG_UP, 16, 0, 0},
                        {MSG_UP, 17, 0, 0},
                        {MSG_UP, 18, 0, 0}}));
}

TEST(Keyboard, OnlyModifiersThatChangeAreTold) {
    EXPECT_EQ(Played("10 modifiers shift\n20 modifiers shift\n30 modifiers shift option\n"
                     "40 modifiers command\n"),
              (Messages{{MSG_DOWN, 16, 0, 0},
                        {MSG_DOWN, 18, 0, 0},
                        {MSG_UP, 16, 0, 0},
                        {MSG_DOWN, 17, 0, 0},
                        {MSG_UP, 18, 0, 0}}));
}

TEST(Keyboard, CommandHeldWhileSwitchingAwayIsReleasedOnActivation) {
    EXPECT_EQ(Played("10 modifiers command shift\n20 activate\n30 mouse-move 1 1\n40 activate\n"
                     "50 modifiers\n"),
              (Messages{{MSG_DOWN, 16, 0, 0},
                        {MSG_DOWN, 17, 0, 0},
                        {MSG_UP, 17, 0, 0},
                        {MSG_POINTER, 1, 1, 0x0004},
                        {MSG_UP, 16, 0, 0}}));
}

TEST(Keyboard, WithoutCommandHeldActivationIsNoMessage) {
    EXPECT_EQ(Played("10 activate\n20 modifiers shift\n30 activate\n"),
              (Messages{{MSG_DOWN, 16, 0, 0}}));
}

// --- Suspended input

TEST(Keyboard, WhileInputIsSuspendedOnlyTheTextIsPostedAndTheModifiersAreKept) {
    LoggingModule module;
    module.on[MSG_CHAR] = kSuspendOnDResumeOnR;
    EXPECT_EQ(PlayedWith(module,
                         "10 key-down 02 \"d\"\n30 key-down 00 \"a\"\n31 key-up 00 \"a\"\n"
                         "32 modifiers shift command option\n40 key-down 0F \"r\"\n"
                         "41 mouse-move 5 6\n42 modifiers\n"),
              (Messages{{MSG_DOWN, 0x44, 1, 0},
                        {MSG_CHAR, 'd', 0, 0},
                        {MSG_CHAR, 'a', 0, 0},
                        {MSG_CHAR, 'r', 0, 0},
                        {MSG_POINTER, 5, 6, 0x800C},
                        {MSG_UP, 16, 0, 0},
                        {MSG_UP, 17, 0, 0},
                        {MSG_UP, 18, 0, 0}}));
}

TEST(Keyboard, AMessageThatSuspendsInputKeepsTheModifiersThatFollowFromBeingTold) {
    LoggingModule module;
    module.on[MSG_DOWN] = "        PUSH.L  #1\n        SERVICE 0x0715, 4\n";
    module.on[MSG_CHAR] = kSuspendOnDResumeOnR;
    EXPECT_EQ(PlayedWith(module,
                         "10 modifiers shift command option\n30 key-down 0F \"r\"\n"
                         "31 mouse-move 1 1\n"),
              (Messages{{MSG_DOWN, 16, 0, 0}, {MSG_CHAR, 'r', 0, 0}, {MSG_POINTER, 1, 1, 0x800C}}));
}

TEST(Keyboard, CommandIsReleasedOnActivationAlsoWhileInputIsSuspended) {
    LoggingModule module;
    module.on[MSG_CHAR] = kSuspendOnDResumeOnR;
    EXPECT_EQ(PlayedWith(module,
                         "10 key-down 02 \"d\"\n30 modifiers command\n31 activate\n"
                         "40 key-down 0F \"r\"\n41 mouse-move 1 1\n"),
              (Messages{{MSG_DOWN, 0x44, 1, 0},
                        {MSG_CHAR, 'd', 0, 0},
                        {MSG_UP, 17, 0, 0},
                        {MSG_CHAR, 'r', 0, 0},
                        {MSG_POINTER, 1, 1, 0}}));
}

// --- Keys of the menu

TEST(MenuKeys, CommandQAsksTheModuleOnceAndEndsTheProgram) {
    const HeadlessResult result =
        Play({}, "10 modifiers command\n20 key-down 0C \"q\"\n30 mouse-move 1 1\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_DOWN, 17, 0, 0}, {MSG_CLOSE}}));
}

TEST(MenuKeys, CommandWClosesTheWindowWhichAsksTwice) {
    const HeadlessResult result = Play({}, "10 modifiers command\n20 key-down 0D \"w\"\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{"log: windowWillClose"});
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{MSG_DOWN, 17, 0, 0}, {MSG_CLOSE}, {MSG_CLOSE}}));
}

TEST(MenuKeys, AModuleThatRefusesKeepsRunning) {
    LoggingModule module;
    module.on[MSG_CLOSE] = "        MOVE.B  [HDR_RESULT], #0\n";
    EXPECT_EQ(PlayedWith(module,
                         "10 modifiers command\n20 key-down 0C \"q\"\n30 key-down 0D \"w\"\n"
                         "40 modifiers\n50 mouse-move 1 1\n"),
              (Messages{{MSG_DOWN, 17, 0, 0},
                        {MSG_CLOSE},
                        {MSG_CLOSE},
                        {MSG_UP, 17, 0, 0},
                        {MSG_POINTER, 1, 1, 0}}));
}

TEST(MenuKeys, CommandMMinimises) {
    EXPECT_EQ(Played("10 modifiers command\n20 key-down 2E \"m\"\n30 restore\n"),
              (Messages{{MSG_DOWN, 17, 0, 0}, {MSG_MINIMIZE, 1, 0, 0}, {MSG_MINIMIZE, 0, 0, 0}}));
}

TEST(MenuKeys, OptionReturnTogglesFullScreen) {
    EXPECT_EQ(Played("10 modifiers option\n20 key-down 24 \"\\x0D\"\n"),
              (Messages{{MSG_DOWN, 18, 0, 0},
                        {MSG_SIZE, 1920, 1080, 0},
                        {MSG_SIZE, 1920, 1080, 2},
                        {MSG_SIZE, 1920, 1080, 2}}));
}

TEST(MenuKeys, CommandShiftMIsTakenAndSilentForTheModule) {
    EXPECT_EQ(Played("10 modifiers command shift\n20 key-down 2E \"M\"\n"),
              (Messages{{MSG_DOWN, 16, 0, 0}, {MSG_DOWN, 17, 0, 0}}));
}

TEST(MenuKeys, CommandShiftSWritesAScreenshotIntoThePicturesFolder) {
    const TemporaryFolder home;
    std::filesystem::create_directories(home.path + "/.config");
    std::filesystem::create_directories(home.path + "/Photos");
    WriteTextFile(home.path + "/.config/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Photos\"\n");
    const char* const before = std::getenv("HOME");
    const std::string homeBefore = before != nullptr ? before : "";
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", home.path.c_str(), 1);
    const HeadlessResult result = Play({}, "10 modifiers command shift\n2000 key-down 01 \"S\"\n",
                                       {"--date", "2031-02-03 04:05:06"});
    setenv("HOME", homeBefore.c_str(), 1);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_DOWN, 16, 0, 0}, {MSG_DOWN, 17, 0, 0}}));
    const std::string file = home.path + "/Photos/MOXI game 2031-02-03 04.05.08.png";
    EXPECT_EQ(result.lines, Strings{"log: screenshot: " + file});
    const Picture picture = ReadPicture(file);
    EXPECT_EQ(picture.width, 1000u);
    EXPECT_EQ(picture.height, 600u);
    EXPECT_EQ(picture.Colour(0, 0, 1000, 600), 0x000000u);
}

TEST(MenuKeys, AHeldKeyIsTakenOnce) {
    EXPECT_EQ(Played("10 modifiers option\n20 key-down 24 \"\\x0D\"\n21 key-down 24 \"\\x0D\"\n"
                     "22 key-down 24 \"\\x0D\"\n"),
              (Messages{{MSG_DOWN, 18, 0, 0},
                        {MSG_SIZE, 1920, 1080, 0},
                        {MSG_SIZE, 1920, 1080, 2},
                        {MSG_SIZE, 1920, 1080, 2}}));
}

TEST(MenuKeys, ALetterThatIsNotLatinCountsAsTheOneOfAUsKeyboard) {
    // Short i stands on the key of Q in Russian.
    const HeadlessResult result =
        Play({}, "10 modifiers command\n20 key-down 0C \"\\xD0\\xB9\"\n30 mouse-move 1 1\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_DOWN, 17, 0, 0}, {MSG_CLOSE}}));
}

TEST(MenuKeys, TwoScreenshotsWithinASecondAreTwoFiles) {
    const TemporaryFolder home;
    const char* const before = std::getenv("HOME");
    const std::string homeBefore = before != nullptr ? before : "";
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", home.path.c_str(), 1);
    const HeadlessResult result = Play({},
                                       "10 modifiers command shift\n2000 key-down 01 \"S\"\n"
                                       "2010 key-up 01 \"S\"\n2020 key-down 01 \"S\"\n",
                                       {"--date", "2031-02-03 04:05:06"});
    setenv("HOME", homeBefore.c_str(), 1);
    const std::string file = home.path + "/Pictures/MOXI game 2031-02-03 04.05.08";
    EXPECT_EQ(result.lines, (Strings{"log: screenshot: " + file + ".png",
                                     "log: screenshot: " + file + " 2.png"}));
    EXPECT_EQ(ReadPicture(file + ".png").width, 1000u);
    EXPECT_EQ(ReadPicture(file + " 2.png").width, 1000u);
}

TEST(MenuKeys, WithOtherModifiersTheModuleGetsTheKey) {
    EXPECT_EQ(Played("10 key-down 0C \"q\"\n20 modifiers shift command\n30 key-down 0C \"Q\"\n"
                     "40 modifiers command option\n50 key-down 0D \"w\"\n"),
              (Messages{{MSG_DOWN, 'Q', 1, 0},
                        {MSG_CHAR, 'q', 0, 0},
                        {MSG_DOWN, 16, 0, 0},
                        {MSG_DOWN, 17, 0, 0},
                        {MSG_DOWN, 'Q', 1, 0},
                        {MSG_CHAR, 'Q', 0, 0},
                        {MSG_UP, 16, 0, 0},
                        {MSG_DOWN, 18, 0, 0},
                        {MSG_DOWN, 'W', 1, 0},
                        {MSG_CHAR, 'w', 0, 0}}));
}

TEST(MenuKeys, TheKeyCountsByItsCharacterAndNotByItsPlace) {
    // A layout with the Q where others have the A.
    const HeadlessResult result = Play({}, "10 modifiers command\n20 key-down 00 \"q\"\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_DOWN, 17, 0, 0}, {MSG_CLOSE}}));
}

}  // namespace

}  // namespace moxi
