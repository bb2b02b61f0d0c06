// The SDL desktop on a real X server with a window manager, driven as a person would drive it. Each
// test has a server of its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "desktop/desktop.h"
#include "tests/support/desktop_probe.h"
#include "tests/support/desktop_session.h"

namespace moxi {

namespace {
using Lines = std::vector<std::string>;

class X11 : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsProgramInstalled("Xvfb")) {
            GTEST_SKIP() << "Xvfb is missing";
        }
        ASSERT_TRUE(session.Start("1400x900x24"));
    }

    // Starts the probe and waits until its window is there and has the keyboard.
    void StartProbe(const std::function<void(const std::string&)>& onKey = {},
                    const std::function<void()>& atLaunch = {}) {
        probe.Start(atLaunch, onKey);
        ASSERT_GE(probe.WaitFor("draw"), 0) << testing::PrintToString(probe.Log());
        // A window manager that has not quite started leaves a new window without the keyboard.
        if (probe.WaitFor("active", 0, 200) < 0) {
            Run("xdotool windowactivate " + Window());
        }
        ASSERT_GE(probe.WaitFor("active"), 0) << testing::PrintToString(probe.Log());
        Run("xdotool mousemove 700 500");  // into the window
        ASSERT_GE(probe.WaitFor("mouse-move"), 0);
        probe.WaitForQuiet();
    }

    static void Run(const std::string& command) {
        EXPECT_EQ(std::system((command + " >/dev/null").c_str()), 0) << command;
    }

    // What the probe logs because of the command, but for redraws and the pointer's moves.
    Lines Cause(const std::string& command) {
        const std::size_t before = probe.Log().size();
        Run(command);
        probe.WaitForQuiet();
        Lines lines = probe.Log(before);
        std::erase_if(lines, [](const std::string& line) {
            return line.starts_with("draw") || line.starts_with("mouse-move");
        });
        return lines;
    }

    static std::string Window() {
        return OutputOf("xdotool search --onlyvisible --name '^Probe$'");
    }

    XSession session;
    DesktopProbe probe;
};

// Lines without releases, whose order xdotool decides.
Lines WithoutReleases(Lines lines) {
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("key-up"); });
    return lines;
}

