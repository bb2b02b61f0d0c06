// --record: a session as an event script, and the script played back.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/message_log.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

struct Recorded {
    std::string script;
    Messages messages;
    HeadlessResult result;
};

// Plays a script for two seconds of virtual time and records the session.
Recorded Record(const LoggingModule& module, const std::string& script, Strings options = {}) {
    const TemporaryFolder folder;
    const std::string file = folder.path + "/recorded";
    options.insert(options.end(), {"--run-ms", "2000", "--record", file});
    Recorded recorded;
    recorded.result = Play(module, script, options);
    EXPECT_EQ(recorded.result.status, 0);
    recorded.script = ReadTextFile(file);
    recorded.messages = LoggedMessages(recorded.result);
    return recorded;
}

// Records a session, plays the recording and records that: messages, log lines, script and the
// module's image are the same.
Recorded RecordAndPlayBack(const LoggingModule& module, const std::string& script) {
    const Recorded first = Record(module, script);
    const Recorded second = Record(module, first.script);
    EXPECT_EQ(second.messages, first.messages);
    EXPECT_EQ(second.script, first.script);
    EXPECT_EQ(second.result.lines, first.result.lines);
    EXPECT_EQ(second.result.image, first.result.image);
    return first;
}

LoggingModule Refusing() {
    LoggingModule module;
    module.on[MSG_CLOSE] = "        MOVE.B  [HDR_RESULT], #0\n";
    return module;
}

// Message 100 asks for a geometry.
LoggingModule Asking(const std::string& geometry) {
    LoggingModule module;
    module.on[100] = "        PUSH.L  #wanted\n        SERVICE 0x0709, 4\n";
    module.data = "wanted: .long " + geometry + "\n";
    return module;
}

TEST(Recording, OfAHeadlessRunIsTheScriptThatItPlayed) {
    const std::string script =
        "10 key-down 00 \"a\"\n"
        "11 key-down 2A \"\\\\\"\n"
        "12 key-down 24 \"\\x0D\"\n"
        "13 key-up 24 \"\\x0D\"\n"
        "14 key-down 21 \"\"\n"
        "15 key-down 0E \"\xC3\xA9\\\"\\n\\x09\"\n"
        "20 modifiers shift command option\n"
        "21 modifiers\n"
        "30 mouse-down 0 5 6 1\n"
        "31 mouse-drag 0 -7 8\n"
        "32 mouse-up 0 -7 8\n"
        "33 mouse-down 4 1 1 0\n"
        "34 mouse-move 9 10\n"
        "35 scroll -0.25 0.1 3 4\n"
        "36 scroll 0.0999999999 1000 3 4\n"
        "40 live-resize-start\n"
        "41 resize 700 500\n"
        "42 live-resize-end\n"
        "50 move -30 40\n"
        "60 minimize\n"
        "70 restore\n"
        "80 full-screen on\n"
        "90 full-screen off\n"
        "95 activate\n"
        "100 expose -1.5 0 3 10.25\n"
        "110 clipboard \"one\\ntwo \xE2\x82\xAC\"\n"
        "120 post 100 0x1 0xFFFFFFFF 0x0\n"
        "130 screens 1920x1080\n"
        "140 close\n"
        "150 quit\n";
    EXPECT_EQ(RecordAndPlayBack(Refusing(), script).script, script);
}

TEST(Recording, OfAPadHoldsTheButtonsAndSticksAndNotTheKeysThatTheyBecome) {
    const std::string script =
        "10 pad-button a down\n"
        "20 pad-button a up\n"
        "30 pad-axis leftx -0.75\n"
        "800 pad-axis leftx 0\n"
        "810 pad-button rightshoulder down\n"
        "820 pad-axis rightx 0.5\n"
        "900 pad-axis rightx 0\n"
        "910 pad-button rightshoulder up\n";
    const Recorded recorded = RecordAndPlayBack({}, script);
    EXPECT_EQ(recorded.script, script);
    // Left repeats while it is held: at 30, 530, 563 ... 794.
    EXPECT_EQ(std::count(recorded.messages.begin(), recorded.messages.end(),
                         LoggedMessage{MSG_DOWN, 37, 1, 0}),
              10);
}

TEST(Recording, PlayedBackGivesTheSameMessagesToAModuleWithATimer) {
    LoggingModule module = Refusing();
    module.timer = 30;
    module.ticks = true;
    module.on[MSG_DOWN] =
        "        PUSH.L  #2\n        SERVICE 0x0715, 4\n"
        "        PUSH.L  #0\n        SERVICE 0x0715, 4\n";
    const Recorded recorded = RecordAndPlayBack(
        module,
        "33 key-down 00 \"a\"\n35 mouse-move 1 1\n36 mouse-down 0 1 1\n37 mouse-up 0 1 1\n"
        "50 resize 700 500\n51 scroll 0 0.4 1 1\n120 full-screen on\n200 close\n");
    // The press is delivered at 40 ms, behind a tick. What falls into its Delay of 20 ms is written
    // with the time at which it was delivered.
    EXPECT_NE(recorded.script.find("37 mouse-up 0 1 1\n60 resize 700 500\n60 scroll 0 0.4 1 1\n"),
              std::string::npos)
        << recorded.script;
}

