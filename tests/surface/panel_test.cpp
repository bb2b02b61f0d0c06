// The panel in the whole program, headless: what the game sees of it, which is nothing, what the
// player changes in it, and what is seen.

#include "surface/panel.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/message_log.h"
#include "tests/support/picture.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

const std::string kOpen =
    "modifiers command\n# key-down 2B \",\"\n# key-up 2B \",\"\n# modifiers\n";

// Script lines at a time; each further one begins with "# " and has the same time.
std::string At(u32 time, const std::string& lines) {
    std::string script = std::to_string(time) + " " + lines;
    for (size_t at = 0; (at = script.find("# ", at)) != std::string::npos;) {
        script.replace(at, 2, std::to_string(time) + " ");
    }
    if (script.back() != '\n') {
        script += '\n';
    }
    return script;
}

const std::string kEscapeKey = "key-down 35 \"\\x1B\"\n# key-up 35 \"\\x1B\"\n";

std::string Key(const std::string& code, const std::string& text = "") {
    return "key-down " + code + " \"" + text + "\"\n# key-up " + code + " \"" + text + "\"\n";
}

const std::string kTab = Key("30", "\\x09");
const std::string kRight = Key("7C", "\\x1D");
const std::string kLeft = Key("7B", "\\x1C");
const std::string kSpace = Key("31", " ");
const std::string kReturn = Key("24", "\\x0D");

LoggingModule WithTimer() {
    LoggingModule module;
    module.timer = 30;
    module.ticks = true;
    return module;
}

struct Session {
    HeadlessResult result;
    Messages messages;
    std::string preferences;  // the file afterwards
    std::string controls;     // of the panel, if it is open at the end
    std::string recording;
};

// Plays a script for two seconds, or for another time, with this file of preferences.
Session PlaySession(const std::string& script, const LoggingModule& module = {},
                    const std::string& preferences = "", u32 milliseconds = 2000) {
    const TemporaryFolder folder;
    const std::string file = folder.path + "/config/moxi/preferences";
    if (!preferences.empty()) {
        std::filesystem::create_directories(folder.path + "/config/moxi");
        WriteTextFile(file, preferences);
    }
    Session session;
    session.result =
        Play(module, script,
             {"--run-ms", std::to_string(milliseconds), "--preferences", file, "--dump-ui",
              folder.path + "/ui", "--record", folder.path + "/recorded"});
    EXPECT_EQ(session.result.status, 0);
    session.messages = LoggedMessages(session.result);
    session.preferences = ReadTextFile(file);
    session.controls = ReadTextFile(folder.path + "/ui");
    session.recording = ReadTextFile(folder.path + "/recorded");
    return session;
}

// What the game got after the start, without ticks and the moves of the pointer.
Messages Told(const Session& session) {
    Messages told = MessagesAfterStart(session.result);
    std::erase_if(told, [](const LoggedMessage& message) { return message.command == MSG_TICK; });
    return told;
}

// --- The game

TEST(PanelAndGame, WhileThePanelIsOpenTheGameGetsNeitherTimeNorEvents) {
    // The game is told of the release of Command, its second message, at the second tick from 300
    // on. So it stands still from 305 to 1300.
    const std::string script = At(300, kOpen) + At(400, "mouse-move 5 6") +
                               At(401, "mouse-down 0 5 6\n# mouse-up 0 5 6") +
                               At(402, "scroll 0 1 5 6") + At(500, Key("00", "a")) +
                               At(600, "activate") + At(1300, kEscapeKey);
    const Session with = PlaySession(script, WithTimer());
    const Session without =
        PlaySession("300 modifiers command\n300 modifiers\n", WithTimer(), "", 1005);
    EXPECT_EQ(with.messages, without.messages);
    // Its clock and everything else in its memory are those of a game of one second, too.
    EXPECT_EQ(with.result.image, without.result.image);
    EXPECT_EQ(with.recording, "300 modifiers command\n300 modifiers\n305 activate\n");
}