TEST_F(X11, TheWindowAppearsWithTitleClassAndSizeAndIsDrawnWhole) {
    StartProbe();
    EXPECT_NE(Window(), "");
    EXPECT_EQ(OutputOf("xprop -name Probe WM_CLASS"), "WM_CLASS(STRING) = \"moxi\", \"moxi\"");
    EXPECT_GE(probe.WaitFor("draw 0 0 1000 600"), 0);
    // Content at (100, 100) from the bottom-left corner of a screen 900 high: 200 from the top.
    const std::string geometry = OutputOf("xwininfo -name Probe | grep -E 'Absolute|Width|Height'");
    EXPECT_NE(geometry.find("X:  100"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Y:  200"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Width: 1000"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Height: 600"), std::string::npos) << geometry;
    // None of it is a change that the application has to hear of.
    EXPECT_EQ(probe.WaitFor("launched"), 0);
    for (const std::string& line : probe.Log()) {
        EXPECT_FALSE(line.starts_with("move") || line.starts_with("resize")) << line;
    }
}

TEST_F(X11, TheWindowShowsThePixelsThatWereDrawn) {
    StartProbe();
    const auto pixel = [](int x, int y) {
        return OutputOf("import -window " + Window() + " -format '%[pixel:p{" + std::to_string(x) +
                        "," + std::to_string(y) + "}]' info: | sed 's/[^0-9,]//g'");
    };
    EXPECT_EQ(pixel(10, 10), "1,1,255");  // x / 8, y / 8, the blue corner
    EXPECT_EQ(pixel(800, 400), "100,50,0");
    EXPECT_EQ(pixel(999, 599), "124,74,0");
}

TEST_F(X11, KeysArriveWithTheirTextAndModifiers) {
    StartProbe();
    EXPECT_EQ(Cause("xdotool key a"), (Lines{"key-down 00 \"a\"", "key-up 00 \"a\""}));
    EXPECT_EQ(WithoutReleases(Cause("xdotool key shift+b")),
              (Lines{"modifiers shift", "key-down 0B \"B\"", "modifiers"}));
    EXPECT_EQ(WithoutReleases(Cause("xdotool key ctrl+q")),
              (Lines{"modifiers command", "key-down 0C \"q\"", "modifiers"}));
    EXPECT_EQ(WithoutReleases(Cause("xdotool key alt+Return")),
              (Lines{"modifiers option", "key-down 24 \"\\x0D\"", "modifiers"}));
    EXPECT_EQ(WithoutReleases(Cause("xdotool key Left F1 KP_Enter Escape Tab Delete Home")),
              (Lines{"key-down 7B \"\\x1C\"", "key-down 7A \"\\x10\"", "key-down 4C \"\\x03\"",
                     "key-down 35 \"\\x1B\"", "key-down 30 \"\\x09\"", "key-down 75 \"\\x7F\"",
                     "key-down 73 \"\\x01\""}));
}

TEST_F(X11, TextFollowsTheLayoutWithDeadKeys) {
    StartProbe();
    Run("setxkbmap de");
    probe.WaitForQuiet();
    EXPECT_EQ(Cause("xdotool key z"), (Lines{"key-down 10 \"z\"", "key-up 10 \"z\""}));
    EXPECT_EQ(WithoutReleases(Cause("xdotool key dead_acute e")),
              (Lines{"key-down 18 \"\"", "key-down 0E \"\xC3\xA9\""}));
    EXPECT_EQ(WithoutReleases(Cause("xdotool key ctrl+shift+7")),
              (Lines{"modifiers command", "modifiers shift command", "key-down 1A \"/\"",
                     "modifiers command", "modifiers"}));
    Run("setxkbmap fr");
    probe.WaitForQuiet();
    EXPECT_EQ(WithoutReleases(Cause("xdotool key a ampersand")),
              (Lines{"key-down 0C \"a\"", "key-down 12 \"&\""}));
    Run("setxkbmap ru");
    probe.WaitForQuiet();
    EXPECT_EQ(WithoutReleases(Cause("xdotool key Cyrillic_ef")), Lines{"key-down 00 \"\xD1\x84\""});
    EXPECT_EQ(WithoutReleases(Cause("xdotool key ctrl+Cyrillic_es")),
              (Lines{"modifiers command", "key-down 08 \"\xD1\x81\"", "modifiers"}));
}

TEST_F(X11, AHeldKeyRepeats) {
    StartProbe();
    const Lines lines = Cause("xdotool keydown a sleep 1.2 keyup a");
    ASSERT_GE(lines.size(), 4u);
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        EXPECT_EQ(lines[i], "key-down 00 \"a\"");
    }
    EXPECT_EQ(lines.back(), "key-up 00 \"a\"");
}

TEST_F(X11, LosingTheFocusReleasesWhatIsHeld) {
    StartProbe([](const std::string& text) {
        if (text == "M") {
            desktop.minimizeWindow();
        }
    });
    Run("xdotool keydown shift keydown a");
    ASSERT_GE(probe.WaitFor("key-down 00"), 0);
    Run("xset r off");
    const std::size_t before = probe.Log().size();
    Run("xdotool keydown m");
    EXPECT_GE(probe.WaitFor("key-up 00", before), 0);
    EXPECT_GE(probe.WaitFor("minimize", before), 0);
    Run("xdotool keyup m keyup a keyup shift");
    // A lone "modifiers" says that none is held.
    probe.WaitForQuiet();
    const Lines lines = probe.Log(before);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "modifiers"), lines.end());
}

