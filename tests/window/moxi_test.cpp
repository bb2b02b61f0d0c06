// The real program in a real window: a module that writes its messages down, and the demo.
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {
TEST_F(MoxiWindow, StartUpTellsSizeAndPlaceAndNothingElse) {
    Start();
    Lines messages = Messages();
    ErasePointer(messages);
    EXPECT_EQ(messages, (Lines{"1 0 0 0", "2 0 0 0", "9 3e8 258 0", "8 64 64 0", "9 3e8 258 0"}));
}

TEST_F(MoxiWindow, KeysAndClicksBecomeMessages) {
    Start();
    EXPECT_EQ(Cause("xdotool key a"), (Lines{"c 41 1 0", "e 61 0 0", "d 41 1 0"}));
    EXPECT_EQ(Cause("xdotool keydown shift key c keyup shift"),
              (Lines{"c 10 0 0", "c 43 1 0", "e 43 0 0", "d 43 1 0", "d 10 0 0"}));
    EXPECT_EQ(Cause("xdotool key Left"), (Lines{"c 25 1 0", "e 1c 0 0", "d 25 1 0"}));
    // The content's corner is at 100, 200.
    Shell("xdotool mousemove 116 232");
    EXPECT_EQ(Cause("xdotool click 1"), (Lines{"c 1 1 200010", "d 1 0 200010"}));
    EXPECT_EQ(Cause("xdotool keydown shift click 3 keyup shift"),
              (Lines{"c 10 0 0", "c 2 6 200010", "d 2 4 200010", "d 10 0 0"}));
    EXPECT_EQ(Cause("xdotool click 4 click 5"),
              (Lines{"c 8003 1 200010", "c 8003 ffffffff 200010"}));
}

TEST_F(MoxiWindow, ADeadKeyPostsNothingAndTheNextKeyItsComposedCharacter) {
    Start();
    Shell("setxkbmap de");
    WaitForQuiet();
    EXPECT_EQ(Cause("xdotool key dead_acute"), Lines{});
    // e with acute, C3 A9, on the key that the module knows as E.
    EXPECT_EQ(Cause("xdotool key e"), (Lines{"c 45 1 0", "e a9c3 0 0", "d 45 1 0"}));
}

TEST_F(MoxiWindow, TheModulesOwnGeometryDoesNotComeBackAndTheUsersDoes) {
    Start();
    EXPECT_EQ(Cause("xdotool key g"), (Lines{"c 47 1 0", "e 67 0 0", "d 47 1 0"}));
    // The frame is 800 x 500, so the content 798 x 475; 900 - 150 - 5 - 475 from the top.
    const std::string geometry =
        OutputOf("xwininfo -name 'Message Log' | grep -E 'Absolute|Width|Height'");
    EXPECT_NE(geometry.find("X:  201"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Y:  270"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Width: 798"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Height: 475"), std::string::npos) << geometry;

    // Frame at the top-left corner 40, 30: bottom edge at 900 - 30 - 500.
    EXPECT_EQ(Cause("xdotool windowmove " + Window() + " 40 30"), Lines{"8 28 172 0"});
    const Lines sizes = Cause("xdotool windowsize " + Window() + " 700 450");
    ASSERT_FALSE(sizes.empty());
    for (const std::string& line : sizes) {
        EXPECT_TRUE(line == "9 2bc 1c2 0" || line.starts_with("8 28 ")) << line;
    }
    EXPECT_NE(std::find(sizes.begin(), sizes.end(), "9 2bc 1c2 0"), sizes.end());
}

TEST_F(MoxiWindow, AUsersResizeAtTheMomentOfTheModulesOwnIsTold) {
    Start();
    const Lines lines = Cause("xdotool key g windowsize " + Window() + " 650 420");
    EXPECT_NE(std::find(lines.begin(), lines.end(), "9 28a 1a4 0"), lines.end())
        << testing::PrintToString(lines);
}

TEST_F(MoxiWindow, FullScreenIsToldBothWays) {
    Start();
    Lines lines = Cause("xdotool key alt+Return");
    EXPECT_NE(std::find(lines.begin(), lines.end(), "9 578 384 2"), lines.end())
        << testing::PrintToString(lines);
    lines = Cause("xdotool key alt+Return");
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& line) { return line.ends_with(" 3"); }),
              1)
        << testing::PrintToString(lines);
}

