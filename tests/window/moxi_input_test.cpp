// Keyboard, mouse and clipboard as a person uses them, down to the messages of a module.
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {

// What does not hang on whether a tick stood in the queue: a move that meets one is dropped, but
// the pointer message after a release of a button never is; the same size may be told twice.
Lines WithoutChance(const Lines& lines) {
    Lines kept;
    for (const std::string& line : lines) {
        const bool follows = !kept.empty() && kept.back().starts_with("d ") &&
                             !kept.back().ends_with(" 1 0") && !kept.back().ends_with(" 0 0");
        const bool isRepeated = !kept.empty() && line == kept.back() && line.starts_with("9 ");
        if ((!line.starts_with("f ") || follows) && !isRepeated) {
            kept.push_back(line);
        }
    }
    return kept;
}

TEST_F(MoxiWindow, TypingFollowsTheUsersLayout) {
    Start();
    // Key codes name the place of a key, texts what the layout has there.
    EXPECT_EQ(Type("a shift+semicolon bracketleft"),
              (Lines{"c 41 1 0", "e 61 0 0", "c 10 0 0", "c ba 1 0", "e 3a 0 0", "c db 1 0",
                     "e 5b 0 0"}));

    Shell("setxkbmap de");
    WaitForQuiet();
    EXPECT_EQ(Type("z udiaeresis shift+comma"),
              (Lines{"c 59 1 0", "e 7a 0 0", "c db 1 0", "e bcc3 0 0", "c 10 0 0", "c bc 1 0",
                     "e 3b 0 0"}));
    // Dead keys post nothing; the next key has the composed character. 49 is the key below Escape,
    // here with a circumflex.
    EXPECT_EQ(Type("dead_acute a 49 o dead_acute space"),
              (Lines{"c 41 1 0", "e a1c3 0 0", "c 4f 1 0", "e b4c3 0 0", "c 20 1 0", "e 27 0 0"}));

    Shell("setxkbmap fr");
    WaitForQuiet();
    EXPECT_EQ(Type("a eacute dead_circumflex e"),
              (Lines{"c 51 1 0", "e 61 0 0", "c 32 1 0", "e a9c3 0 0", "c 45 1 0", "e aac3 0 0"}));

    Shell("setxkbmap ru");
    WaitForQuiet();
    EXPECT_EQ(Type("Cyrillic_ef Cyrillic_e shift+Cyrillic_ya"),
              (Lines{"c 41 1 0", "e 84d1 0 0", "c de 1 0", "e 8dd1 0 0", "c 10 0 0", "c 5a 1 0",
                     "e afd0 0 0"}));
}

TEST_F(MoxiWindow, ModifierKeysAreMessagesInOrder) {
    Start();
    EXPECT_EQ(Cause("xdotool keydown shift keyup shift"), (Lines{"c 10 0 0", "d 10 0 0"}));
    EXPECT_EQ(Cause("xdotool keydown ctrl keydown alt keyup alt keyup ctrl"),
              (Lines{"c 11 0 0", "c 12 0 0", "d 12 0 0", "d 11 0 0"}));
    EXPECT_EQ(Type("alt+x"), (Lines{"c 12 0 0", "c 58 1 0", "e 78 0 0"}));
    // With Command held the text is the key's character.
    EXPECT_EQ(Type("ctrl+x"), (Lines{"c 11 0 0", "c 58 1 0", "e 78 0 0"}));
}

TEST_F(MoxiWindow, ClicksCarryButtonsAndModifiersAndAPointerMessageFollows) {
    Start();
    // The content's corner is at 100, 200.
    Shell("xdotool mousemove 116 232");
    WaitForQuiet();
    EXPECT_EQ(CauseAll("xdotool click 1"), (Lines{"c 1 1 200010", "d 1 0 200010", "f 10 20 0"}));
    EXPECT_EQ(Cause("xdotool keydown ctrl click 1 keyup ctrl"),
              (Lines{"c 11 0 0", "c 1 9 200010", "d 1 8 200010", "d 11 0 0"}));
    EXPECT_EQ(CauseAll("xdotool click 2"), (Lines{"c 4 10 200010", "d 4 0 200010", "f 10 20 0"}));
    EXPECT_EQ(Cause("xdotool click 8 click 9"), (Lines{"c 8001 20 200010", "d 8001 0 200010",
                                                       "c 8002 40 200010", "d 8002 0 200010"}));
    EXPECT_EQ(Cause("xdotool click --repeat 3 --delay 20 4 click 6 click 7"),
              (Lines{"c 8003 1 200010", "c 8003 1 200010", "c 8003 1 200010", "c 8004 1 200010",
                     "c 8004 ffffffff 200010"}));
}

TEST_F(MoxiWindow, ADragLeavesTheWindowWithNegativePositions) {
    Start();
    Shell("xdotool mousemove 116 250");
    WaitForQuiet();
    EXPECT_EQ(CauseAll("xdotool mousedown 1"), Lines{"c 1 1 320010"});
    // A move that meets another message in the queue is dropped, so it is made until it arrives.
    const auto arrives = [this](const std::string& moves, const std::string& message) {
        for (int i = 0; i < 20; ++i) {
            const Lines lines = CauseAll("xdotool " + moves);
            if (!lines.empty() && lines.back() == message) {
                return true;
            }
        }
        return false;
    };
    EXPECT_TRUE(arrives("mousemove 61 250 mousemove 60 250", "f ffffffd8 32 1"));
    // Above the window too. The sign of x fills the upper half of a packed position.
    EXPECT_TRUE(arrives("mousemove 61 190 mousemove 60 190", "f ffffffd8 fffffff6 1"));
    EXPECT_EQ(CauseAll("xdotool mouseup 1"), (Lines{"d 1 0 ffffffd8", "f ffffffd8 fffffff6 0"}));
}

TEST_F(MoxiWindow, MovesWhileTheModuleIsBusyAreNoMessages) {
    Start();
    const Lines lines = CauseAll(
        "xdotool key 9 mousemove 300 300 sleep 0.03 mousemove 310 310 sleep 0.03 "
        "mousemove 320 320");
    for (const std::string& line : lines) {
        EXPECT_NE(line, "f c8 64 0");
    }
}

TEST_F(MoxiWindow, TheClipboardIsSharedBothWays) {
    if (!IsProgramInstalled("xclip")) {
        GTEST_SKIP() << "xclip is missing";
    }
    Start();
    EXPECT_EQ(Cause("xdotool key 1")[1], "705 0 0 0");
    CopyByOtherProgram("h\xC3\xA9llo");
    EXPECT_EQ(Cause("xdotool key 1")[1], "705 6ca9c368 6f6c 0");
    Cause("xdotool key 2");
    EXPECT_EQ(OutputOf("timeout 5 xclip -selection clipboard -o"),
              "Gr\xC3\xBC\xC3\x9F"
              "e");
    EXPECT_EQ(Cause("xdotool key 1")[1], "705 bcc37247 659fc3 0");
}

TEST_F(MoxiWindow, APlayedRecordingLeadsToTheSameMessagesAndTheSamePicture) {
    if (!IsProgramInstalled("compare")) {
        GTEST_SKIP() << "ImageMagick is missing";
    }
    const std::string recorded = folder.path + "/recorded";
    Start({"--mute", "--record", recorded});
    const std::string window = Window();
    // At the pace of a person, so that nothing hangs on a tick more or less.
    Cause(
        "xdotool key a sleep 0.1 key shift+c sleep 0.1 key Left sleep 0.1 mousemove 116 232 "
        "sleep 0.1 click 1 sleep 0.1 keydown ctrl click 3 keyup ctrl sleep 0.1 mousedown 1 "
        "sleep 0.1 mousemove 60 250 sleep 0.1 mouseup 1 sleep 0.1 mousemove 500 500 sleep 0.1 "
        "click 4 sleep 0.1 click 7");
    Cause("xdotool windowmove " + window + " 40 30");
    Cause("xdotool windowsize " + window + " 700 450");
    Cause("xdotool mousemove 300 300 sleep 0.1 key 6");
    const std::string real = folder.path + "/real.png";
    Shell("import -window " + window + " " + real);
    // The same moment in the script.
    const std::string played = folder.path + "/played.png";
    const std::string lookLine = " screenshot \"" + played + "\"\n";
    const std::size_t moment = ReadTextFile(recorded).size();

    Cause("xdotool keydown ctrl sleep 0.1 key m keyup ctrl");
    Cause("xdotool windowactivate " + window);
    Cause("xdotool keydown alt sleep 0.1 key Return sleep 0.1 keyup alt");
    Cause("xdotool keydown alt sleep 0.1 key Return sleep 0.1 keyup alt");
    Cause("xdotool key v sleep 0.1 keydown alt sleep 0.1 key F4 sleep 0.1 keyup alt");
    Shell("xdotool key v sleep 0.1 keydown alt sleep 0.1 key F4 sleep 0.1 keyup alt");
    EXPECT_EQ(WaitForExit(), 0);

    std::string script = ReadTextFile(recorded);
    const std::string last = script.substr(script.rfind('\n', moment - 2) + 1);
    script.insert(moment, std::to_string(std::stoi(last) + 200) + lookLine);
    WriteTextFile(folder.path + "/script", script);
    const ProgramResult run =
        RunProgram("moxi", {"--headless", "--desktop", "1400x900", "--data-folder",
                            folder.path + "/again", "--script", folder.path + "/script", game});
    EXPECT_EQ(run.status, 0) << run.errors << script;
    const Lines messages = WithoutChance(Messages());
    const Lines again = WithoutChance(MessagesIn(folder.path + "/again/debug.log"));
    for (std::size_t i = 0; i < std::max(messages.size(), again.size()); ++i) {
        EXPECT_EQ(i < again.size() ? again[i] : "(none)",
                  i < messages.size() ? messages[i] : "(none)")
            << "line " << i << " of the messages of\n"
            << script;
    }
    EXPECT_EQ(OutputOf("compare -metric AE " + real + " " + played + " null: 2>&1"), "0");
}
}  // namespace

}  // namespace moxi
