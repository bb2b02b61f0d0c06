// The headless desktop's loop and its virtual clock, as a module sees them.

#include <gtest/gtest.h>

#include "desktop/headless/headless_desktop.h"
#include "tests/support/message_log.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

HeadlessResult Played(const LoggingModule& module, const std::string& script = "",
                      const Strings& options = {}) {
    HeadlessResult result = Play(module, script, options);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    return result;
}

u32 Ticks(const HeadlessResult& result) {
    u32 count = 0;
    for (const LoggedMessage& message : LoggedMessages(result)) {
        count += message.command == 11;
    }
    return count;
}

LoggingModule WithTicks() {
    LoggingModule module;
    module.ticks = true;
    return module;
}

TEST(HeadlessLoop, EndsAfterOneSecondOrOneSecondAfterTheLastEvent) {
    // A tick each 80 ms: the last at 960, or at 1,440.
    EXPECT_EQ(Ticks(Played(WithTicks())), 12u);
    EXPECT_EQ(Ticks(Played(WithTicks(), "500 activate\n")), 18u);
}

TEST(HeadlessLoop, TheEndIncludesItsOwnMillisecondAndSendsNoMessage) {
    const Messages messages = MessagesAfterStart(
        Played({}, "50 mouse-move 1 1\n51 mouse-move 2 2\n", {"--run-ms", "50"}));
    EXPECT_EQ(messages, (Messages{{MSG_POINTER, 1, 1, 0}}));
}

TEST(HeadlessLoop, EachReadingOfTheClockPassesFiftyMicroseconds) {
    LoggingModule module;
    // The 61st reading is the first that says 3 ms.
    module.on[MSG_START2] =
        "@read:  SERVICE 0x0201, 0\n"
        "        ADD.L   [count], #1\n"
        "        CMP.L   R14, #3\n"
        "        BLT     @read\n";
    module.data = "count: .long 0\n";
    EXPECT_EQ(Played(module).LongAt("count"), 61u);
}

TEST(HeadlessLoop, WorkThatWaitsIsNotQueuedASecondTime) {
    static int done = 0;
    done = 0;
    const Desktop before = desktop;
    HeadlessOptions options;
    options.runMilliseconds = 10;
    StartHeadlessDesktop(options);
    for (int i = 0; i < 1000; ++i) {
        desktop.queueOnMain([] { ++done; });
        desktop.queueOnMain([] { done += 1000; });
    }
    desktop.runEventLoop();
    desktop = before;
    EXPECT_EQ(done, 1001);
}

TEST(HeadlessLoop, ADelayPassesTimeForTheDateToo) {
    LoggingModule module;
    module.on[100] =
        "        PUSH.L  #250\n        SERVICE 0x0715, 4\n"
        "        PUSH.L  #date\n        SERVICE 0x0202, 4\n";
    module.data = "date: .space 20\n";
    // 1,600 ms and 2,500 more.
    EXPECT_EQ(
        Played(module, "1600 post 100 0 0 0\n", {"--date", "2023-12-31 23:59:57"}).TextAt("date"),
        "2024-01-01 00:00:01");
}

TEST(HeadlessLoop, WhatWasDueBeforeTheEndStillHappensWhenAModuleWaitsBeyondIt) {
    LoggingModule module;
    module.on[100] =
        "        PUSH.L  #50\n        SERVICE 0x0715, 4\n"
        "        PUSH.L  #0\n        SERVICE 0x0715, 4\n";
    // The post waits from 60 ms to 560; the moves of 70 and 100 come then, with input still
    // suspended, the one of 101 not at all. Only the text of a key gets through.
    const HeadlessResult result =
        Played(module,
               "60 post 100 0 0 0\n70 mouse-move 1 1\n100 key-down 00 \"a\"\n"
               "101 key-down 00 \"b\"\n",
               {"--run-ms", "100"});
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{100, 0, 0, 0}, {MSG_CHAR, 'a', 0, 0}}));
}

TEST(HeadlessLoop, EventsComeBeforeQueuedWork) {
    LoggingModule module;
    module.on[100] =
        "        PUSH.L  #1\n        SERVICE 0x0715, 4\n"
        "        PUSH.L  #0\n        SERVICE 0x0715, 4\n";
    // The message ends at 60 ms. The move of 60 comes before the work that lets input in again.
    EXPECT_EQ(MessagesAfterStart(Played(module,
                                        "50 post 100 0 0 0\n60 mouse-move 1 1\n"
                                        "61 mouse-move 2 2\n")),
              (Messages{{100, 0, 0, 0}, {MSG_POINTER, 2, 2, 0}}));
}

TEST(HeadlessLoop, TheWaitingRedrawComesBehindEventsAndBeforeTimers) {
    LoggingModule module = WithTicks();
    module.on[100] =
        "        PUSH.L  #0\n        PUSH.L  #0xFF0000FF\n        PUSH.L  #10\n"
        "        PUSH.L  #10\n        PUSH.L  #0\n        PUSH.L  #0\n        PUSH.L  #0\n"
        "        SERVICE 0x0501, 28\n        MODAL.N\n";
    // The 16th idle host tick is due at 80 ms, too.
    EXPECT_EQ(MessagesAfterStart(
                  Played(module, "80 post 100 0 0 0\n80 mouse-move 1 1\n", {"--run-ms", "80"})),
              (Messages{{100, 0, 0, 0}, {MSG_POINTER, 1, 1, 0}, {MSG_PRESENTED}, {MSG_TICK}}));
}

TEST(HeadlessLoop, EventsOfTheSameTimeComeInTheOrderOfTheFile) {
    EXPECT_EQ(MessagesAfterStart(Played({},
                                        "50 mouse-move 1 1\n50 post 100 0 0 0\n"
                                        "50 mouse-move 2 2\n")),
              (Messages{{MSG_POINTER, 1, 1, 0}, {100, 0, 0, 0}, {MSG_POINTER, 2, 2, 0}}));
}

TEST(HeadlessLoop, EventsOfTime0ComeRightAfterTheLaunch) {
    EXPECT_EQ(LoggedMessages(Played({}, "0 mouse-move 1 1\n")),
              (Messages{{MSG_START1},
                        {MSG_START2},
                        {MSG_SIZE, 1000, 600, 0},
                        {MSG_MOVE, 100, 100, 0},
                        {MSG_POINTER, 1, 1, 0},
                        {MSG_SIZE, 1000, 600, 0}}));
}

TEST(HeadlessLoop, TwoRunsAreTheSameToTheByte) {
    LoggingModule module = WithTicks();
    module.timer = 7;
    const std::string script =
        "20 key-down 00 \"a\"\n33 resize 700 500\n50 full-screen on\n90 scroll 0.3 0.3 1 1\n";
    const Strings options = {"--date", "2024-01-01 00:00:00"};
    const HeadlessResult first = Played(module, script, options);
    const HeadlessResult second = Played(module, script, options);
    EXPECT_EQ(first.image, second.image);
    EXPECT_EQ(first.data, second.data);
}

}  // namespace

}  // namespace moxi