TEST(PanelAndGame, ARecordingPlaysWithoutThePanel) {
    const std::string script = At(100, Key("00", "a")) + At(300, "key-down 0D \"w\"\n# " + kOpen) +
                               At(500, kRight) + At(900, "post 100 1 2 3") + At(1300, kEscapeKey) +
                               At(1500, Key("01", "s"));
    // A module without a timer is told everything at once, so it stands still from 300 on; the
    // other one has four messages to be told of.
    for (const auto& [module, lasts] : {std::pair{LoggingModule{}, 1000U}, {WithTimer(), 1015U}}) {
        const Session recorded = PlaySession(script, module);
        const Session again = PlaySession(recorded.recording, module, "", lasts);
        EXPECT_EQ(again.messages, recorded.messages);
        EXPECT_EQ(again.result.image, recorded.result.image);
        EXPECT_EQ(again.recording, recorded.recording);
    }
}

TEST(PanelAndGame, WhatIsHeldIsReleasedFirstAndStaysSoUntilItIsPressedAnew) {
    const std::string script =
        At(100, "key-down 0D \"w\"") + At(110, "mouse-down 0 7 8") + At(120, "modifiers shift") +
        At(300, "modifiers shift command\n# key-down 2B \",\"") +
        // No such key: it has Shift.
        At(310, "key-up 2B \",\"\n# modifiers command\n# key-down 2B \",\"\n# key-up 2B \",\"\n") +
        At(320, "modifiers") + At(1000, "mouse-up 0 9 9") + At(1300, kEscapeKey) +
        At(1400, "key-down 0D \"w\"") + At(1410, "key-up 0D \"w\"") + At(1420, "mouse-move 3 4") +
        At(1500, "key-down 0D \"w\"") + At(1510, "key-up 0D \"w\"");
    const u32 w = 0x77;
    EXPECT_EQ(Told(PlaySession(script)), (Messages{{MSG_DOWN, 'W', 1, 0},
                                                   {MSG_CHAR, w, 0, 0},
                                                   {MSG_DOWN, 1, 1, 8 << 16 | 7},
                                                   {MSG_DOWN, 16, 0, 0},
                                                   {MSG_DOWN, 17, 0, 0},
                                                   {MSG_DOWN, 0xBC, 1, 0},
                                                   {MSG_CHAR, ',', 0, 0},
                                                   {MSG_UP, 0xBC, 1, 0},
                                                   {MSG_UP, 16, 0, 0},
                                                   // Here the panel opens.
                                                   {MSG_UP, 'W', 1, 0},
                                                   {MSG_UP, 1, 8, 8 << 16 | 7},
                                                   {MSG_POINTER, 7, 8, 8},
                                                   {MSG_UP, 17, 0, 0},
                                                   // And here it is closed.
                                                   {MSG_POINTER, 3, 4, 0},
                                                   {MSG_DOWN, 'W', 1, 0},
                                                   {MSG_CHAR, w, 0, 0},
                                                   {MSG_UP, 'W', 1, 0}}));
}

TEST(PanelAndGame, WhatBecomesOfTheWindowIsToldWhenThePanelCloses) {
    const Session session =
        PlaySession(At(300, kOpen) + At(400, "resize 700 500") + At(500, "move 20 30") +
                    At(600, "resize 800 600") + At(610, "minimize") + At(620, "restore") +
                    At(630, "full-screen on") + At(640, "full-screen off") +
                    At(650, "expose 0 0 10 10") + At(1300, kEscapeKey));
    EXPECT_EQ(Told(session), (Messages{{MSG_DOWN, 17, 0, 0},
                                       {MSG_UP, 17, 0, 0},
                                       {MSG_MOVE, 20, 30, 0},
                                       {MSG_SIZE, 800, 600, kSizeWindowed},
                                       {MSG_SIZE, 800, 600, kSizeWindowed}}));
}

TEST(PanelAndGame, FullScreenFromThePanelIsToldAsIfThePlayerHadDoneItAfterwards) {
    const Session session = PlaySession(At(300, kOpen) + At(310, Key("74")) +
                                        At(320, "modifiers option\n# " + kReturn + "# modifiers") +
                                        At(1300, kEscapeKey));
    const std::string played = session.recording.substr(0, session.recording.find("full-screen"));
    EXPECT_EQ(played, "300 modifiers command\n300 modifiers\n300 ");
    const Session plain = PlaySession("300 modifiers command\n300 modifiers\n300 full-screen on\n");
    EXPECT_EQ(Told(session), Told(plain));
}

