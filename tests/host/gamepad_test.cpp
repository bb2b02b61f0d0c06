// A gamepad as a module meets it: keys, buttons and the pointer, from the events of a script.

#include "host/gamepad.h"

#include <gtest/gtest.h>

#include <optional>

#include "desktop/events.h"
#include "host/key_names.h"
#include "host/mouse.h"
#include "host/surface.h"
#include "tests/support/host_bench.h"
#include "tests/support/message_log.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

Messages Played(const std::string& script, const Strings& options = {}) {
    const HeadlessResult result = Play({}, script, options);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    return MessagesAfterStart(result);
}

// The module's codes: Return 13, Escape 27, Left 37, Up 38, Right 39, Down 40.
Messages KeyAndText(u32 code, u32 text) {
    return {{MSG_DOWN, code, 1, 0}, {MSG_CHAR, text, 0, 0}, {MSG_UP, code, 1, 0}};
}

TEST(Gamepad, AIsReturnBIsEscapeXIsSpaceAndStartIsReturn) {
    EXPECT_EQ(Played("10 pad-button a down\n20 pad-button a up\n"), KeyAndText(13, 13));
    EXPECT_EQ(Played("10 pad-button b down\n20 pad-button b up\n"), KeyAndText(27, 27));
    EXPECT_EQ(Played("10 pad-button x down\n20 pad-button x up\n"), KeyAndText(32, 32));
    EXPECT_EQ(Played("10 pad-button start down\n20 pad-button start up\n"), KeyAndText(13, 13));
}

TEST(Gamepad, TheCrossIsTheArrowKeys) {
    EXPECT_EQ(Played("10 pad-button dpleft down\n20 pad-button dpleft up\n"), KeyAndText(37, 0x1C));
    EXPECT_EQ(Played("10 pad-button dpright down\n20 pad-button dpright up\n"),
              KeyAndText(39, 0x1D));
    EXPECT_EQ(Played("10 pad-button dpup down\n20 pad-button dpup up\n"), KeyAndText(38, 0x1E));
    EXPECT_EQ(Played("10 pad-button dpdown down\n20 pad-button dpdown up\n"), KeyAndText(40, 0x1F));
}

TEST(Gamepad, AStickPressesAnArrowAtAHalfAndReleasesItBelowTheDeadZone) {
    // 0.49 is not enough; 0.4 is still held, 0.34 is not.
    EXPECT_EQ(Played("10 pad-axis leftx -0.49\n20 pad-axis leftx -0.5\n30 pad-axis leftx -0.4\n"
                     "40 pad-axis leftx -0.34\n"),
              KeyAndText(37, 0x1C));
    // From the one side to the other without a stop in the middle: the first is released first.
    EXPECT_EQ(Played("10 pad-axis lefty -1\n20 pad-axis lefty 1\n30 pad-axis lefty 0\n"),
              (Messages{{MSG_DOWN, 38, 1, 0},
                        {MSG_CHAR, 0x1E, 0, 0},
                        {MSG_UP, 38, 1, 0},
                        {MSG_DOWN, 40, 1, 0},
                        {MSG_CHAR, 0x1F, 0, 0},
                        {MSG_UP, 40, 1, 0}}));
}

TEST(Gamepad, TheSameKeyFromStickAndCrossIsPressedOnceAndReleasedByTheLast) {
    EXPECT_EQ(Played("10 pad-axis leftx 1\n20 pad-button dpright down\n30 pad-axis leftx 0\n"
                     "40 pad-button dpright up\n"),
              KeyAndText(39, 0x1D));
}

TEST(Gamepad, AHeldKeyRepeatsAfterHalfASecondAndThenThirtyTimesASecond) {
    // Pressed at 10 ms; again at 510, 543 and 576, and released before 609.
    const Messages messages =
        Played("10 pad-button dpup down\n600 pad-button dpup up\n", {"--run-ms", "1000"});
    Messages expected;
    for (int i = 0; i < 4; ++i) {
        expected.push_back({MSG_DOWN, 38, 1, 0});
        expected.push_back({MSG_CHAR, 0x1E, 0, 0});
    }
    expected.push_back({MSG_UP, 38, 1, 0});
    EXPECT_EQ(messages, expected);
}