TEST_F(X11, ButtonsAndWheelArriveWithPositionsFromTheTopLeftCorner) {
    StartProbe();
    Run("xdotool mousemove 100 200");
    EXPECT_GE(probe.WaitFor("mouse-move 0 0"), 0);
    EXPECT_EQ(Cause("xdotool click 1"), (Lines{"mouse-down 0 0 0 1", "mouse-up 0 0 0"}));
    Run("xdotool mousemove 400 350");
    EXPECT_EQ(Cause("xdotool click 3 click 2 click 8"),
              (Lines{"mouse-down 1 300 150 1", "mouse-up 1 300 150", "mouse-down 2 300 150 1",
                     "mouse-up 2 300 150", "mouse-down 3 300 150 1", "mouse-up 3 300 150"}));
    EXPECT_EQ(Cause("xdotool click 4 click 5 click 6 click 7"),
              (Lines{"scroll 0 0.1 300 150", "scroll 0 -0.1 300 150", "scroll 0.1 0 300 150",
                     "scroll -0.1 0 300 150"}));
}

TEST_F(X11, ADragOutOfTheWindowGoesOn) {
    StartProbe();
    Run("xdotool mousemove 150 250");
    Lines lines = Cause("xdotool mousedown 1 mousemove 60 250 sleep 0.2 mouseup 1");
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    EXPECT_EQ(lines, (Lines{"mouse-down 0 50 50 1", "mouse-drag 0 -40 50", "mouse-up 0 -40 50"}));
}

TEST_F(X11, TheApplicationsOwnGeometryComesBackOnceAndAtOnce) {
    StartProbe([](const std::string& text) {
        if (text != "s") {
            return;
        }
        desktop.setWindowFrame({50, 60, 700, 500});
        ProbeLog("asked");
    });
    // Decorations of 1 left and right, 20 above and 5 below are part of the frame.
    EXPECT_EQ(Cause("xdotool key s"),
              (Lines{"key-down 01 \"s\"", "move 50 60 700 500", "frame 698 475", "resize 698 475",
                     "asked", "key-up 01 \"s\""}));
    // 900 - 60 - 5 - 475 = 360 from the top.
    const std::string geometry = OutputOf("xwininfo -name Probe | grep -E 'Absolute|Width|Height'");
    EXPECT_NE(geometry.find("X:  51"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Y:  360"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Width: 698"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Height: 475"), std::string::npos) << geometry;
}

TEST_F(X11, AUsersMoveAndResizeAreTold) {
    StartProbe();
    // The window manager moves the frame, which then ends 900 - 150 - 625 = 125 above the bottom.
    EXPECT_EQ(Cause("xdotool windowmove " + Window() + " 200 150"), Lines{"move 200 125 1002 625"});
    // The upper edge stays, so the lower one moves up by 100.
    EXPECT_EQ(Cause("xdotool windowsize " + Window() + " 800 500"),
              (Lines{"move 200 225 802 525", "frame 800 500", "resize 800 500"}));
}

TEST_F(X11, AUsersResizeJustAfterTheApplicationsIsTold) {
    StartProbe([](const std::string& text) {
        if (text == "s") {
            desktop.setWindowFrame({50, 60, 700, 500});
        }
    });
    const std::size_t before = probe.Log().size();
    Run("xdotool key s windowsize " + Window() + " 640 480");
    EXPECT_GE(probe.WaitFor("resize 640 480", before), 0);
    probe.WaitForQuiet();
    EXPECT_EQ(probe.WaitFor("resize 698 475", before) < probe.WaitFor("resize 640 480", before),
              true);
}

TEST_F(X11, ASizeThatTheDesktopRefusesIsCorrected) {
    StartProbe([](const std::string& text) {
        if (text == "s") {
            desktop.setWindowFrame({0, 0, 1002, 625});
        }
    });
    // A maximized window manager's way: it keeps the size that it has chosen itself.
    Run("xdotool windowsize " + Window() + " 900 500");
    probe.WaitForQuiet();
    const Lines lines = Cause("xdotool key s");
    EXPECT_EQ(lines[2], "frame 1000 600");
}

TEST_F(X11, FullScreenTellsInOrderAndComesBack) {
    StartProbe([](const std::string& text) {
        if (text == "f") {
            desktop.toggleFullScreen();
        }
    });
    EXPECT_EQ(WithoutReleases(Cause("xdotool key f")),
              (Lines{"key-down 03 \"f\"", "will-enter", "move 0 0 1400 900", "frame 1400 900",
                     "resize 1400 900", "did-enter"}));
    EXPECT_EQ(WithoutReleases(Cause("xdotool key f")),
              (Lines{"key-down 03 \"f\"", "will-exit", "move 99 95 1002 625", "frame 1000 600",
                     "resize 1000 600", "did-exit"}));
}

TEST_F(X11, AFrameSetInFullScreenIsTheOneToComeBackTo) {
    StartProbe([](const std::string& text) {
        if (text == "f") {
            desktop.toggleFullScreen();
        }
        if (text == "s") {
            desktop.setWindowFrame({50, 60, 700, 500});
        }
    });
    Cause("xdotool key f");
    EXPECT_EQ(WithoutReleases(Cause("xdotool key s")), Lines{"key-down 01 \"s\""});
    EXPECT_EQ(WithoutReleases(Cause("xdotool key f")),
              (Lines{"key-down 03 \"f\"", "will-exit", "move 50 60 700 500", "frame 698 475",
                     "resize 698 475", "did-exit"}));
    const std::string geometry = OutputOf("xwininfo -name Probe | grep -E 'Width|Height'");
    EXPECT_NE(geometry.find("Width: 698"), std::string::npos) << geometry;
}

TEST_F(X11, MinimisingAndRestoringAreToldOnce) {
    StartProbe([](const std::string& text) {
        if (text == "m") {
            desktop.minimizeWindow();
        }
    });
    const std::string window = Window();
    Lines lines = Cause("xdotool key m");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "minimize"), 1);
    lines = Cause("xdotool windowactivate " + window);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "restore"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "active"), 1);
}

