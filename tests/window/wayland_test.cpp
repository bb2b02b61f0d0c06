// The SDL desktop on a Wayland compositor. There are no decorations here, and no window positions:
// what the application asked for is what it is told.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "desktop/desktop.h"
#include "tests/support/desktop_probe.h"
#include "tests/support/desktop_session.h"
#include "tests/support/x11_client.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {
class Wayland : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsProgramInstalled("weston")) {
            GTEST_SKIP() << "weston is missing";
        }
        ASSERT_TRUE(session.Start(1280, 800));
    }
    void TearDown() override { unsetenv("WAYLAND_DISPLAY"); }

    void StartProbe(const std::function<void(const std::string&)>& onKey = {}) {
        probe.Start({}, onKey);
        ASSERT_GE(probe.WaitFor("draw 0 0 1000 600"), 0);
        ASSERT_GE(probe.WaitFor("active"), 0);
        // The compositor follows the pointer's movements and not its place, which it may have
        // missed at the start: from corner to corner they agree.
        for (int i = 0; i < 20 && probe.WaitFor("mouse-move", 0, 20) < 0; ++i) {
            for (const char* place : {"1279 799", "0 0", "600 400", "601 401"}) {
                Xdotool(std::string("mousemove ") + place);
            }
        }
        ASSERT_GE(probe.WaitFor("mouse-move"), 0);
        probe.WaitForQuiet();
    }

    void Xdotool(const std::string& command) {
        const std::string line = "DISPLAY=" + session.xServer.display + " xdotool " + command;
        EXPECT_EQ(std::system(line.c_str()), 0) << line;
    }

    Lines Cause(const std::string& command) {
        const std::size_t before = probe.Log().size();
        Xdotool(command);
        probe.WaitForQuiet();
        Lines lines = probe.Log(before);
        std::erase_if(lines, [](const std::string& line) {
            return line.starts_with("draw") || line.starts_with("mouse-move") ||
                   line.starts_with("key-up");
        });
        return lines;
    }

    void PressAlertsButton(int scale);

    WaylandSession session;
    DesktopProbe probe;
};

TEST_F(Wayland, KeysArriveWithTheirTextAndModifiers) {
    StartProbe();
    EXPECT_EQ(Cause("key a"), Lines{"key-down 00 \"a\""});
    EXPECT_EQ(Cause("key shift+b"), (Lines{"modifiers shift", "key-down 0B \"B\"", "modifiers"}));
    EXPECT_EQ(Cause("key ctrl+q"), (Lines{"modifiers command", "key-down 0C \"q\"", "modifiers"}));
    EXPECT_EQ(Cause("key Left F1"), (Lines{"key-down 7B \"\\x1C\"", "key-down 7A \"\\x10\""}));
}

TEST_F(Wayland, ButtonsAndWheelArrive) {
    StartProbe();
    Lines lines = Cause("click 3");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].starts_with("mouse-down 1 ")) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("mouse-up 1 ")) << lines[1];
    lines = Cause("click 4 click 5");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].starts_with("scroll 0 0.1 ")) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("scroll 0 -0.1 ")) << lines[1];
}

TEST_F(Wayland, TheApplicationsOwnGeometryComesBackOnce) {
    StartProbe([](const std::string& text) {
        if (text == "s") {
            desktop.setWindowFrame({50, 60, 700, 500});
        }
    });
    EXPECT_EQ(Cause("key s"), (Lines{"key-down 01 \"s\"", "move 50 60 700 500", "frame 700 500",
                                     "resize 700 500"}));
}

TEST_F(Wayland, FullScreenTellsInOrderAndComesBack) {
    StartProbe([](const std::string& text) {
        if (text == "f") {
            desktop.toggleFullScreen();
        }
    });
    EXPECT_EQ(Cause("key f"), (Lines{"key-down 03 \"f\"", "will-enter", "move 0 0 1280 800",
                                     "frame 1280 800", "resize 1280 800", "did-enter"}));
    EXPECT_EQ(Cause("key f"), (Lines{"key-down 03 \"f\"", "will-exit", "move 100 100 1000 600",
                                     "frame 1000 600", "resize 1000 600", "did-exit"}));
}