TEST(Gamepad, OnlyTheKeyThatWasPressedLastRepeats) {
    // Left at 10, up at 20, which repeats at 520 and 553.
    const Messages messages = Played(
        "10 pad-button dpleft down\n20 pad-button dpup down\n560 pad-button dpup up\n"
        "900 pad-button dpleft up\n");
    EXPECT_EQ(std::count(messages.begin(), messages.end(), LoggedMessage{MSG_DOWN, 37, 1, 0}), 1);
    EXPECT_EQ(std::count(messages.begin(), messages.end(), LoggedMessage{MSG_DOWN, 38, 1, 0}), 3);
    EXPECT_EQ(messages.back(), (LoggedMessage{MSG_UP, 37, 1, 0}));
}

TEST(Gamepad, ShouldersAndThePressedStickAreMouseButtonsWhereThePointerIs) {
    EXPECT_EQ(Played("10 mouse-move 30 40\n20 pad-button rightshoulder down\n"
                     "30 pad-button rightshoulder up\n40 pad-button leftshoulder down\n"
                     "50 pad-button leftshoulder up\n"),
              (Messages{{MSG_POINTER, 30, 40, 0},
                        {MSG_DOWN, 1, 1, 0x28001E},
                        {MSG_UP, 1, 0, 0x28001E},
                        {MSG_POINTER, 30, 40, 0},
                        {MSG_DOWN, 2, 2, 0x28001E},
                        {MSG_UP, 2, 0, 0x28001E},
                        {MSG_POINTER, 30, 40, 0}}));
}

TEST(Gamepad, TheRightStickMovesThePointerAndLeavesItAtTheEdge) {
    // All the way to the right a step of 16 ms is 1000 / 75 = 13 1/3 pixels, from the pixel's
    // centre: 500.5, 513.8, 527.2, 540.5.
    EXPECT_EQ(Played("10 mouse-move 500 300\n20 pad-axis rightx 1\n75 pad-axis rightx 0\n"),
              (Messages{{MSG_POINTER, 500, 300, 0},
                        {MSG_POINTER, 513, 300, 0},
                        {MSG_POINTER, 527, 300, 0},
                        {MSG_POINTER, 540, 300, 0}}));
    const Messages messages = Played(
        "10 mouse-move 900 300\n20 pad-axis rightx 1\n20 pad-axis righty -1\n"
        "1900 pad-axis rightx 0\n",
        {"--run-ms", "2000"});
    EXPECT_EQ(messages.back(), (LoggedMessage{MSG_POINTER, 999, 0, 0}));
}

TEST(Gamepad, ASmallPushOfTheRightStickIsNone) {
    EXPECT_EQ(Played("10 mouse-move 500 300\n20 pad-axis rightx 0.2\n500 pad-axis rightx 0\n"),
              (Messages{{MSG_POINTER, 500, 300, 0}}));
}

TEST(Gamepad, TriggersDoNothingUnlessThePlayerSaysWhat) {
    EXPECT_EQ(Played("10 pad-axis lefttrigger 1\n20 pad-axis lefttrigger 0\n"), Messages{});
}

// --- With preferences

HeadlessResult PlayedWith(const std::string& preferences, const LoggingModule& module,
                          const std::string& script) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/preferences", preferences);
    HeadlessResult result =
        Play(module, script, {"--preferences", folder.path + "/preferences", "--run-ms", "3000"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    return result;
}

TEST(Gamepad, TheMapOfThePreferencesHoldsForTheGame) {
    EXPECT_EQ(MessagesAfterStart(PlayedWith("pad.a = space\npad.lefttrigger = z\n", {},
                                            "10 pad-button a down\n20 pad-button a up\n"
                                            "30 pad-axis lefttrigger 1\n"
                                            "40 pad-axis lefttrigger 0\n")),
              (Messages{{MSG_DOWN, 32, 1, 0},
                        {MSG_CHAR, 32, 0, 0},
                        {MSG_UP, 32, 1, 0},
                        {MSG_DOWN, 0x5A, 1, 0},
                        {MSG_CHAR, 0x7A, 0, 0},
                        {MSG_UP, 0x5A, 1, 0}}));
}

// How many ticks a module with a timer of 10 ms has had in three seconds, of which two are spent
// without the keyboard.
long Ticks(const std::string& preferences) {
    LoggingModule module;
    module.timer = 10;
    module.ticks = true;
    const Messages messages =
        LoggedMessages(PlayedWith(preferences, module, "500 deactivate\n2500 activate\n"));
    return std::count(messages.begin(), messages.end(), LoggedMessage{MSG_TICK, 0, 0, 0});
}

TEST(Pausing, AGameWithoutTheKeyboardStandsStillIfThePlayerWantsItSo) {
    const long always = Ticks("");
    const long waiting = Ticks("pause-when-inactive = yes\n");
    // One second of three, without one tick more for the time that was left out.
    EXPECT_GT(always, 280);
    EXPECT_GT(waiting, always / 3 - 10);
    EXPECT_LT(waiting, always / 3 + 10);
}

TEST(Pausing, WhatIsHeldIsReleasedBeforeTheGameStandsStill) {
    const HeadlessResult result = PlayedWith("pause-when-inactive = yes\n", {},
                                             "10 key-down 00 \"a\"\n20 pad-axis leftx 1\n"
                                             "30 deactivate\n100 key-up 00 \"a\"\n"
                                             "120 key-down 01 \"s\"\n200 activate\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_DOWN, 0x41, 1, 0},
                                                    {MSG_CHAR, 0x61, 0, 0},
                                                    {MSG_DOWN, 39, 1, 0},
                                                    {MSG_CHAR, 0x1D, 0, 0},
                                                    {MSG_UP, 39, 1, 0},
                                                    {MSG_UP, 0x41, 1, 0}}));
}

