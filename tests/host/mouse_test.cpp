// Buttons, motion and the wheel as a module meets them.

#include "host/mouse.h"

#include <gtest/gtest.h>

#include "tests/support/message_log.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

Messages PlayedWith(const LoggingModule& module, const std::string& script,
                    const Strings& options = {}) {
    const HeadlessResult result = Play(module, script, options);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    return MessagesAfterStart(result);
}

// The messages that a script brings to a module that keeps no timer of its own.
Messages Played(const std::string& script) {
    return PlayedWith({}, script);
}

// --- Buttons

TEST(Mouse, AClickAtTheTopLeftCornerSendsPosition0) {
    EXPECT_EQ(Played("10 mouse-down 0 0 0\n20 mouse-up 0 0 0\n"),
              (Messages{{MSG_DOWN, 1, 0x0001, 0}, {MSG_UP, 1, 0, 0}, {MSG_POINTER, 0, 0, 0}}));
}

TEST(Mouse, TenPointsAboveTheBottomEdgeOfAViewOf700IsRow690) {
    const Messages messages = Played("10 resize 1000 700\n20 mouse-down 0 3 690\n");
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back(), (LoggedMessage{MSG_DOWN, 1, 0x0001, 690u << 16 | 3}));
}

TEST(Mouse, EachButtonHasItsIdAndItsBit) {
    EXPECT_EQ(Played("10 mouse-down 0 1 1\n11 mouse-down 1 1 1\n12 mouse-down 2 1 1\n"
                     "13 mouse-down 3 1 1\n14 mouse-down 4 1 1\n15 mouse-move 2 2\n"),
              (Messages{{MSG_DOWN, 1, 0x0001, 0x00010001},
                        {MSG_DOWN, 2, 0x0003, 0x00010001},
                        {MSG_DOWN, 4, 0x0013, 0x00010001},
                        {MSG_DOWN, 0x8001, 0x0033, 0x00010001},
                        {MSG_DOWN, 0x8002, 0x0073, 0x00010001},
                        {MSG_POINTER, 2, 2, 0x0073}}));
}

TEST(Mouse, HigherButtonsAreAllTheSame) {
    EXPECT_EQ(Played("10 mouse-down 1000 1 1\n20 mouse-up 5 1 1\n"),
              (Messages{{MSG_DOWN, 0x8002, 0x0040, 0x00010001},
                        {MSG_UP, 0x8002, 0, 0x00010001},
                        {MSG_POINTER, 1, 1, 0}}));
}

TEST(Mouse, EveryReleaseIsFollowedByAPointerMessage) {
    for (const char* const button : {"0", "1", "2", "3", "4"}) {
        const std::string number = button;
        const Messages messages = Played("10 modifiers option\n20 mouse-down " + number +
                                         " 9 8\n30 mouse-up " + number + " 7 6\n");
        ASSERT_EQ(messages.size(), 4u) << button;
        EXPECT_EQ(messages[2], (LoggedMessage{MSG_UP, messages[1].p1, 0x8000, 0x00060007}));
        EXPECT_EQ(messages[3], (LoggedMessage{MSG_POINTER, 7, 6, 0x8000}));
    }
}

TEST(Mouse, APressWithoutAClickIsIgnoredAndSetsNoBit) {
    EXPECT_EQ(Played("10 mouse-down 0 5 5 0\n20 mouse-move 6 6\n"),
              (Messages{{MSG_POINTER, 6, 6, 0}}));
}

TEST(Mouse, ASecondClickIsAPressLikeTheFirst) {
    EXPECT_EQ(Played("10 mouse-down 0 5 5 1\n20 mouse-up 0 5 5\n30 mouse-down 0 5 5 2\n"),
              (Messages{{MSG_DOWN, 1, 1, 0x00050005},
                        {MSG_UP, 1, 0, 0x00050005},
                        {MSG_POINTER, 5, 5, 0},
                        {MSG_DOWN, 1, 1, 0x00050005}}));
}

TEST(Mouse, ALeftPressWithShiftSendsWord5) {
    EXPECT_EQ(Played("10 modifiers shift\n20 mouse-down 0 1 2\n"),
              (Messages{{MSG_DOWN, 16, 0, 0}, {MSG_DOWN, 1, 0x0005, 0x00020001}}));
}

// --- Motion

TEST(Mouse, ADragOutOverTheLeftEdgeHasANegativeXThatSpillsIntoTheUpperHalf) {
    // 5 << 16 is 0x00050000; together with 0xFFFFFFFD the upper half is all ones.
    EXPECT_EQ(Played("10 mouse-down 0 0 5\n20 mouse-drag 0 -3 5\n30 mouse-up 0 -3 5\n"),
              (Messages{{MSG_DOWN, 1, 1, 0x00050000},
                        {MSG_POINTER, 0xFFFFFFFD, 5, 1},
                        {MSG_UP, 1, 0, 0xFFFFFFFD},
                        {MSG_POINTER, 0xFFFFFFFD, 5, 0}}));
}

TEST(Mouse, ADragOverTheOtherEdgesKeepsItsCoordinates) {
    EXPECT_EQ(Played("10 mouse-down 0 1 1\n20 mouse-drag 0 4 -2\n30 mouse-drag 0 5000 4000\n"
                     "40 mouse-up 0 4 -2\n"),
              (Messages{{MSG_DOWN, 1, 1, 0x00010001},
                        {MSG_POINTER, 4, 0xFFFFFFFE, 1},
                        {MSG_POINTER, 5000, 4000, 1},
                        {MSG_UP, 1, 0, 0xFFFE0004},
                        {MSG_POINTER, 4, 0xFFFFFFFE, 0}}));
}

