// An enlarged view that a graphics processor shows: here the one that Mesa has as a program,
// through GLX, which must show what moxi draws without one.
#include <SDL.h>
#include <gtest/gtest.h>

#include "desktop/desktop.h"
#include "tests/support/desktop_probe.h"
#include "tests/support/x11_client.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {

// A player's whole screen, and what a driver tells of a device that has lost its textures.
void ObeyKeys(const std::string& text) {
    if (text == "f") {
        desktop.toggleFullScreen();
    }
    if (text == "t" || text == "d") {
        SDL_Event event = {};
        event.type = text == "t" ? SDL_RENDER_TARGETS_RESET : SDL_RENDER_DEVICE_RESET;
        SDL_PushEvent(&event);
    }
    if (text == "w") {
        // Wider than any texture.
        desktop.setWindowFrame({0, 0, 30000, 30});
    }
}

class GraphicsProcessor : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!IsProgramInstalled("Xvfb")) {
            GTEST_SKIP() << "Xvfb is missing";
        }
        ASSERT_TRUE(session.Start("2400x1600x24"));
        setenv("SDL_RENDER_DRIVER", GetParam(), 1);
    }
    void TearDown() override { unsetenv("SDL_RENDER_DRIVER"); }

    // False where no driver answers.
    bool Start(ViewScale::Kind kind) {
        probe.scale = ViewScale{.kind = kind, .steps = 2};
        probe.Start({}, ObeyKeys);
        EXPECT_GE(probe.WaitFor("draw"), 0) << testing::PrintToString(probe.Log());
        id = OutputOf("xdotool search --onlyvisible --sync --name '^Probe$'");
        Shell("xdotool windowactivate --sync " + id);
        probe.WaitForQuiet();
        return ReadTextFile("/proc/" + std::to_string(probe.process) + "/maps").find("libGLX") !=
               std::string::npos;
    }

    unsigned Pixel(int x, int y) const {
        return X11Pixel(std::strtoul(id.c_str(), nullptr, 10), x, y);
    }
    // The pixel of the scene: red and green tell eighths of the place, blue the corner.
    static unsigned Scene(int x, int y) {
        return static_cast<unsigned>(x / 8) << 16 | static_cast<unsigned>(y / 8) << 8 |
               (x < 40 && y < 40 ? 255u : 0u);
    }
    void ExpectScene(int width, int height) const {
        for (const auto& [x, y] : {std::pair{0, 0},
                                   {39, 39},
                                   {40, 39},
                                   {width / 2, height / 2},
                                   {width - 1, height - 1}}) {
            for (const int part : {0, 1}) {
                const unsigned wanted = Scene(x, y);
                WaitUntil([&] { return Pixel(2 * x + part, 2 * y + part) == wanted; });
                EXPECT_EQ(Pixel(2 * x + part, 2 * y + part), wanted) << x << " " << y;
            }
        }
    }
    void Type(const std::string& key) const {
        Shell("xdotool key " + key);
        probe.WaitForQuiet();
    }

    XSession session;
    DesktopProbe probe;
    std::string id;
};

TEST_P(GraphicsProcessor, ShowsEachPointAsASquareInEveryWindow) {
    if (!Start(ViewScale::Kind::Steps)) {
        GTEST_SKIP() << "there is no GL";
    }
    ExpectScene(1000, 600);
    Shell("xdotool windowsize " + id + " 1402 902");
    ASSERT_GE(probe.WaitFor("resize 701 451"), 0) << testing::PrintToString(probe.Log());
    ExpectScene(701, 451);
    Type("f");
    ASSERT_GE(probe.WaitFor("resize 1200 800"), 0) << testing::PrintToString(probe.Log());
    ExpectScene(1200, 800);
    Type("f");
    ExpectScene(701, 451);
}

TEST_P(GraphicsProcessor, DrawsAnewWhatADeviceHasLost) {
    if (!Start(ViewScale::Kind::Steps)) {
        GTEST_SKIP() << "there is no GL";
    }
    for (const char* const key : {"t", "d"}) {
        const std::size_t before = probe.Log().size();
        Type(key);
        EXPECT_GE(probe.WaitFor("draw 0 0 1000 600", before), 0) << key;
        ExpectScene(1000, 600);
    }
}

TEST_P(GraphicsProcessor, IsGivenUpForTheProcessorWhereItCannotHoldTheView) {
    if (!Start(ViewScale::Kind::Fit)) {
        GTEST_SKIP() << "there is no GL";
    }
    // 1000 x 600 twice as large, in the middle of the screen.
    WaitUntil([&] { return Pixel(200 + 2 * 500, 200 + 2 * 300) == Scene(500, 300); });
    EXPECT_EQ(Pixel(200 + 2 * 500, 200 + 2 * 300), Scene(500, 300));
    Type("w");
    // 2400 x 2 pixels in the middle, one of 12 1/2 of the view's points.
    WaitUntil([&] { return Pixel(1200, 799) >> 16 == 83u; });
    // Point 15006 of 30000: its eighth is 1875, of which a byte holds 83.
    EXPECT_EQ(Pixel(1200, 799) >> 16, 83u);
    EXPECT_EQ(Pixel(1200, 700), 0u);
}

INSTANTIATE_TEST_SUITE_P(Drivers, GraphicsProcessor, testing::Values("opengl", "opengles2"),
                         [](const auto& test) { return std::string(test.param); });

class GraphicsProcessorOfMoxi : public MoxiWindow {
  protected:
    GraphicsProcessorOfMoxi() : MoxiWindow("2400x1600x24") {}
};

TEST_F(GraphicsProcessorOfMoxi, ThatDoesNotStartIsOneLineAndTheProcessorDoesItsWork) {
    setenv("SDL_RENDER_DRIVER", "opengl", 1);
    setenv("LIBGL_DRIVERS_PATH", "/nonexistent", 1);
    Start({"--mute", "--scale", "2"});
    unsetenv("SDL_RENDER_DRIVER");
    unsetenv("LIBGL_DRIVERS_PATH");
    // Key 6 draws 30 x 40 at 10, 20.
    Shell("xdotool key 6");
    const unsigned long id = std::strtoul(Window().c_str(), nullptr, 10);
    WaitUntil([&] { return X11Pixel(id, 50, 80) == 0x1060E0u; });
    EXPECT_EQ(X11Pixel(id, 50, 80), 0x1060E0u);
    if (ReadTextFile("/proc/" + std::to_string(process) + "/maps").find("swrast") !=
        std::string::npos) {
        GTEST_SKIP() << "the driver starts all the same";
    }
    EXPECT_NE(Errors().find("log: no graphics processor: "), std::string::npos) << Errors();
}

}  // namespace

}  // namespace moxi