TEST_F(X11, ADraggedBorderIsALiveResize) {
    StartProbe();
    // The bottom-right corner of the frame: 99 + 1002, 900 - 95.
    Run("xdotool mousemove 1099 803");
    Run("xdotool mousedown 1 mousemove 1050 780 sleep 0.1 mousemove 1000 760 sleep 0.3 mouseup 1");
    EXPECT_GE(probe.WaitFor("live-end"), 0);
    const int start = probe.WaitFor("live-start");
    ASSERT_GE(start, 0);
    EXPECT_LT(start, probe.WaitFor("frame"));
    // The timer of 5 ms stands still meanwhile.
    EXPECT_GE(probe.WaitFor("live-ticks 0"), 0);
}

TEST_F(X11, TheCloseButtonAsksAndMayBeRefused) {
    StartProbe([](const std::string& text) { probeMayClose = text == "y"; });
    Cause("xdotool key n");
    const Lines refused = Cause("xdotool key alt+F4");
    EXPECT_EQ(std::count(refused.begin(), refused.end(), "should-close"), 1);
    EXPECT_NE(Window(), "");
    Cause("xdotool key y");
    const std::size_t before = probe.Log().size();
    Run("xdotool key alt+F4");
    EXPECT_EQ(probe.WaitForExit(), 0);
    Lines lines = probe.Log(before);
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("modifiers"); });
    EXPECT_EQ(lines,
              (Lines{"should-close", "will-close", "should-terminate", "will-terminate", "ended"}));
}

TEST_F(X11, ATerminationSignalQuits) {
    StartProbe();
    const std::size_t before = probe.Log().size();
    kill(probe.process, SIGINT);
    EXPECT_EQ(probe.WaitForExit(), 0);
    EXPECT_EQ(probe.Log(before), (Lines{"should-terminate", "will-terminate", "ended"}));
}

TEST_F(X11, ATerminationSignalMayBeRefusedAndTheNextEndsAtOnce) {
    StartProbe([](const std::string& text) { probeMayClose = text == "y"; });
    Cause("xdotool key n");
    std::size_t before = probe.Log().size();
    kill(probe.process, SIGTERM);
    EXPECT_GE(probe.WaitFor("should-terminate", before), 0);
    probe.WaitForQuiet();
    EXPECT_EQ(probe.Log(before), Lines{"should-terminate"});
    // Whoever asks again means it.
    before = probe.Log().size();
    kill(probe.process, SIGTERM);
    EXPECT_EQ(probe.WaitForExit(), -1);
    EXPECT_EQ(probe.Log(before), Lines{});
}