TEST(Mouse, DragsOfAllButtonsArePointerMessages) {
    EXPECT_EQ(Played("10 mouse-drag 0 1 2\n20 mouse-drag 1 3 4\n30 mouse-drag 2 5 6\n"),
              (Messages{{MSG_POINTER, 1, 2, 0}, {MSG_POINTER, 3, 4, 0}, {MSG_POINTER, 5, 6, 0}}));
}

TEST(Mouse, AMoveIsDroppedWhileAnythingWaitsInTheQueue) {
    LoggingModule module;
    module.timer = 60000;
    // The press waits for the host tick at 105 ms; the move at 104 finds it there.
    EXPECT_EQ(PlayedWith(module,
                         "101 mouse-down 0 1 1\n104 mouse-move 2 2\n106 mouse-move 3 3\n"
                         "107 mouse-move 4 4\n",
                         {"--run-ms", "120"}),
              (Messages{{MSG_DOWN, 1, 1, 0x00010001}, {MSG_POINTER, 3, 3, 1}}));
}

// --- The wheel

TEST(Mouse, AWheelDeltaOfAQuarterIsTwoSteps) {
    const LoggedMessage step = {MSG_DOWN, 0x8003, 1, 0x00140010};
    EXPECT_EQ(Played("10 scroll 0 0.25 16 20\n"), (Messages{step, step}));
}

TEST(Mouse, AWheelDeltaOfOneAndAHalfIsSevenStepsAtMost) {
    EXPECT_EQ(Played("10 scroll 0 1.5 16 20\n"),
              Messages(7, LoggedMessage{MSG_DOWN, 0x8003, 1, 0x00140010}));
    EXPECT_EQ(Played("10 scroll 0 0.7 16 20\n"),
              Messages(7, LoggedMessage{MSG_DOWN, 0x8003, 1, 0x00140010}));
    EXPECT_EQ(Played("10 scroll 0 0.69 16 20\n"),
              Messages(6, LoggedMessage{MSG_DOWN, 0x8003, 1, 0x00140010}));
    EXPECT_EQ(Played("10 scroll 0 -1000000000000 16 20\n"),
              Messages(7, LoggedMessage{MSG_DOWN, 0x8003, 0xFFFFFFFF, 0x00140010}));
}

TEST(Mouse, AWheelDeltaBelowATenthIsNone) {
    EXPECT_EQ(Played("10 scroll 0 -0.05 1 1\n20 scroll 0.09 0.09 1 1\n"), Messages{});
}

TEST(Mouse, TheWheelGoesDownWithMinus1) {
    EXPECT_EQ(Played("10 scroll 0 -0.1 1 2\n"),
              (Messages{{MSG_DOWN, 0x8003, 0xFFFFFFFF, 0x00020001}}));
}

TEST(Mouse, TheHorizontalWheelFollowsTheVerticalOne) {
    EXPECT_EQ(Played("10 scroll -0.2 0.1 1 2\n"),
              (Messages{{MSG_DOWN, 0x8003, 1, 0x00020001},
                        {MSG_DOWN, 0x8004, 0xFFFFFFFF, 0x00020001},
                        {MSG_DOWN, 0x8004, 0xFFFFFFFF, 0x00020001}}));
}

TEST(Mouse, TheStepsOfAnEventThatSuspendsInputEndWithTheFirst) {
    LoggingModule module;
    module.on[MSG_DOWN] = "        PUSH.L  #1\n        SERVICE 0x0715, 4\n";
    EXPECT_EQ(PlayedWith(module, "10 scroll 0.5 0.5 1 2\n"),
              (Messages{{MSG_DOWN, 0x8003, 1, 0x00020001}}));
}

// --- Suspended input

TEST(Mouse, SuspendedInputDropsEverythingButKeepsTheButtons) {
    LoggingModule module;
    module.on[MSG_CHAR] = kSuspendOnDResumeOnR;
    EXPECT_EQ(PlayedWith(module,
                         "10 key-down 02 \"d\"\n30 mouse-down 0 1 1\n31 mouse-move 2 2\n"
                         "32 mouse-down 1 1 1\n33 mouse-up 1 1 1\n34 scroll 1 1 1 1\n"
                         "40 key-down 0F \"r\"\n41 mouse-move 5 6\n"),
              (Messages{{MSG_DOWN, 0x44, 1, 0},
                        {MSG_CHAR, 'd', 0, 0},
                        {MSG_CHAR, 'r', 0, 0},
                        {MSG_POINTER, 5, 6, 0x0001}}));
}

TEST(Mouse, AReleaseThatSuspendsInputIsNotFollowedByAPointerMessage) {
    LoggingModule module;
    module.on[MSG_UP] = "        PUSH.L  #1\n        SERVICE 0x0715, 4\n";
    EXPECT_EQ(PlayedWith(module, "10 mouse-down 0 1 1\n20 mouse-up 0 2 2\n"),
              (Messages{{MSG_DOWN, 1, 1, 0x00010001}, {MSG_UP, 1, 0, 0x00020002}}));
}

}  // namespace

}  // namespace moxi
