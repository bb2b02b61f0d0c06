// The real program in a real window: a module that writes its messages down, and the demo.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "tests/support/desktop_session.h"
#include "tests/support/headless_run.h"

namespace fs = std::filesystem;

namespace {
using Lines = std::vector<std::string>;

constexpr int kLooks = 2000;  // 10 ms apart

void Shell(const std::string& command) {
    EXPECT_EQ(std::system((command + " >/dev/null").c_str()), 0) << command;
}

void Pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

class MoxiWindow : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsProgramInstalled("Xvfb")) GTEST_SKIP() << "Xvfb is missing";
        ASSERT_TRUE(session.Start("1400x900x24"));
        const fs::path source = fs::path(MOXI_SOURCE_DIR) / "tests/modules/messages.mxs";
        const AssembleResult assembled = Assemble(ReadTextFile(source.string()), source.string());
        ASSERT_TRUE(assembled.ok) << FormatErrors(assembled);
        game = folder.path + "/Message Log";
        fs::create_directory(game);
        std::ofstream(game + "/MAIN.MX", std::ios::binary)
            .write(reinterpret_cast<const char*>(assembled.bytes.data()),
                   static_cast<std::streamsize>(assembled.bytes.size()));
    }

    void TearDown() override {
        if (process <= 0) return;
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }

    void Start(const std::string& path, const std::string& title) {
        name = title;
        process = StartProcess({std::string(MOXI_BIN_DIR) + "/moxi", "--mute", "--data-folder",
                                folder.path + "/data", path},
                               folder.path + "/errors");
        for (int i = 0; i < kLooks && Window().empty(); ++i) Pause();
        ASSERT_NE(Window(), "") << Errors();
        // The window manager gives it the keyboard, at the latest when it is asked to.
        Shell("xdotool windowactivate --sync " + Window());
        Shell("xdotool mousemove 700 500");
        WaitForQuiet();
    }

    std::string Window() const {
        return OutputOf("xdotool search --onlyvisible --name '^" + name + "$' 2>/dev/null");
    }
    std::string Errors() const { return ReadTextFile(folder.path + "/errors"); }

    // The messages as "command p1 p2 p3" in hexadecimal without leading zeros.
    Lines Messages() const {
        Lines lines;
        std::ifstream file(folder.path + "/data/debug.log");
        std::string line;
        while (std::getline(file, line)) {
            std::istringstream words(line);
            std::ostringstream shown;
            unsigned number = 0;
            while (words >> std::hex >> number) {
                shown << (shown.str().empty() ? "" : " ") << std::hex << number;
            }
            lines.push_back(shown.str());
        }
        return lines;
    }

    void WaitForQuiet() const {
        std::size_t count = Messages().size();
        for (int quiet = 0; quiet < 50; ++quiet) {
            Pause();
            if (Messages().size() != count) quiet = 0;
            count = Messages().size();
        }
    }

    // The messages that the command causes, but for the pointer's.
    Lines Cause(const std::string& command) {
        const std::size_t before = Messages().size();
        Shell(command);
        WaitForQuiet();
        Lines lines = Messages();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
        std::erase_if(lines, [](const std::string& line) { return line.starts_with("f "); });
        return lines;
    }

    int WaitForExit() {
        int status = 0;
        for (int i = 0; i < kLooks; ++i) {
            if (waitpid(process, &status, WNOHANG) == process) {
                process = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            Pause();
        }
        return -1;
    }

    TemporaryFolder folder;
    XSession session;
    std::string game;
    std::string name;
    pid_t process = -1;
};

TEST_F(MoxiWindow, StartUpTellsSizeAndPlaceAndNothingElse) {
    Start(game, "Message Log");
    Lines messages = Messages();
    std::erase_if(messages, [](const std::string& line) { return line.starts_with("f "); });
    EXPECT_EQ(messages, (Lines{"1 0 0 0", "2 0 0 0", "9 3e8 258 0", "8 64 64 0", "9 3e8 258 0"}));
}