TEST_F(Wayland, AnAlertIsDismissedByAKey) {
    StartProbe([](const std::string& text) {
        if (text != "x") {
            return;
        }
        desktop.alert("Something went wrong. So sorry.");
        ProbeLog("dismissed");
    });
    Cause("key x");
    EXPECT_NE(probe.Log().back(), "dismissed");
    Xdotool("key Return");
    EXPECT_GE(probe.WaitFor("dismissed"), 0);
}

TEST_F(Wayland, AfterAnAlertKeysArriveWithoutAClick) {
    StartProbe([](const std::string& text) {
        if (text != "x") {
            return;
        }
        desktop.alert("Something went wrong. So sorry.");
        ProbeLog("dismissed");
    });
    for (const std::string key : {"Return", "space", "Escape"}) {
        const std::size_t before = probe.Log().size();
        Cause("key x");
        Cause("key q");  // presses nothing, and does not reach the game
        Xdotool("key " + key);
        EXPECT_GE(probe.WaitFor("dismissed", before), 0) << key;
        EXPECT_EQ(Cause("key a"), Lines{"key-down 00 \"a\""}) << key;
    }
}

// The box lies over the window, as large as `scale` says, and its button is pressed by the mouse.
void Wayland::PressAlertsButton(int scale) {
    StartProbe([](const std::string& text) {
        if (text != "x") {
            return;
        }
        desktop.alert("Something went wrong. So sorry.");
        ProbeLog("dismissed");
    });
    Cause("key x");
    const std::string picture = ::testing::TempDir() + "/wayland-alert.png";
    const std::string server = "DISPLAY=" + session.xServer.display + " ";
    OutputOf(server + "import -window root " + picture);
    // The box's background is the light grey F1F1F1, which the scene has nowhere.
    const std::string size = OutputOf("convert " + picture +
                                      " -fill black +opaque '#F1F1F1' -trim -format '%w %h %O' "
                                      "info: 2>&1");
    int width = 0;
    int height = 0;
    int left = 0;
    int top = 0;
    ASSERT_EQ(std::sscanf(size.c_str(), "%d %d +%d+%d", &width, &height, &left, &top), 4) << size;
    EXPECT_GT(width, 200 * scale);
    EXPECT_GT(height, 80 * scale);
    EXPECT_LT(width, 600 * scale);
    EXPECT_LT(height, 300 * scale);
    // The button lies 20 from the right and bottom edges of the box.
    Xdotool("mousemove " + std::to_string(left + width - 40 * scale) + " " +
            std::to_string(top + height - 35 * scale) + " sleep 0.1 click 1");
    EXPECT_GE(probe.WaitFor("dismissed"), 0);
    EXPECT_EQ(Cause("key a"), Lines{"key-down 00 \"a\""});
}

TEST_F(Wayland, AnAlertLiesOverTheWindowAndItsButtonIsPressedByTheMouse) {
    PressAlertsButton(1);
}

class WaylandWithScale2 : public Wayland {
  protected:
    void SetUp() override {
        if (!IsProgramInstalled("weston")) {
            GTEST_SKIP() << "weston is missing";
        }
        ASSERT_TRUE(session.Start(1280, 800, "us", 2));
    }
};

TEST_F(WaylandWithScale2, AnAlertsButtonIsPressedByTheMouse) {
    PressAlertsButton(2);
}

TEST_F(WaylandWithScale2, ThePointerIsOnThePointUnderIt) {
    StartProbe();
    // From two places in the window: twice the way on the screen.
    const auto pointAt = [this](int x, int y) {
        Xdotool("mousemove " + std::to_string(x - 2) + " " + std::to_string(y));
        probe.WaitForQuiet();
        const std::size_t before = probe.Log().size();
        Xdotool("mousemove " + std::to_string(x) + " " + std::to_string(y));
        EXPECT_GE(probe.WaitFor("mouse-move", before), 0);
        int pointX = 0;
        int pointY = 0;
        EXPECT_EQ(std::sscanf(probe.Log().back().c_str(), "mouse-move %d %d", &pointX, &pointY), 2);
        return std::pair{pointX, pointY};
    };
    const auto first = pointAt(1000, 700);
    const auto second = pointAt(1400, 900);
    EXPECT_EQ(second.first - first.first, 200);
    EXPECT_EQ(second.second - first.second, 100);
}