TEST(PanelAndGame, ARequestToCloseClosesThePanelAndAsksTheGame) {
    LoggingModule refusing;
    refusing.on[MSG_CLOSE] = "        MOVE.B  [HDR_RESULT], #0\n";
    for (const char* const request : {"close", "quit"}) {
        const Session refused =
            PlaySession(At(300, kOpen) + At(500, request) + At(600, Key("00", "a")), refusing);
        EXPECT_EQ(refused.controls, "");
        EXPECT_EQ(Told(refused), (Messages{{MSG_DOWN, 17, 0, 0},
                                           {MSG_UP, 17, 0, 0},
                                           {MSG_CLOSE, 0, 0, 0},
                                           {MSG_DOWN, 'A', 1, 0},
                                           {MSG_CHAR, 'a', 0, 0},
                                           {MSG_UP, 'A', 1, 0}}));
        const Session agreed = PlaySession(At(300, kOpen) + At(500, request));
        EXPECT_EQ(Told(agreed).back().command, u32{MSG_CLOSE});
    }
    // So does the menu's key.
    const Session key =
        PlaySession(At(300, kOpen) + At(500, "modifiers command\n# key-down 0C \"q\""));
    EXPECT_EQ(Told(key).back().command, u32{MSG_CLOSE});
}

TEST(PanelAndGame, TheSameKeyClosesItAndDoesNotRepeat) {
    const Session session = PlaySession(At(300, kOpen) + At(1300, kOpen));
    EXPECT_EQ(session.controls, "");
    const Session held = PlaySession(At(
        300, "modifiers command\n# key-down 2B \",\"\n# key-down 2B \",\"\n# key-down 2B \",\""));
    EXPECT_NE(held.controls, "");
}

TEST(PanelAndGame, AGameThatHasNotBegunOrHasEndedHasNoPanel) {
    LoggingModule suspending;
    suspending.on[MSG_CHAR] = kSuspendOnDResumeOnR;
    EXPECT_EQ(PlaySession(At(100, Key("02", "d")) + At(300, kOpen), suspending).controls, "");
}

TEST(PanelAndGame, TheGamepadOpensItMovesInItAndIsReleasedFirst) {
    const std::string script = At(100, "pad-button dpleft down") +
                               At(300, "pad-button guide down\n# pad-button guide up") +
                               At(400, "pad-button dpdown down\n# pad-button dpdown up") +
                               At(410, "pad-button dpleft up") +
                               At(500, "pad-button dpleft down\n# pad-button dpleft up") +
                               At(600, "pad-axis leftx -1\n# pad-axis leftx 0") +
                               At(1300, "pad-button b down\n# pad-button b up");
    const Session session = PlaySession(script);
    EXPECT_EQ(session.controls, "");
    EXPECT_EQ(session.preferences, "music-volume = 90\n");
    EXPECT_EQ(Told(session),
              (Messages{{MSG_DOWN, 0x25, 1, 0}, {MSG_CHAR, 0x1C, 0, 0}, {MSG_UP, 0x25, 1, 0}}));
    EXPECT_EQ(session.recording, "100 pad-button dpleft down\n300 pad-button dpleft up\n");
}

TEST(PanelAndGame, AHeldDirectionRepeatsThereAlthoughTheGamesTimersAreHeld) {
    // Down to the music's slider; left at 500 moves it by 5, and again at 1000, 1033 and 1066.
    const std::string script = At(300, "pad-button guide down\n# pad-button guide up") +
                               At(400, "pad-button dpdown down\n# pad-button dpdown up") +
                               At(500, "pad-button dpleft down") +
                               At(1080, "pad-button dpleft up") +
                               At(1300, "pad-button b down\n# pad-button b up");
    EXPECT_EQ(PlaySession(script).preferences, "music-volume = 80\n");
    EXPECT_EQ(PlaySession(script, WithTimer()).preferences, "music-volume = 80\n");
    // The stick likewise; and with the panel closed nothing goes on.
    const std::string stick = At(300, "pad-button guide down\n# pad-button guide up") +
                              At(400, "pad-button dpdown down\n# pad-button dpdown up") +
                              At(500, "pad-axis leftx -1") +
                              At(1010, "pad-button b down\n# pad-button b up");
    const Session session = PlaySession(stick);
    EXPECT_EQ(session.preferences, "music-volume = 90\n");
    EXPECT_EQ(Told(session), Messages{});
}

