// Whose change of the window's geometry it is: what the module asked for must not come back to it,
// what the user did at the same moment must, and so must what the desktop made of a request.
#include "tests/support/x11_client.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {
// The module asks for the frame 800 x 500 at 200, 150. The decorations are 1 left and right, 20
// above and 5 below, so the content is 798 x 475.
constexpr const char* kOwnSize = "9 31e 1db 0";
constexpr const char* kOwnMove = "8 c8 96 0";

bool IsSize(const std::string& line) {
    return line.starts_with("9 ");
}

std::string LastSize(const Lines& lines) {
    const auto last = std::find_if(lines.rbegin(), lines.rend(), IsSize);
    return last == lines.rend() ? "" : *last;
}

TEST_F(MoxiWindow, OnlyTheUsersPartOfChangesAtTheSameMomentIsTold) {
    Start();
    const std::string window = Window();
    // Just after the module's own request.
    Lines lines = Cause("xdotool key g windowsize " + window + " 650 420");
    EXPECT_FALSE(Contains(lines, kOwnSize)) << testing::PrintToString(lines);
    EXPECT_FALSE(Contains(lines, kOwnMove)) << testing::PrintToString(lines);
    EXPECT_EQ(LastSize(lines), "9 28a 1a4 0") << testing::PrintToString(lines);

    // Just before it: the module's request comes last and stays. The user's change may have been
    // told before it; what has not been delivered by then says how it is now.
    lines = Cause("xdotool windowsize " + window + " 700 430 key g");
    EXPECT_FALSE(Contains(lines, kOwnMove)) << testing::PrintToString(lines);
    EXPECT_EQ(Cause("xdotool key 7")[1], "708 c8 96 320");

    // A move: the frame's top-left corner goes to 40, 30, so its lower edge to 900 - 30 - 500.
    lines = Cause("xdotool windowmove " + window + " 300 200");
    lines = Cause("xdotool key g windowmove " + window + " 40 30");
    EXPECT_FALSE(Contains(lines, kOwnSize)) << testing::PrintToString(lines);
    EXPECT_FALSE(Contains(lines, kOwnMove)) << testing::PrintToString(lines);
    EXPECT_TRUE(Contains(lines, "8 28 172 0")) << testing::PrintToString(lines);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), IsSize), 0);
}

TEST_F(MoxiWindow, ASizeThatTheDesktopLimitsIsToldAsItCameOut) {
    StopProcess(session.manager);
    session.manager = -1;
    const pid_t manager = StartStrictManager(700, 450);
    ASSERT_GT(manager, 0);
    Start();
    const Lines lines = Cause("xdotool key g");
    // No decorations here: 800 x 500 were asked for at the top-left corner 200, 250.
    EXPECT_FALSE(Contains(lines, "9 320 1f4 0")) << testing::PrintToString(lines);
    EXPECT_EQ(LastSize(lines), "9 2bc 1c2 0") << testing::PrintToString(lines);
    // The lower edge is 50 higher than asked for.
    EXPECT_TRUE(Contains(lines, "8 c8 c8 0")) << testing::PrintToString(lines);
    const Lines place = Cause("xdotool key 7");
    EXPECT_TRUE(Contains(place, "708 c8 c8 2bc")) << testing::PrintToString(place);
    EXPECT_TRUE(Contains(place, "708 1c2 0 0")) << testing::PrintToString(place);
    StopProcess(manager);
}

TEST_F(MoxiWindow, AGeometryThatTheDesktopRefusesIsToldAsItStayed) {
    StopProcess(session.manager);
    session.manager = -1;
    const pid_t manager = StartStrictManager(0, 0);
    ASSERT_GT(manager, 0);
    Start();
    const std::size_t before = Messages().size();
    Shell("xdotool key g");
    Lines lines;
    EXPECT_TRUE(WaitUntil([&] {
        lines = Messages();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
        return Contains(lines, "8 64 64 0") && Contains(lines, "9 3e8 258 0");
    }));
    EXPECT_EQ(LastSize(lines), "9 3e8 258 0") << testing::PrintToString(lines);
    EXPECT_FALSE(Contains(lines, "9 320 1f4 0")) << testing::PrintToString(lines);
    const Lines place = Cause("xdotool key 7");
    EXPECT_TRUE(Contains(place, "708 64 64 3e8")) << testing::PrintToString(place);
    StopProcess(manager);
}

TEST_F(MoxiWindow, ABorderThatIsDraggedTellsTheSizeThatItEndsWith) {
    Start();
    // The bottom-right corner of the frame, and 150 x 100 further in.
    Shell("xdotool mousemove 1099 803 mousedown 1 mousemove 1050 780 sleep 0.1 mousemove 949 703");
    WaitForQuiet();
    const Lines lines = Cause("xdotool mouseup 1");
    const std::string width = OutputOf("xwininfo -name 'Message Log' | sed -n 's/ *Width: //p'");
    const std::string height = OutputOf("xwininfo -name 'Message Log' | sed -n 's/ *Height: //p'");
    ASSERT_NE(width, "1000");
    char expected[64];
    std::snprintf(expected, sizeof expected, "9 %x %x 0", std::stoi(width), std::stoi(height));
    EXPECT_EQ(LastSize(Messages()), expected) << testing::PrintToString(Messages());
    // The user's click at the border is none in the game.
    for (const std::string& line : Messages()) {
        EXPECT_FALSE(line.starts_with("c 1 ")) << line;
    }
}

TEST_F(MoxiWindow, ARedrawTouchesOnlyTheDirtyRectangle) {
    Start();
    const unsigned long window = std::stoul(Window());
    // Another program paints over the whole window. What the game then draws is repainted alone.
    PaintX11Window(window, 0, 0, 1000, 600, 0x123456);
    ASSERT_EQ(X11Pixel(window, 500, 300), 0x123456u);
    Cause("xdotool key 6");
    EXPECT_EQ(X11Pixel(window, 10, 20), 0x1060E0u);
    EXPECT_EQ(X11Pixel(window, 39, 59), 0x1060E0u);
    EXPECT_EQ(X11Pixel(window, 9, 20), 0x123456u);
    EXPECT_EQ(X11Pixel(window, 10, 19), 0x123456u);
    EXPECT_EQ(X11Pixel(window, 40, 59), 0x123456u);
    EXPECT_EQ(X11Pixel(window, 39, 60), 0x123456u);
    EXPECT_EQ(X11Pixel(window, 500, 300), 0x123456u);
}
}  // namespace

}  // namespace moxi