// --- What the player chooses, on the bench

std::vector<std::string> told;

class PlayersPad : public HostTest {
  protected:
    void SetUp() override {
        HostTest::SetUp();
        ResetGamepad();
        told.clear();
        before = desktopEvents;
        desktopEvents.keyDown = [](u8 code, const std::string& text) {
            told.push_back("down " + NameOfKey(code) + " " + text);
        };
        desktopEvents.keyUp = [](u8 code, const std::string& text) {
            told.push_back("up " + NameOfKey(code) + " " + text);
        };
        desktopEvents.flagsChanged = FlagsChangedBesidePad;
        desktopEvents.mouseDown = [](u32 button, i32, i32, i32) {
            told.push_back("press " + std::to_string(button));
        };
        desktopEvents.mouseUp = [](u32 button, i32, i32) {
            told.push_back("let go " + std::to_string(button));
        };
        desktopEvents.mouseMoved = [](i32, i32) { told.push_back("move"); };
    }
    void TearDown() override {
        desktopEvents = before;
        ResetGamepad();
        HostTest::TearDown();
    }

    DesktopEvents before;
};

TEST_F(PlayersPad, EveryControlCanHaveAnotherAction) {
    UsePadMap({{"a", "z"}, {"righttrigger", "space"}, {"rightx-", "q"}, {"b", "mouse-right"}});
    PadButtonChanged(PadButton::A, true);
    PadButtonChanged(PadButton::A, false);
    PadAxisChanged(PadAxis::RightTrigger, 0.6);
    PadAxisChanged(PadAxis::RightTrigger, 0.1);
    PadAxisChanged(PadAxis::RightX, -1);
    PadAxisChanged(PadAxis::RightX, 0);
    PadButtonChanged(PadButton::B, true);
    PadButtonChanged(PadButton::B, false);
    EXPECT_EQ(told, (Strings{"down z z", "up z z", "down space  ", "up space  ", "down q q",
                             "up q q", "press 1", "let go 1"}));
}

TEST_F(PlayersPad, ShiftOnTheTriggerMakesCapitalsAndTheMouseKnowsOfIt) {
    UsePadMap({{"lefttrigger", "shift"}, {"a", "a"}});
    PadAxisChanged(PadAxis::LeftTrigger, 1);
    PadButtonChanged(PadButton::A, true);
    // Command on the keyboard takes nothing away from the pad's Shift.
    desktopEvents.flagsChanged(false, true, false);
    PadAxisChanged(PadAxis::LeftTrigger, 0);
    PadButtonChanged(PadButton::A, false);
    EXPECT_EQ(told, (Strings{"down a A", "up a a"}));
    EXPECT_EQ(DeliveredMessages(),
              (Messages{{MSG_DOWN, 16, 0, 0}, {MSG_DOWN, 17, 0, 0}, {MSG_UP, 16, 0, 0}}));
}

TEST_F(PlayersPad, ANewMapLetsGoOfWhatIsHeldAndTheControlWaitsForItsNextPress) {
    PadButtonChanged(PadButton::A, true);
    PadButtonChanged(PadButton::RightShoulder, true);
    UsePadMap({{"a", "z"}});
    EXPECT_EQ(told, (Strings{"down return \r", "press 0", "up return \r", "let go 0"}));
    PadButtonChanged(PadButton::A, false);
    EXPECT_EQ(told.size(), 4U);
    PadButtonChanged(PadButton::A, true);
    EXPECT_EQ(told.back(), "down z z");
}