TEST(PanelAndGame, AModifierKeyOfTheGamepadIsReleasedFirst) {
    const std::string script =
        At(100, "pad-button x down") + At(300, "pad-button guide down\n# pad-button guide up") +
        At(400, "pad-button x up") + At(1300, kEscapeKey) + At(1400, Key("00", "a"));
    const Session session = PlaySession(script, {}, "pad.x = shift\n");
    EXPECT_EQ(session.controls, "");
    EXPECT_EQ(Told(session), (Messages{{MSG_DOWN, 0x10, 0, 0},
                                       {MSG_UP, 0x10, 0, 0},
                                       {MSG_DOWN, 0x41, 1, 0},
                                       {MSG_CHAR, 0x61, 0, 0},
                                       {MSG_UP, 0x41, 1, 0}}));
}

TEST(PanelAndGame, WhatATriggerReleasesByOpeningItIsRecorded) {
    const std::string script = At(100, "key-down 0D \"w\"") +
                               At(300, "pad-axis lefttrigger 1\n# pad-axis lefttrigger 0") +
                               At(400, "key-up 0D \"w\"") + At(1300, kEscapeKey);
    const Session session = PlaySession(script, {}, "pad.lefttrigger = panel\n");
    EXPECT_EQ(session.recording,
              "100 key-down 0D \"w\"\n300 pad-axis lefttrigger 1\n"
              "300 pad-axis lefttrigger 0\n300 key-up 0D \"w\"\n");
}

TEST(PanelAndGame, AStickThatThePanelHadMovesNothingUntilItIsLetGo) {
    const std::string script =
        At(300, "pad-button guide down\n# pad-button guide up") + At(400, "pad-axis rightx 1") +
        At(500, kEscapeKey) + At(600, "pad-axis rightx 0.9") + At(1000, "pad-axis rightx 0") +
        At(1200, "pad-button rightshoulder down\n# pad-button rightshoulder up");
    const Session session = PlaySession(script);
    const Session again = PlaySession(session.recording, {}, "", 1800);
    EXPECT_EQ(again.messages, session.messages);
    EXPECT_EQ(again.result.image, session.result.image);
    EXPECT_EQ(session.recording,
              "1000 pad-button rightshoulder down\n1000 pad-button rightshoulder up\n");
}

TEST(PanelAndGame, ATriggerThatOpensThePanelClosesItAndDoesNotWaver) {
    // Pulled slowly: each way beyond the half it is one press.
    std::string script;
    u32 time = 300;
    for (const char* const value : {"0.3", "0.6", "0.9", "1", "0.6", "0.2", "0"}) {
        script += At(time += 10, std::string("pad-axis lefttrigger ") + value);
    }
    const std::string preferences = "pad.lefttrigger = panel\n";
    EXPECT_NE(PlaySession(script, {}, preferences).controls, "");
    for (const char* const value : {"0.4", "0.7", "1", "0.7", "0"}) {
        script += At(time += 10, std::string("pad-axis lefttrigger ") + value);
    }
    EXPECT_EQ(PlaySession(script, {}, preferences).controls, "");
    script += At(time += 10, "pad-axis lefttrigger 1");
    EXPECT_NE(PlaySession(script, {}, preferences).controls, "");
}

TEST(PanelAndGame, AButtonThatOpensThePanelClosesIt) {
    const std::string press = "pad-button a down\n# pad-button a up";
    const std::string preferences = "pad.a = panel\n";
    EXPECT_NE(PlaySession(At(300, press), {}, preferences).controls, "");
    EXPECT_EQ(PlaySession(At(300, press) + At(400, press), {}, preferences).controls, "");
}