TEST_F(Wayland, TheBoxAboutABusyApplicationIsUsedByKeyboardAndLeavesTheKeyboardAlive) {
    StartProbe([](const std::string& text) {
        if (text != "z" && text != "y") {
            return;
        }
        // Until it is ended, or for longer than the box needs to come.
        const u64 until = desktop.nanoseconds() + (text == "z" ? 60 : 9) * 1'000'000'000ull;
        while (desktop.nanoseconds() < until) {
        }
        ProbeLog("no longer busy");
    });
    const auto boxIsThere = [&] {
        const std::string picture = ::testing::TempDir() + "/wayland-box.png";
        OutputOf("DISPLAY=" + session.xServer.display + " import -window root " + picture);
        return OutputOf("convert " + picture +
                        " -fill black +opaque '#F1F1F1' -format '%[fx:mean>0]' info: 2>&1") == "1";
    };
    std::size_t before = probe.Log().size();
    Xdotool("key y");
    ASSERT_GE(probe.WaitFor("key-down", before), 0);
    kill(probe.process, SIGTERM);
    ASSERT_TRUE(WaitUntil(boxIsThere));
    Xdotool("key Return");  // Wait
    EXPECT_TRUE(WaitUntil([&] { return !boxIsThere(); }));
    EXPECT_GE(probe.WaitFor("no longer busy", before), 0);
    EXPECT_EQ(probe.WaitForExit(), 0);
}

TEST_F(Wayland, CommandTakesTheTextOfTheLayoutThatIsActive) {
    // The compositor takes the layouts of the X server that it is shown on.
    session.Stop();
    ASSERT_TRUE(session.Start(1280, 800, "us,fr"));
    StartProbe();
    const std::string display = "DISPLAY=" + session.xServer.display + " ";
    // Keys by their place, 38 is A in the first layout and Q in the second.
    const auto press = [&](const std::vector<unsigned>& codes) {
        const std::size_t before = probe.Log().size();
        setenv("DISPLAY", session.xServer.display.c_str(), 1);
        EXPECT_TRUE(PressX11Keys(codes));
        unsetenv("DISPLAY");
        probe.WaitForQuiet();
        Lines lines = probe.Log(before);
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("key-down"); });
        return lines;
    };
    const auto use = [&](unsigned layout) {
        setenv("DISPLAY", session.xServer.display.c_str(), 1);
        UseX11Layout(layout);
        unsetenv("DISPLAY");
        probe.WaitForQuiet();
    };
    use(1);
    EXPECT_EQ(press({38}), Lines{"key-down 00 \"q\""});
    use(0);
    EXPECT_EQ(press({38}), Lines{"key-down 00 \"a\""});
    EXPECT_EQ(press({37, 38}), Lines{"key-down 00 \"a\""});
    use(1);
    EXPECT_EQ(press({37, 38}), Lines{"key-down 00 \"q\""});
    EXPECT_EQ(press({37, 50, 10}), Lines{"key-down 12 \"1\""});
    EXPECT_EQ(press({37, 10}), Lines{"key-down 12 \"&\""});
}

TEST_F(Wayland, ALongTextOfAnotherProgramComesWhole) {
    if (!IsProgramInstalled("wl-copy")) {
        GTEST_SKIP() << "wl-clipboard is missing";
    }
    StartProbe([](const std::string& text) {
        if (text == "p") {
            const std::string clip = desktop.clipboardText().value_or("none");
            ProbeLog("clip " + std::to_string(clip.size()) + " " + clip.substr(0, 8) + " " +
                     clip.substr(clip.size() - 8));
        }
    });
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/text", "beginning" + std::string(5'000'000, '.') + "the end.");
    OutputOf("wl-copy --type text/plain\\;charset=utf-8 < " + folder.path +
             "/text >/dev/null 2>&1");
    // wl-copy has had a window of its own, and the keyboard.
    Cause("click 1");
    Cause("key p");
    EXPECT_GE(probe.WaitFor("clip 5000017 beginnin the end."), 0)
        << testing::PrintToString(probe.Log());
}