TEST(Recording, OfCommandQHoldsTheKeyAndNotTheQuitThatItCauses) {
    const std::string script =
        "10 modifiers command\n20 key-down 0C \"q\"\n30 key-up 0C \"q\"\n40 modifiers\n";
    const Recorded refused = RecordAndPlayBack(Refusing(), script);
    EXPECT_EQ(refused.script, script);
    EXPECT_EQ(
        std::count(refused.messages.begin(), refused.messages.end(), LoggedMessage{MSG_CLOSE}), 1);
    const Recorded quit = RecordAndPlayBack({}, script);
    EXPECT_EQ(quit.script, "10 modifiers command\n20 key-down 0C \"q\"\n");
    EXPECT_EQ(quit.messages.back(), (LoggedMessage{MSG_CLOSE}));
}

TEST(Recording, AQuitAfterARefusedCommandQIsACauseOfItsOwn) {
    const std::string script = "10 modifiers command\n20 key-down 0C \"q\"\n30 quit\n";
    EXPECT_EQ(RecordAndPlayBack(Refusing(), script).script, script);
}

TEST(Recording, OfTheOtherMenuKeysHoldsTheKeysAlone) {
    const std::string script =
        "10 modifiers command\n20 key-down 2E \"m\"\n30 restore\n40 minimize\n50 restore\n"
        "60 key-down 0D \"w\"\n70 close\n80 modifiers option\n90 key-down 24 \"\\x0D\"\n"
        "95 key-up 24 \"\\x0D\"\n100 key-down 24 \"\\x0D\"\n110 full-screen on\n";
    EXPECT_EQ(RecordAndPlayBack(Refusing(), script).script, script);
}

TEST(Recording, OfAClosedWindowHoldsOneCloseAndNoQuit) {
    const Recorded recorded = RecordAndPlayBack({}, "10 close\n");
    EXPECT_EQ(recorded.script, "10 close\n");
    EXPECT_EQ(recorded.result.lines, Strings{"log: windowWillClose"});
}

TEST(Recording, WhatTheModuleAsksForIsNoEvent) {
    EXPECT_EQ(
        RecordAndPlayBack(Asking("200, 150, 800, 500, 0"), "10 post 100 0x0 0x0 0x0\n").script,
        "10 post 100 0x0 0x0 0x0\n");
    const std::string fullScreen =
        "10 post 100 0x0 0x0 0x0\n20 full-screen off\n30 post 100 0x0 0x0 0x0\n";
    EXPECT_EQ(RecordAndPlayBack(Asking("200, 150, 800, 500, 1"), fullScreen).script, fullScreen);
}

TEST(Recording, AFrameThatTheHostGivesToACollapsedWindowIsNoEvent) {
    const std::string script = "10 resize 15 500\n20 full-screen on\n30 full-screen off\n";
    EXPECT_EQ(RecordAndPlayBack({}, script).script, script);
}

TEST(Recording, HoldsTheFullScreenOfTheCommandLine) {
    const Recorded recorded = Record({}, "", {"--full-screen"});
    EXPECT_EQ(recorded.script, "0 full-screen on\n");
    EXPECT_EQ(Record({}, recorded.script).messages, recorded.messages);
}

TEST(Recording, EndsWithTheChangeOfTheDisplaysThatEndsTheGame) {
    const std::string script = "10 mouse-move 1 1\n20 screens 800x600,640x480\n";
    EXPECT_EQ(RecordAndPlayBack({}, script + "30 mouse-move 2 2\n").script, script);
}

TEST(Recording, LeavesOutMovesThatAreDropped) {
    LoggingModule module;
    module.timer = 60000;
    EXPECT_EQ(RecordAndPlayBack(module,
                                "101 mouse-down 0 1 1\n102 mouse-drag 0 2 2\n103 mouse-move 3 3\n"
                                "110 mouse-drag 0 4 4\n120 mouse-move 5 5\n")
                  .script,
              "101 mouse-down 0 1 1 1\n110 mouse-drag 0 4 4\n120 mouse-move 5 5\n");
}

TEST(Recording, HoldsScreenshotsWithTheirFileNames) {
    const TemporaryFolder folder;
    const std::string script = "10 screenshot \"" + folder.path + "/a.png\"\n";
    EXPECT_EQ(RecordAndPlayBack({}, script).script, script);
}

}  // namespace

}  // namespace moxi