TEST(PanelAndGame, AStickThatStoodStillThroughThePanelIsForgotten) {
    // The right stick stays to the right; up and down alone move the pointer later.
    const std::string script = At(100, "mouse-move 500 300") + At(300, kOpen) +
                               At(400, "pad-axis rightx 1") + At(500, kEscapeKey) +
                               At(600, "pad-axis righty 1") + At(650, "pad-axis righty 0");
    const Messages told = Told(PlaySession(script));
    ASSERT_GT(told.size(), 4u);
    for (const LoggedMessage& message : told) {
        if (message.command == MSG_POINTER) {
            EXPECT_EQ(message.p1, 500u);
        }
    }
    EXPECT_GT(told.back().p2, 300u);
}

TEST(PanelAndGame, WhatAPadPressesWhileTheWindowIsNotActiveIsNothing) {
    const std::string preferences = "pause-when-inactive = yes\npad.x = shift\n";
    const std::string script =
        At(200, "deactivate") + At(300, "pad-button x down") +
        At(310, "pad-button rightshoulder down") + At(320, "pad-axis leftx 1") +
        At(400, "activate") + At(500, "pad-button dpup down\n# pad-button dpup up") +
        At(600, "pad-button x up\n# pad-button rightshoulder up") + At(700, "pad-axis leftx 0");
    EXPECT_EQ(Told(PlaySession(script, {}, preferences)),
              (Messages{{MSG_DOWN, 0x26, 1, 0}, {MSG_CHAR, 0x1E, 0, 0}, {MSG_UP, 0x26, 1, 0}}));
}

// --- Choices

TEST(PanelChoices, ASliderIsMovedByKeysAndSavedWhenThePanelCloses) {
    const std::string moved = At(300, kOpen) + At(400, kTab) + At(410, kLeft + "# " + kLeft);
    EXPECT_EQ(PlaySession(moved + At(500, kEscapeKey)).preferences, "music-volume = 90\n");
    // An end with the panel open saves, too.
    EXPECT_EQ(PlaySession(moved).preferences, "music-volume = 90\n");
    EXPECT_EQ(PlaySession(moved + At(420, Key("73", "\\x01"))).preferences, "music-volume = 0\n");
    EXPECT_EQ(PlaySession(moved + At(420, kRight), {}, "# mine\nmusic-volume = 33\n").preferences,
              "# mine\nmusic-volume = 30\n");
}

TEST(PanelChoices, AGameMayHaveItsOwn) {
    // The scope first, then the third control below it: mute.
    const std::string script = At(300, kOpen) + At(400, kRight) +
                               At(410, kTab + "# " + kTab + "# " + kTab + "# " + kSpace);
    EXPECT_EQ(PlaySession(script + At(500, kEscapeKey), {}, "mute = no\n").preferences,
              "mute = no\n\n[game game]\nmute = yes\n");
}

TEST(PanelChoices, ResetAsksFirst) {
    const std::string file = "# mine\nmute = yes\nkey.w = up\n";
    const std::string press = At(400, "key-down 30 \"\\x09\"\n# key-up 30 \"\\x09\"\n");
    // Backwards: over the tabs to the end of the order, which is Reset.
    std::string script = At(300, kOpen);
    for (int i = 0; i < 6; ++i) {
        script += At(310, "modifiers shift\n# " + kTab + "# modifiers");
    }
    EXPECT_EQ(PlaySession(script + At(400, kReturn) + At(500, kEscapeKey), {}, file).preferences,
              file);
    EXPECT_EQ(
        PlaySession(script + At(400, kReturn + "# " + kReturn) + At(500, kEscapeKey), {}, file)
            .preferences,
        "# mine\n");
}