TEST_F(PlayersPad, OnAnOwnSurfaceTheMapIsFixed) {
    UsePadMap({{"a", "none"}, {"dpup", "z"}, {"rightx-", "none"}});
    UseSurfacePadMap(true);
    PadButtonChanged(PadButton::A, true);
    PadButtonChanged(PadButton::DpUp, true);
    UseSurfacePadMap(false);
    EXPECT_EQ(told, (Strings{"down return \r", "down up \x1E", "up return \r", "up up \x1E"}));
}

TEST_F(PlayersPad, AControlCanOpenThePanelAndTheGuideButtonDoes) {
    static int opened = 0;
    opened = 0;
    hostSlots.togglePanel = [] { ++opened; };
    UsePadMap({{"back", "panel"}});
    PadButtonChanged(PadButton::Back, true);
    PadButtonChanged(PadButton::Back, false);
    PadButtonChanged(PadButton::Guide, true);
    hostSlots.togglePanel = [] {};
    EXPECT_EQ(opened, 2);
    EXPECT_EQ(told, Strings{});
}

TEST_F(PlayersPad, WhatOpensThePanelClosesItToo) {
    static int toggled = 0;
    toggled = 0;
    hostSlots.togglePanel = [] { ++toggled; };
    UsePadMap({{"lefttrigger", "panel"}});
    UseSurfacePadMap(true);
    PadAxisChanged(PadAxis::LeftTrigger, 1);
    hostSlots.togglePanel = [] {};
    EXPECT_EQ(toggled, 1);
}

TEST_F(PlayersPad, WhatIsNoControlOrNoActionIsLeftOut) {
    EXPECT_TRUE(IsPadControl("leftx+"));
    EXPECT_TRUE(IsPadControl("lefttrigger"));
    EXPECT_FALSE(IsPadControl("leftx"));
    EXPECT_FALSE(IsPadControl("paddle1"));
    EXPECT_TRUE(IsPadAction("f10"));
    EXPECT_TRUE(IsPadAction("7B"));
    EXPECT_FALSE(IsPadAction("80"));
    EXPECT_FALSE(IsPadAction("jump"));
    UsePadMap({{"paddle1", "z"}, {"a", "jump"}, {"b", "pointer"}});
    PadButtonChanged(PadButton::A, true);
    PadButtonChanged(PadButton::B, true);
    EXPECT_EQ(told, (Strings{"down return \r", "down escape \x1B"}));
}

TEST(KeyNames, EveryKeyHasANameThatLeadsBackToIt) {
    for (u32 code = 0; code < 128; ++code) {
        EXPECT_EQ(KeyNamed(NameOfKey(static_cast<u8>(code))), static_cast<u8>(code)) << code;
    }
    EXPECT_EQ(KeyNamed("a"), 0x00);
    EXPECT_EQ(KeyNamed("return"), 0x24);
    EXPECT_EQ(KeyNamed("f1"), 0x7A);
    EXPECT_EQ(KeyNamed("4C"), 0x4C);
    EXPECT_EQ(KeyNamed(""), std::nullopt);
    EXPECT_EQ(KeyNamed("A"), std::nullopt);
    EXPECT_EQ(KeyNamed("123"), std::nullopt);
}

TEST(KeyNames, AKeyTypesWhatItDoesOnAUsKeyboard) {
    EXPECT_EQ(TextOfKey(0x00, false), "a");
    EXPECT_EQ(TextOfKey(0x00, true), "A");
    EXPECT_EQ(TextOfKey(0x13, true), "@");   // 2
    EXPECT_EQ(TextOfKey(0x2A, true), "|");   // backslash
    EXPECT_EQ(TextOfKey(0x27, true), "\"");  // apostrophe
    EXPECT_EQ(TextOfKey(0x32, true), "~");   // grave accent
    EXPECT_EQ(TextOfKey(0x24, false), "\r");
    EXPECT_EQ(TextOfKey(0x31, true), " ");
    EXPECT_EQ(TextOfKey(0x56, false), "4");  // keypad
    EXPECT_EQ(TextOfKey(0x7F, false), "");
}

}  // namespace

}  // namespace moxi