TEST_F(MoxiWindow, KeysAndClicksBecomeMessages) {
    Start(game, "Message Log");
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
    Start(game, "Message Log");
    Shell("setxkbmap de");
    WaitForQuiet();
    EXPECT_EQ(Cause("xdotool key dead_acute"), Lines{});
    // e with acute, C3 A9, on the key that the module knows as E.
    EXPECT_EQ(Cause("xdotool key e"), (Lines{"c 45 1 0", "e a9c3 0 0", "d 45 1 0"}));
}

TEST_F(MoxiWindow, TheModulesOwnGeometryDoesNotComeBackAndTheUsersDoes) {
    Start(game, "Message Log");
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
    Start(game, "Message Log");
    const Lines lines = Cause("xdotool key g windowsize " + Window() + " 650 420");
    EXPECT_NE(std::find(lines.begin(), lines.end(), "9 28a 1a4 0"), lines.end())
        << testing::PrintToString(lines);
}

TEST_F(MoxiWindow, FullScreenIsToldBothWays) {
    Start(game, "Message Log");
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
    Start(game, "Message Log");
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
    Start(game, "Message Log");
    const std::string window = Window();
    Lines lines = Cause("xdotool key ctrl+m");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "7 1 0 0"), 1);
    lines = Cause("xdotool windowactivate " + window);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "7 0 0 0"), 1);
}

TEST_F(MoxiWindow, ClosingIsRefusedThenAllowed) {
    Start(game, "Message Log");
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
    Start(game, "Message Log");
    const std::string window = Window();
    Shell("xdotool key b sleep 1 key alt+F4");
    std::string box;
    for (int i = 0; i < kLooks && box.empty(); ++i) {
        Pause();
        box = OutputOf("xdotool search --onlyvisible --name '^" + name + "$' | grep -v '^" +
                       window + "$'");
    }
    ASSERT_NE(box, "");
    // The second button from the right: End.
    Shell("sleep 0.3; eval $(xdotool getwindowgeometry --shell " + box +
          "); xdotool mousemove --window " + box + " $((WIDTH - 160)) $((HEIGHT - 35)) click 1");
    EXPECT_EQ(WaitForExit(), 1);
    EXPECT_EQ(Errors(), "log: ended by the user while it did not answer\n");
}

TEST_F(MoxiWindow, TheQuitKeyEndsTheProgram) {
    Start(game, "Message Log");
    Shell("xdotool key ctrl+q");
    EXPECT_EQ(WaitForExit(), 0);
}

TEST_F(MoxiWindow, TheWindowShowsTheHeadlessPicturePixelForPixel) {
    if (!IsProgramInstalled("compare")) GTEST_SKIP() << "ImageMagick is missing";
    Start(game, "Message Log");
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
    name = "Message Log";
    process = StartProcess({std::string(MOXI_BIN_DIR) + "/moxi", "--mute", "--data-folder",
                            folder.path + "/data", game},
                           folder.path + "/errors");
    for (int i = 0; i < kLooks && Window().empty(); ++i) Pause();
    Shell("sleep 0.5");
    EXPECT_EQ(Errors().substr(0, 7), "fatal: ");
    Shell("xdotool windowactivate --sync " + Window() + " key Return");
    EXPECT_EQ(WaitForExit(), 1);
}

TEST_F(MoxiWindow, AChangedMonitorEndsTheGame) {
    if (!IsProgramInstalled("xrandr")) GTEST_SKIP() << "xrandr is missing";
    Start(game, "Message Log");
    Shell("xrandr --newmode small 31.5 1024 1048 1184 1344 768 771 777 806");
    Shell("xrandr --addmode screen small");
    Shell("xrandr --output screen --mode small");
    for (int i = 0; i < kLooks && Errors().find("Screen change") == std::string::npos; ++i) Pause();
    EXPECT_EQ(Errors(), "fatal: Screen change: game ending, restart game\n");
    EXPECT_EQ(Messages().back(), "3 1 0 0");
    Shell("sleep 0.5");
    Shell("xdotool key Return");
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Messages().back(), "4 0 0 0");
}
}  // namespace
