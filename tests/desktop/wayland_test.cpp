// The SDL desktop on a Wayland compositor. There are no decorations here, and no window positions:
// what the application asked for is what it is told.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "desktop/desktop.h"
#include "tests/support/desktop_probe.h"
#include "tests/support/desktop_session.h"

namespace {
using Lines = std::vector<std::string>;

class Wayland : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsProgramInstalled("weston")) GTEST_SKIP() << "weston is missing";
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
        if (text == "s") desktop.setWindowFrame({50, 60, 700, 500});
    });
    EXPECT_EQ(Cause("key s"), (Lines{"key-down 01 \"s\"", "move 50 60 700 500", "frame 700 500",
                                     "resize 700 500"}));
}

TEST_F(Wayland, FullScreenTellsInOrderAndComesBack) {
    StartProbe([](const std::string& text) {
        if (text == "f") desktop.toggleFullScreen();
    });
    EXPECT_EQ(Cause("key f"), (Lines{"key-down 03 \"f\"", "will-enter", "move 0 0 1280 800",
                                     "frame 1280 800", "resize 1280 800", "did-enter"}));
    EXPECT_EQ(Cause("key f"), (Lines{"key-down 03 \"f\"", "will-exit", "move 100 100 1000 600",
                                     "frame 1000 600", "resize 1000 600", "did-exit"}));
}

TEST_F(Wayland, AnAlertIsDismissedByAKey) {
    StartProbe([](const std::string& text) {
        if (text != "x") return;
        desktop.alert("Something went wrong. So sorry.");
        ProbeLog("dismissed");
    });
    Cause("key x");
    EXPECT_NE(probe.Log().back(), "dismissed");
    Xdotool("key Return");
    EXPECT_GE(probe.WaitFor("dismissed"), 0);
}

TEST_F(Wayland, ATerminationSignalQuits) {
    StartProbe();
    kill(probe.process, SIGTERM);
    EXPECT_EQ(probe.WaitForExit(), 0);
    EXPECT_EQ(probe.Log().back(), "ended");
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