TEST_F(Wayland, ATerminationSignalQuits) {
    StartProbe();
    kill(probe.process, SIGTERM);
    EXPECT_EQ(probe.WaitForExit(), 0);
    EXPECT_EQ(probe.Log().back(), "ended");
}

TEST_F(Wayland, AModuleGetsTheMessagesOfItsUser) {
    const TemporaryFolder folder;
    const std::string game = MakeMessageLog(folder.path);
    const std::string log = folder.path + "/data/debug.log";
    const pid_t process = StartProcess({std::string(MOXI_BIN_DIR) + "/moxi", "--mute",
                                        "--data-folder", folder.path + "/data", game},
                                       folder.path + "/errors");
    const auto isTold = [&log](const std::string& message) {
        return WaitUntil([&] { return Contains(MessagesIn(log), message); });
    };
    ASSERT_TRUE(isTold("9 3e8 258 0")) << ReadTextFile(folder.path + "/errors");
    // As for the probe, the pointer has to agree with the compositor's first.
    ASSERT_TRUE(WaitUntil([&] {
        for (const char* place : {"1279 799", "0 0", "600 400", "601 401"}) {
            Xdotool(std::string("mousemove ") + place + " sleep 0.02");
        }
        const Lines lines = MessagesIn(log);
        return std::any_of(lines.begin(), lines.end(),
                           [](const std::string& line) { return line.starts_with("f "); });
    }));
    Xdotool("key shift+c");
    ASSERT_TRUE(isTold("d 43 1 0"));
    Xdotool("key Left");
    ASSERT_TRUE(isTold("d 25 1 0"));
    Xdotool("keydown shift click 3 keyup shift");
    Xdotool("click 4");
    Xdotool("key v");
    ASSERT_TRUE(isTold("d 56 1 0"));
    Xdotool("key ctrl+w");
    ASSERT_TRUE(isTold("3 0 0 0"));
    Lines lines = MessagesIn(log);
    ErasePointer(lines);
    // Where the compositor has put the window it does not tell.
    for (std::string& line : lines) {
        if (line.starts_with("c 2 ") || line.starts_with("d 2 ") || line.starts_with("c 8003 ")) {
            line.resize(line.rfind(' '));
        }
    }
    // Releases, whose order xdotool decides.
    std::erase_if(lines, [](const std::string& line) {
        return line == "d 10 0 0" || line == "d 11 0 0" || line == "d 57 1 0";
    });
    EXPECT_EQ(lines,
              (Lines{"1 0 0 0",  "2 0 0 0",  "9 3e8 258 0", "8 64 64 0", "9 3e8 258 0", "c 10 0 0",
                     "c 43 1 0", "e 43 0 0", "d 43 1 0",    "c 25 1 0",  "e 1c 0 0",    "d 25 1 0",
                     "c 10 0 0", "c 2 6",    "d 2 4",       "c 8003 1",  "c 56 1 0",    "e 76 0 0",
                     "d 56 1 0", "c 11 0 0", "3 0 0 0"}));

    // The module has refused. A signal asks it once more, and the next does not ask.
    kill(process, SIGTERM);
    ASSERT_TRUE(WaitUntil([&] {
        const Lines all = MessagesIn(log);
        return std::count(all.begin(), all.end(), "3 0 0 0") == 2;
    }));
    kill(process, SIGTERM);
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
}

TEST_F(Wayland, ALostCompositorEndsTheApplicationWhateverItAnswers) {
    StartProbe([](const std::string& text) { probeMayClose = text == "y"; });
    Cause("key n");
    const std::size_t before = probe.Log().size();
    kill(session.compositor, SIGKILL);
    EXPECT_EQ(probe.WaitForExit(), 0);
    Lines lines = probe.Log(before);
    std::erase_if(lines, [](const std::string& line) {
        return line.starts_with("key-up") || line.starts_with("draw");
    });
    EXPECT_EQ(lines, (Lines{"should-terminate", "will-terminate", "ended"}));
}
}  // namespace

}  // namespace moxi