TEST_F(X11, TheClipboardIsSharedWithOtherPrograms) {
    if (!IsProgramInstalled("xclip")) {
        GTEST_SKIP() << "xclip is missing";
    }
    StartProbe([](const std::string& text) {
        if (text == "p") {
            ProbeLog("clip " + desktop.clipboardText().value_or("(none)"));
        }
        if (text == "c") {
            desktop.setClipboardText(
                "Gr\xC3\xBC\xC3\x9F"
                "e");
        }
    });
    EXPECT_EQ(WithoutReleases(Cause("xdotool key p"))[1], "clip (none)");
    CopyByOtherProgram("h\xC3\xA9llo");
    EXPECT_EQ(WithoutReleases(Cause("xdotool key p"))[1], "clip h\xC3\xA9llo");
    Cause("xdotool key c");
    EXPECT_EQ(OutputOf("timeout 5 xclip -selection clipboard -o"),
              "Gr\xC3\xBC\xC3\x9F"
              "e");
}

TEST_F(X11, AlertsAreDismissedByReturnSpaceEscapeAndTheButton) {
    StartProbe([](const std::string& text) {
        if (text != "x") {
            return;
        }
        desktop.alert("Something went wrong. So sorry.");
        ProbeLog("dismissed");
    });
    for (const std::string key : {"Return", "space", "Escape", "KP_Enter"}) {
        const std::size_t before = probe.Log().size();
        Run("xdotool key x");
        probe.WaitForQuiet();
        EXPECT_EQ(probe.Log(before).back(), "key-down 07 \"x\"") << key;
        Run("xdotool key q");  // presses nothing, and does not reach the game
        Run("xdotool key " + key);
        EXPECT_GE(probe.WaitFor("dismissed", before), 0) << key;
        probe.WaitForQuiet();
    }
    const std::size_t before = probe.Log().size();
    Run("xdotool key x");
    probe.WaitForQuiet();
    // The button lies 20 from the right and bottom edges of the box.
    Run("eval $(xdotool getwindowfocus getwindowgeometry --shell); "
        "xdotool mousemove --window $WINDOW $((WIDTH - 40)) $((HEIGHT - 35)) click 1");
    EXPECT_GE(probe.WaitFor("dismissed", before), 0);
}

TEST_F(X11, OnAScreenWithAHighDensityAnAlertIsTwiceAsLarge) {
    const auto alert = [](const std::string& text) {
        if (text != "x") {
            return;
        }
        desktop.alert("Something went wrong. So sorry.");
        ProbeLog("dismissed");
    };
    StartProbe(alert);
    const auto openedBox = [&] {
        Run("xdotool key x");
        probe.WaitForQuiet();
        std::istringstream size(
            OutputOf("eval $(xdotool getwindowfocus getwindowgeometry --shell); "
                     "echo $WIDTH $HEIGHT"));
        std::pair<int, int> box;
        size >> box.first >> box.second;
        return box;
    };
    const auto [width, height] = openedBox();
    Run("xdotool key Return");
    EXPECT_GE(probe.WaitFor("dismissed"), 0);
    // It is read when the box opens.
    Run("echo 'Xft.dpi: 192' | xrdb -merge");
    const std::size_t before = probe.Log().size();
    const auto [wide, high] = openedBox();
    // Letters are placed on pixels, which are half as large for them.
    EXPECT_NEAR(wide, 2 * width, 8);
    EXPECT_NEAR(high, 2 * height, 8);
    // The button lies 40 from the right and bottom edges.
    Run("eval $(xdotool getwindowfocus getwindowgeometry --shell); "
        "xdotool mousemove --window $WINDOW $((WIDTH - 80)) $((HEIGHT - 70)) click 1");
    EXPECT_GE(probe.WaitFor("dismissed", before), 0);
}

