// An enlarged window, and a view fitted to the whole screen, on a real server.
#include "tests/support/x11_client.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {

// The size that stands in a PNG file.
std::string PngSize(const std::string& path) {
    const std::string bytes = ReadTextFile(path);
    if (bytes.size() < 24) {
        return "none";
    }
    const auto word = [&](size_t at) {
        u32 value = 0;
        for (size_t i = at; i < at + 4; ++i) {
            value = value << 8 | static_cast<u8>(bytes[i]);
        }
        return std::to_string(value);
    };
    return word(16) + "x" + word(20);
}

class ScaledWindow : public MoxiWindow {
  protected:
    ScaledWindow() : MoxiWindow("2400x1600x24") {}

    // Left, top, width and height of the content on the screen.
    std::string Place() const {
        return OutputOf("xwininfo -id " + Window() +
                        " | sed -n 's/.*\\(Absolute.*:\\|Width:\\|Height:\\) *//p' | xargs");
    }

    bool WaitForPlace(const std::string& place) const {
        return WaitUntil([&] { return Place() == place; });
    }

    unsigned long Id() const { return std::strtoul(Window().c_str(), nullptr, 10); }
};

TEST_F(ScaledWindow, TwiceAsLargeTheModuleSeesItsOwnSizeAndThePointerFits) {
    const std::string screen = folder.path + "/screen.png";
    const std::string view = folder.path + "/view.png";
    Start({"--mute", "--scale", "2", "--dump-screen", screen, "--dump-view", view});
    // 1000 x 600 points at 100, 100 from the bottom.
    EXPECT_EQ(Place(), "200 200 2000 1200");
    EXPECT_TRUE(Contains(Messages(), "9 3e8 258 0"));
    EXPECT_TRUE(Contains(Messages(), "8 64 64 0"));
    // Each point is two pixels: those at 16 and 17 are the point 8.
    for (const char* const place : {"216 232", "217 233"}) {
        EXPECT_EQ(Cause(std::string("xdotool mousemove ") + place + " click 1"),
                  (Lines{"c 1 1 100008", "d 1 0 100008"}));
    }
    EXPECT_EQ(Cause("xdotool mousemove 2199 1399 click 1"),
              (Lines{"c 1 1 25703e7", "d 1 0 25703e7"}));
    // The user makes it larger by the border: 1501 x 1001 pixels are 750 x 500 points.
    const Lines lines = Cause("xdotool windowsize " + Window() + " 1501 1001");
    EXPECT_TRUE(Contains(lines, "9 2ee 1f4 0")) << testing::PrintToString(lines);
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(PngSize(screen), "1200x800");
    EXPECT_EQ(PngSize(view), "750x500");
}

TEST_F(ScaledWindow, EveryPixelOfTheViewIsASquare) {
    Start({"--mute", "--scale", "2"});
    // Key 6 draws 30 x 40 at 10, 20: from 20, 40 to before 80, 120.
    Type("6");
    // Its own blue, as the messages' module has it.
    const unsigned drawn = X11Pixel(Id(), 50, 80);
    EXPECT_EQ(drawn, 0x1060E0u);
    for (const auto& [x, y] : {std::pair{20, 40}, std::pair{79, 119}}) {
        EXPECT_EQ(X11Pixel(Id(), x, y), drawn) << x << " " << y;
    }
    for (const auto& [x, y] : {std::pair{19, 40}, std::pair{20, 39}, std::pair{80, 119}}) {
        EXPECT_NE(X11Pixel(Id(), x, y), drawn) << x << " " << y;
    }
}

TEST_F(ScaledWindow, TheDensityOfTheScreenEnlargesByItself) {
    Shell("echo 'Xft.dpi: 192' | xrdb -merge");
    Start();
    EXPECT_EQ(Place(), "200 200 2000 1200");
    EXPECT_TRUE(Contains(Messages(), "9 3e8 258 0"));
}

TEST_F(ScaledWindow, FittedTheViewFillsTheScreenAndTheModuleSeesNothingOfIt) {
    Start({"--mute", "--scale", "fit"});
    ASSERT_TRUE(WaitForPlace("0 0 2400 1600"));
    WaitForQuiet();
    Lines sizes = Messages();
    std::erase_if(sizes, [](const std::string& line) { return !line.starts_with("9 "); });
    EXPECT_EQ(sizes, (Lines{"9 3e8 258 0", "9 3e8 258 0"}));
    // Twice as large in the middle: from 200, 200 on.
    EXPECT_EQ(Cause("xdotool mousemove 216 232 click 1"), (Lines{"c 1 1 100008", "d 1 0 100008"}));
    // The bars are nothing to press, and the pointer is at the edge there.
    Shell("xdotool mousemove 100 800 click 1");
    EXPECT_TRUE(WaitUntil([this] { return Messages().back() == "f 0 12c 0"; }));
    WaitForQuiet();
    EXPECT_EQ(Messages().back(), "f 0 12c 0");
    EXPECT_EQ(X11Pixel(Id(), 100, 800), 0x000000u);
    // The player goes to a window and back, which the module does not see.
    EXPECT_EQ(Type("alt+Return"), Lines{"c 12 0 0"});
    EXPECT_TRUE(WaitUntil([this] { return Place().ends_with(" 1000 600"); })) << Place();
    EXPECT_EQ(Type("alt+Return"), Lines{"c 12 0 0"});
    EXPECT_TRUE(WaitForPlace("0 0 2400 1600"));
}

TEST_F(ScaledWindow, AScaleThatTheScreenHasNoRoomForIsMadeSmallerAndSaidSo) {
    // 2400 / 600 and 1600 / 400 are 4.
    Start({"--mute", "--scale", "16"});
    EXPECT_TRUE(Contains(Messages(), "9 3e8 258 0"));
    EXPECT_TRUE(WaitUntil([this] { return Place().ends_with(" 4000 2400"); })) << Place();
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_NE(Errors().find("log: scale 16: the screen has room for 4\n"), std::string::npos);
}

TEST_F(ScaledWindow, ThePanelLeavesAndEntersTheWholeScreenOfAFittedView) {
    const std::string preferences = folder.path + "/preferences";
    WriteTextFile(preferences, "scale = fit\n");
    Start({"--mute", "--preferences", preferences});
    ASSERT_TRUE(WaitForPlace("0 0 2400 1600"));
    WaitForQuiet();
    // The second page and its first switch.
    const auto press = [this](const std::string& keys) { Shell("xdotool key --delay 60 " + keys); };
    press("ctrl+comma Home Right Tab Tab Tab Tab Tab space");
    EXPECT_TRUE(WaitUntil([this] { return Place().ends_with(" 1000 600"); })) << Place();
    press("space");
    EXPECT_TRUE(WaitForPlace("0 0 2400 1600"));
    // It leaves what is so already alone, whichever way it became so.
    press("alt+Return");
    EXPECT_TRUE(WaitUntil([this] { return Place().ends_with(" 1000 600"); })) << Place();
    press("space");
    EXPECT_TRUE(WaitForPlace("0 0 2400 1600"));
    press("Escape");
    WaitForQuiet();
    EXPECT_EQ(ReadTextFile(preferences), "scale = fit\n");
}

TEST_F(ScaledWindow, APreferenceIsAsGoodAsTheOption) {
    WriteTextFile(folder.path + "/preferences", "scale = 2\nfilter = smooth\n");
    Start({"--mute", "--preferences", folder.path + "/preferences"});
    EXPECT_EQ(Place(), "200 200 2000 1200");
}

}  // namespace

}  // namespace moxi