TEST(PanelChoices, AKeyIsMappedByPressingItAndThenTheOther) {
    // The page of keys by its tab: the fourth.
    std::string script = At(300, kOpen) + At(310, Key("73", "\\x01")) +
                         At(320, kRight + "# " + kRight + "# " + kRight) +
                         At(330, kTab + "# " + kTab + "# " + kTab) + At(340, kReturn) +
                         At(350, Key("0D", "w")) + At(360, Key("7E", "\\x1E"));
    const Session open = PlaySession(script);
    EXPECT_NE(open.controls.find("row key.w \"W\" value \"plays as Up arrow\""), std::string::npos)
        << open.controls;
    const Session closed = PlaySession(script + At(500, kEscapeKey) + At(600, Key("0D", "w")));
    EXPECT_EQ(closed.preferences, "key.w = up\n");
    const Messages told = Told(closed);
    ASSERT_EQ(told.size(), 5u);
    EXPECT_EQ(told[2], (LoggedMessage{MSG_DOWN, 0x26, 1, 0}));
    EXPECT_EQ(told[3], (LoggedMessage{MSG_CHAR, 0x1E, 0, 0}));
    EXPECT_EQ(told[4], (LoggedMessage{MSG_UP, 0x26, 1, 0}));
    // What was played is recorded, so that it plays the same for everybody.
    EXPECT_NE(closed.recording.find("key-down 7E \"\\x1E\""), std::string::npos);
    // Escape takes nothing.
    EXPECT_EQ(PlaySession(At(300, kOpen) + At(310, Key("73", "\\x01")) +
                          At(320, kRight + "# " + kRight + "# " + kRight) +
                          At(330, kTab + "# " + kTab + "# " + kTab) + At(340, kReturn) +
                          At(350, kEscapeKey) + At(360, kEscapeKey))
                  .preferences,
              "");
}

TEST(PanelChoices, KeysOfTheMenuAreNotMapped) {
    LoggingModule module;
    const Session session =
        PlaySession(At(300, "modifiers command\n# key-down 0C \"q\""), module, "key.q = a\n");
    EXPECT_EQ(Told(session).back().command, u32{MSG_CLOSE});
}

TEST(PanelChoices, AControlOfTheGamepadIsChosenFromAListOrByAKey) {
    std::string script = At(300, kOpen) + At(310, Key("73", "\\x01"));
    for (int i = 0; i < 4; ++i) {
        script += At(320, kRight);
    }
    script += At(330, kTab + "# " + kTab) + At(340, kReturn);
    EXPECT_EQ(PlaySession(script + At(350, Key("0F", "r")) + At(400, kEscapeKey)).preferences,
              "pad.a = r\n");
    EXPECT_EQ(
        PlaySession(script + At(350, Key("7D", "\\x1F") + "# " + kReturn) + At(400, kEscapeKey))
            .preferences,
        "pad.a = space\n");
}

TEST(PanelChoices, TheFolderOfScreenshotsIsTyped) {
    std::string script =
        At(300, kOpen) + At(310, Key("73", "\\x01")) + At(320, kRight + "# " + kRight);
    for (int i = 0; i < 6; ++i) {
        script += At(330, kTab);
    }
    script += At(340, Key("2C", "/") + "# " + Key("00", "a") + "# " + Key("0B", "b") + "# " +
                          Key("33", "\\x08"));
    EXPECT_EQ(PlaySession(script + At(400, kEscapeKey)).preferences, "screenshot-folder = /a\n");
}

TEST(PanelChoices, TheMouseSwitchesDragsAndScrolls) {
    const Session open = PlaySession(At(300, kOpen));
    // The window is 1000 x 600, so the panel is 640 wide in its middle.
    EXPECT_NE(open.controls.find("check mute \"Mute\" value \"off\" at 200,269 600x38\n"),
              std::string::npos)
        << open.controls;
    const Session session =
        PlaySession(At(300, kOpen) + At(400, "mouse-down 0 300 280\n# mouse-up 0 300 280") +
                    At(410, "mouse-down 0 600 208") + At(420, "mouse-drag 0 550 300") +
                    At(430, "mouse-up 0 550 300") + At(500, kEscapeKey));
    // The knob's way is 228 wide and begins at 498.
    EXPECT_EQ(session.preferences, "mute = yes\nmusic-volume = 23\n");
    EXPECT_EQ(Told(session).size(), 2u);
}