TEST_F(X11, ABusyApplicationAnswersTheDesktopAndCanBeEnded) {
    StartProbe([](const std::string& text) {
        if (text != "z") {
            return;
        }
        const u64 until = desktop.nanoseconds() + 60'000'000'000;
        while (desktop.nanoseconds() < until) {
        }
    });
    Run("xdotool key z");
    ASSERT_GE(probe.WaitFor("key-down 06"), 0);
    const std::string game = OutputOf("xdotool getwindowfocus");
    Run("xdotool key alt+F4");
    std::string box = game;
    for (int i = 0; i < 100 && (box == game || box.empty()); ++i) {
        Run("sleep 0.1");
        box = OutputOf("xdotool search --onlyvisible --name '^Probe$' | grep -v '^" + game + "$'");
    }
    ASSERT_NE(box, "");
    // The second button from the right: End.
    Run("sleep 0.3; eval $(xdotool getwindowgeometry --shell " + box +
        "); xdotool mousemove --window " + box + " $((WIDTH - 160)) $((HEIGHT - 35)) click 1");
    EXPECT_EQ(probe.WaitForExit(), 1);
}

TEST_F(X11, AMonitorThatChangesItsSizeIsTold) {
    if (!IsProgramInstalled("xrandr")) {
        GTEST_SKIP() << "xrandr is missing";
    }
    StartProbe();
    Run("xrandr --newmode small 31.5 1024 1048 1184 1344 768 771 777 806");
    Run("xrandr --addmode screen small");
    const std::size_t before = probe.Log().size();
    Run("xrandr --output screen --mode small");
    EXPECT_GE(probe.WaitFor("screens", before), 0);
    EXPECT_GE(probe.WaitFor("screen 1024 768", before), 0);
}

TEST_F(X11, SleepingShowsTheWaitingRedrawAndDeliversInputAfterwards) {
    StartProbe([](const std::string& text) {
        if (text != "w") {
            return;
        }
        desktop.requestRedraw({10, 20, 30, 40});
        desktop.sleep(700);
        ProbeLog("awake");
    });
    const Lines lines = [this] {
        const std::size_t before = probe.Log().size();
        Run("xdotool key w sleep 0.2 key a");
        probe.WaitForQuiet();
        return probe.Log(before);
    }();
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[0], "key-down 0D \"w\"");
    EXPECT_EQ(lines[1], "draw 10 20 30 40");
    EXPECT_EQ(lines[2], "awake");
    EXPECT_NE(std::find(lines.begin(), lines.end(), "key-down 00 \"a\""), lines.end());
}

TEST(BareServer, WithoutAWindowManagerKeysArriveAlsoAfterAnAlert) {
    if (!IsProgramInstalled("Xvfb")) {
        GTEST_SKIP() << "Xvfb is missing";
    }
    XSession session;
    ASSERT_TRUE(session.Start("1280x800x24", false));
    DesktopProbe probe;
    probe.Start({}, [](const std::string& text) {
        if (text == "x") {
            desktop.alert("So sorry.");
        }
    });
    ASSERT_GE(probe.WaitFor("active"), 0);
    probe.WaitForQuiet();
    ASSERT_EQ(std::system("xdotool key x"), 0);
    ASSERT_GE(probe.WaitFor("key-down 07"), 0);
    probe.WaitForQuiet();
    const std::size_t before = probe.Log().size();
    ASSERT_EQ(std::system("xdotool key Return"), 0);
    ASSERT_GE(probe.WaitFor("active", before), 0);
    probe.WaitForQuiet();
    ASSERT_EQ(std::system("xdotool key a"), 0);
    EXPECT_GE(probe.WaitFor("key-down 00 \"a\"", before), 0);
    kill(probe.process, SIGTERM);
    EXPECT_EQ(probe.WaitForExit(), 0);
}

TEST(Display, WithoutADisplayTheStartIsRefusedWithAReason) {
    setenv("DISPLAY", ":54321", 1);
    unsetenv("WAYLAND_DISPLAY");
    setenv("XDG_RUNTIME_DIR", std::filesystem::temp_directory_path().c_str(), 1);
    DesktopProbe probe;
    probe.Start();
    EXPECT_EQ(probe.WaitForExit(), 1);
    ASSERT_EQ(probe.Log().size(), 1u);
    EXPECT_TRUE(probe.Log()[0].starts_with("error no display")) << probe.Log()[0];
}
}  // namespace

}  // namespace moxi