TEST_F(MoxiWindow, FullScreenThatTheModuleAskedForIsToldToo) {
    Start();
    Lines lines = Cause("xdotool key f");
    EXPECT_NE(std::find(lines.begin(), lines.end(), "9 578 384 2"), lines.end())
        << testing::PrintToString(lines);
    lines = Cause("xdotool key f");
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& line) { return line.ends_with(" 3"); }),
              1)
        << testing::PrintToString(lines);
}

TEST_F(MoxiWindow, MinimisingAndRestoringAreMessages) {
    Start();
    const std::string window = Window();
    Lines lines = Cause("xdotool key ctrl+m");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "7 1 0 0"), 1);
    lines = Cause("xdotool windowactivate " + window);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "7 0 0 0"), 1);
}

TEST_F(MoxiWindow, ClosingIsRefusedThenAllowed) {
    Start();
    Cause("xdotool key v");
    Lines lines = Cause("xdotool key alt+F4");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "3 0 0 0"), 1);
    EXPECT_NE(Window(), "");
    Cause("xdotool key v");
    Shell("xdotool key alt+F4");
    EXPECT_EQ(WaitForExit(), 0);
    lines = Messages();
    // The window asks, and the end of the application that follows asks once more.
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "3 0 0 0");
    EXPECT_EQ(lines.back(), "3 0 0 0");
    EXPECT_EQ(Errors(), "log: windowWillClose\n");
}

TEST_F(MoxiWindow, AModuleThatIsBusyAnswersTheDesktopAndCanBeEnded) {
    Start();
    const std::string window = Window();
    Shell("xdotool key b sleep 1 key alt+F4");
    EndInBox(window);
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Errors(), "log: ended by the user while it did not answer\n");
}

TEST_F(MoxiWindow, TheQuitKeyEndsTheProgram) {
    Start();
    Shell("xdotool key ctrl+q");
    EXPECT_EQ(WaitForExit(), 0);
}

TEST_F(MoxiWindow, TheWindowShowsTheHeadlessPicturePixelForPixel) {
    if (!IsProgramInstalled("compare")) {
        GTEST_SKIP() << "ImageMagick is missing";
    }
    Start();
    const std::string real = folder.path + "/real.png";
    const std::string headless = folder.path + "/headless.png";
    Shell("import -window " + Window() + " " + real);
    const ProgramResult run =
        RunProgram("moxi", {"--headless", "--desktop", "1400x900", "--data-folder",
                            folder.path + "/headless", "--dump-view", headless, game});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(OutputOf("compare -metric AE " + real + " " + headless + " null: 2>&1"), "0");
}

TEST_F(MoxiWindow, AFatalMessageIsABoxWithTheTextOnStandardError) {
    std::ofstream(game + "/MAIN.MX", std::ios::binary | std::ios::trunc) << "no module";
    Launch({"--mute"});
    WaitUntil([this] { return !Window().empty(); });
    EXPECT_EQ(Errors().substr(0, 7), "fatal: ");
    Shell("xdotool windowactivate --sync " + Window() + " key Return");
    EXPECT_EQ(WaitForExit(), 1);
}

TEST_F(MoxiWindow, AChangedMonitorEndsTheGame) {
    if (!IsProgramInstalled("xrandr")) {
        GTEST_SKIP() << "xrandr is missing";
    }
    Start();
    Shell("xrandr --newmode small 31.5 1024 1048 1184 1344 768 771 777 806");
    Shell("xrandr --addmode screen small");
    Shell("xrandr --output screen --mode small");
    WaitUntil([this] { return Errors().find("Screen change") != std::string::npos; });
    EXPECT_EQ(Errors(), "fatal: Screen change: game ending, restart game\n");
    EXPECT_EQ(Messages().back(), "3 1 0 0");
    Shell("sleep 0.5");
    Shell("xdotool key Return");
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Messages().back(), "4 0 0 0");
}
}  // namespace

}  // namespace moxi