TEST(PanelChoices, TheCommandLineWinsForItsRun) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/p", "music-volume = 80\n");
    const HeadlessResult result = Play({}, At(300, kOpen),
                                       {"--preferences", folder.path + "/p", "--music-volume", "15",
                                        "--dump-ui", folder.path + "/ui", "--mute"});
    const std::string controls = ReadTextFile(folder.path + "/ui");
    EXPECT_NE(controls.find("slider music-volume \"Music volume\" value \"15 %\""),
              std::string::npos);
    EXPECT_NE(controls.find("note no-sound"), std::string::npos);
    EXPECT_EQ(ReadTextFile(folder.path + "/p"), "music-volume = 80\n");
}

TEST(PanelChoices, AHeadlessRunReadsNobodysPreferences) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.path + "/moxi");
    WriteTextFile(folder.path + "/moxi/preferences", "nonsense\nmute = yes\n");
    setenv("XDG_CONFIG_HOME", folder.path.c_str(), 1);
    const HeadlessResult result = Play({}, At(300, kOpen), {"--dump-ui", folder.path + "/ui"});
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(result.lines, Strings{});
    EXPECT_NE(ReadTextFile(folder.path + "/ui").find("check mute \"Mute\" value \"off\""),
              std::string::npos);
}

// --- What is seen

TEST(PanelPicture, ScreenshotsAndDumpsShowThePanelAndThenTheGameAgain) {
    const TemporaryFolder folder;
    const auto dump = [&](const std::string& name, const std::string& script) {
        Play({}, script, {"--dump-view", folder.path + "/" + name});
        return ReadTextFile(folder.path + "/" + name);
    };
    const std::string plain = dump("plain", "300 modifiers command\n300 modifiers\n");
    EXPECT_NE(dump("open", At(300, kOpen)), plain);
    EXPECT_EQ(dump("closed", At(300, kOpen) + At(400, kEscapeKey)), plain);
}

TEST(PanelPicture, RightGoesThroughAllTabsAndLeftBackAlsoWhereTheyHaveTwoRows) {
    // German has two rows of them in a window of 300 x 200.
    setenv("LANGUAGE", "de", 1);
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    std::string script = At(10, "resize 300 200") + At(300, kOpen) + At(310, Key("73", "\\x01"));
    for (int i = 0; i < 4; ++i) {
        script += At(320, kRight);
    }
    const std::string last = PlaySession(script).controls;
    const std::string first =
        PlaySession(script + At(330, kLeft + "# " + kLeft + "# " + kLeft + "# " + kLeft)).controls;
    unsetenv("LC_ALL");
    unsetenv("LANGUAGE");
    const auto line = [](const std::string& controls, const std::string& begin) {
        const size_t at = controls.find(begin);
        return at == std::string::npos ? "" : controls.substr(at, controls.find('\n', at) - at);
    };
    EXPECT_TRUE(line(last, "tab page-gamepad").ends_with(" chosen focused")) << last;
    EXPECT_TRUE(line(first, "tab page-sound \"Ton\"").ends_with(" chosen focused")) << first;
}

TEST(PanelPicture, EveryControlCanBeReachedAndHasAName) {
    for (const char* const size : {"300 200", "600 400"}) {
        for (u32 page = 0; page < 5; ++page) {
            std::string script = At(10, std::string("resize ") + size) + At(300, kOpen) +
                                 At(310, Key("73", "\\x01"));
            for (u32 i = 0; i < page; ++i) {
                script += At(320, kRight);
            }
            for (u32 steps = 0;; ++steps) {
                const std::string controls = PlaySession(script).controls;
                ASSERT_NE(controls, "");
                std::istringstream lines(controls);
                u32 focused = 0;
                for (std::string line; std::getline(lines, line);) {
                    EXPECT_EQ(line.find(" \"\""), std::string::npos) << line;
                    if (line.find(" focused") == std::string::npos) {
                        continue;
                    }
                    ++focused;
                    EXPECT_EQ(line.find("out-of-view"), std::string::npos) << size << ": " << line;
                }
                EXPECT_EQ(focused, 1u) << controls;
                if (steps == 1) {
                    break;
                }
                // From the chosen tab round to the last control.
                script += At(330, Key("77", "\\x04"));
            }
        }
    }
}

}  // namespace

}  // namespace moxi
