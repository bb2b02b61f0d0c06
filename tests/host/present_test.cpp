// What the view shows of the screen bitmap, and when.

#include "gfx/present.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "gfx/bitmap.h"
#include "gfx/screen.h"
#include "host/queue.h"
#include "host/session.h"
#include "host/view.h"
#include "tests/support/host_bench.h"
#include "tests/support/message_log.h"
#include "tests/support/picture.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

constexpr u32 kRed = 0xFF0000;
constexpr u32 kBlack = 0x000000;

// Instructions that fill a rectangle of the screen bitmap with opaque red.
std::string FillRed(const std::string& x, const std::string& y, const std::string& width,
                    const std::string& height) {
    std::string code = "        PUSH.L  #0\n        PUSH.L  #0xFF0000FF\n";
    for (const std::string& value : {height, width, y, x, std::string("0")}) {
        code += "        PUSH.L  #" + value + "\n";
    }
    return code + "        SERVICE 0x0501, 28\n";
}

// Message 100 makes the whole screen bitmap red, message 101 its left 400 columns, message 102 its
// upper 250 rows.
LoggingModule Painter() {
    LoggingModule module;
    module.on[100] = FillRed("0", "0", "4000", "4000");
    module.on[101] = FillRed("0", "0", "400", "4000");
    module.on[102] = FillRed("0", "0", "4000", "250");
    return module;
}

struct Shown {
    HeadlessResult result;
    Picture picture;
};

// Plays the script and takes a screenshot in the same millisecond as its last line, so before the
// redraws that wait then.
Shown ShownAfter(const LoggingModule& module, const std::string& script, const std::string& time,
                 const Strings& options = {}) {
    const TemporaryFolder folder;
    const std::string file = folder.path + "/view.png";
    Shown shown;
    shown.result = Play(module, script + time + " screenshot \"" + file + "\"\n", options);
    EXPECT_EQ(shown.result.status, 0);
    shown.picture = ReadPicture(file);
    return shown;
}

// --- Through the program

TEST(Present, WhatTheModuleDrawsIsShownWhenItsMessageHasEnded) {
    const Shown at = ShownAfter(Painter(), "50 post 100 0 0 0\n", "50");
    EXPECT_EQ(at.picture.Colour(0, 0, 1000, 600), kBlack);
    const Shown after = ShownAfter(Painter(), "50 post 100 0 0 0\n", "51");
    EXPECT_EQ(after.picture.Colour(0, 0, 1000, 600), kRed);
}

TEST(Present, TheScreensTopLeftCornerIsTheViews) {
    LoggingModule module;
    module.on[100] = FillRed("10", "20", "30", "40");
    const Picture picture = ShownAfter(module, "50 post 100 0 0 0\n", "51").picture;
    EXPECT_EQ(picture.Colour(10, 20, 30, 40), kRed);
    EXPECT_EQ(picture.At(9, 20), kBlack);
    EXPECT_EQ(picture.At(40, 20), kBlack);
    EXPECT_EQ(picture.At(10, 19), kBlack);
    EXPECT_EQ(picture.At(10, 60), kBlack);
}

TEST(Present, ARectangleFromMinus10With30ColumnsDrawsColumns0To19) {
    const Shown shown = ShownAfter(Painter(), "50 post 100 0 0 0\n50 expose -10 0 30 600\n", "50");
    EXPECT_EQ(shown.result.lines, Strings{});
    EXPECT_EQ(shown.picture.Colour(0, 0, 20, 600), kRed);
    EXPECT_EQ(shown.picture.Colour(20, 0, 980, 600), kBlack);
}

TEST(Present, ARectangleFromBelowTheViewDrawsItsRowsInside) {
    const Shown shown = ShownAfter(Painter(), "50 post 100 0 0 0\n50 expose 5 -7 10 17\n", "50");
    EXPECT_EQ(shown.picture.Colour(5, 590, 10, 10), kRed);
    EXPECT_EQ(shown.picture.At(5, 589), kBlack);
    EXPECT_EQ(shown.picture.At(4, 595), kBlack);
    EXPECT_EQ(shown.picture.At(15, 595), kBlack);
}

TEST(Present, ARectangleThatReachesAboveTheViewIsCutThere) {
    const Shown shown = ShownAfter(Painter(), "50 post 100 0 0 0\n50 expose 0 595 10 100\n", "50");
    EXPECT_EQ(shown.result.lines, Strings{});
    EXPECT_EQ(shown.picture.Colour(0, 0, 10, 5), kRed);
    EXPECT_EQ(shown.picture.At(0, 5), kBlack);
}

TEST(Present, FractionsCoverThePixelsWhoseCentresLieInThem) {
    // Columns 10.5 to 20.5 hold the centres of 10 to 19, rows 5.6 to 7.4 from below that of 6.
    const Shown shown =
        ShownAfter(Painter(), "50 post 100 0 0 0\n50 expose 10.5 5.6 10 1.8\n", "50");
    EXPECT_EQ(shown.picture.Colour(10, 593, 10, 1), kRed);
    EXPECT_EQ(shown.picture.At(9, 593), kBlack);
    EXPECT_EQ(shown.picture.At(20, 593), kBlack);
    EXPECT_EQ(shown.picture.At(10, 592), kBlack);
    EXPECT_EQ(shown.picture.At(10, 594), kBlack);
}

TEST(Present, PastTheBitmapsRightEdgeTheImageIsCutLoggedAndStretched) {
    // 800 columns over 1,000: the 400 red ones cover 500.
    const Shown shown = ShownAfter(Painter(), "50 post 101 0 0 0\n51 expose 0 0 1000 600\n", "51",
                                   {"--desktop", "800x700"});
    EXPECT_EQ(shown.result.lines, Strings(2, "log: sr.size.width 1000 => 800"));
    EXPECT_EQ(shown.picture.Colour(0, 0, 500, 600), kRed);
    EXPECT_EQ(shown.picture.Colour(500, 0, 500, 600), kBlack);
}

TEST(Present, ARectangleAtTheEdgeIsStretchedFromWhereItStarts) {
    // Columns 300 to 799 over 300 to 999: the 100 red ones cover 140.
    const Shown shown = ShownAfter(Painter(), "50 post 101 0 0 0\n50 expose 300 0 700 600\n", "50",
                                   {"--desktop", "800x700"});
    EXPECT_EQ(shown.result.lines.at(1), "log: sr.size.width 700 => 500");
    EXPECT_EQ(shown.picture.Colour(0, 0, 300, 600), kBlack);
    EXPECT_EQ(shown.picture.Colour(300, 0, 140, 600), kRed);
    EXPECT_EQ(shown.picture.Colour(440, 0, 560, 600), kBlack);
}

TEST(Present, PastTheBitmapsLowerEdgeItIsTheSame) {
    // 500 rows over 600: the 250 red ones cover 300.
    const Shown shown = ShownAfter(Painter(), "50 post 102 0 0 0\n51 expose 0 0 1000 600\n", "51",
                                   {"--desktop", "1200x500"});
    ASSERT_FALSE(shown.result.lines.empty());
    EXPECT_EQ(shown.result.lines.back(), "log: sr.size.height 600 => 500");
    EXPECT_EQ(shown.picture.Colour(0, 0, 1000, 300), kRed);
    EXPECT_EQ(shown.picture.Colour(0, 300, 1000, 300), kBlack);
}

TEST(Present, EmptyRectanglesAreLoggedAndSkipped) {
    const HeadlessResult result =
        Play({}, "50 expose 0 0 0 10\n51 expose -30 0 20 10\n52 expose 0 -10.5 20 10.25\n");
    EXPECT_EQ(result.lines, (Strings{"log: return dr w=0.000000 h=10.000000",
                                     "log: return dr w=-10.000000 h=10.000000",
                                     "log: return dr w=20.000000 h=-0.250000"}));
}

TEST(Present, ARectangleBeyondTheBitmapIsLoggedTwiceAndSkipped) {
    const HeadlessResult result =
        Play({}, "50 expose 900 0 50 10\n", {"--desktop", "800x700", "--run-ms", "60"});
    EXPECT_EQ(result.lines,
              (Strings{"log: sr.size.width 1000 => 800", "log: sr.size.width 50 => -100",
                       "log: return sr w=-100.000000 h=10.000000"}));
}

// --- The request for MSG_PRESENTED

LoggingModule Notifier() {
    LoggingModule module = Painter();
    module.on[110] = FillRed("0", "0", "10", "10") + "        MODAL.N\n";
    module.on[111] = "        MODAL.N\n";
    return module;
}

TEST(Presented, ADrawAfterTheRequestPostsExactlyOneMessage) {
    const HeadlessResult result =
        Play(Notifier(), "50 post 110 0 0 0\n60 expose 0 0 10 10\n70 post 100 0 0 0\n");
    EXPECT_EQ(result.lines, Strings{});
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{110, 0, 0, 0}, {MSG_PRESENTED}, {100, 0, 0, 0}}));
}

TEST(Presented, EachRequestIsAnsweredByTheNextRealDraw) {
    // The request of 50 ms draws nothing itself; an empty rectangle is no draw.
    const HeadlessResult result =
        Play(Notifier(),
             "50 post 111 0 0 0\n60 expose 0 0 0 10\n70 mouse-move 1 1\n80 expose 0 0 10 10\n"
             "90 post 110 0 0 0\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{111, 0, 0, 0},
                                                    {MSG_POINTER, 1, 1, 0},
                                                    {MSG_PRESENTED},
                                                    {110, 0, 0, 0},
                                                    {MSG_PRESENTED}}));
}

TEST(Presented, TwoRequestsBeforeADrawAreAnsweredByOneMessage) {
    const HeadlessResult result =
        Play(Notifier(), "50 post 110 0 0 0\n50 post 110 0 0 0\n60 expose 0 0 10 10\n");
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{110, 0, 0, 0}, {110, 0, 0, 0}, {MSG_PRESENTED}}));
}

TEST(Presented, WithAModuleTimerItWaitsForTheHostTick) {
    LoggingModule module = Notifier();
    module.timer = 60000;
    const std::string script = "101 post 110 0 0 0\n";
    EXPECT_EQ(MessagesAfterStart(Play(module, script, {"--run-ms", "109"})),
              (Messages{{110, 0, 0, 0}}));
    EXPECT_EQ(MessagesAfterStart(Play(module, script, {"--run-ms", "110"})),
              (Messages{{110, 0, 0, 0}, {MSG_PRESENTED}}));
}

// --- On the bench

class ViewTest : public HostTest {
  protected:
    void SetUp() override {
        HostTest::SetUp();
        ASSERT_TRUE(CreateScreenBitmap(1920, 1080));
        moxiView::init();
    }
};

TEST_F(ViewTest, APixelIsDrawnOverWhite) {
    // The bytes of the screen bitmap are premultiplied: 100 + 255 - 128 is 227, 200 + 127 is 255.
    const u8 pixel[4] = {100, 200, 0, 128};
    std::copy_n(pixel, 4, screenBitmap.pixels + 30 * screenBitmap.stride + 4 * 20);
    moxiView::drawRect({0, 0, 1000, 600});
    const u8* const shown = viewBuffer.pixels.data() + 4 * (30 * 1000 + 20);
    EXPECT_EQ(shown[0], 227);
    EXPECT_EQ(shown[1], 255);
    EXPECT_EQ(shown[2], 127);
    EXPECT_EQ(shown[4], 0);  // the opaque black beside it
}

TEST_F(ViewTest, TheDesktopGetsTheScreensOwnPixelsWhereAllOfThemAreOpaque) {
    static ViewPixels presented;
    desktop.presentView = [](ViewPixels view, ViewRect) { presented = view; };
    std::fill_n(screenBitmap.pixels, std::size_t{screenBitmap.stride} * 1080, u8{0xFF});
    const auto nearerPixels = [](ViewRect rect) {
        presented = {};
        moxiView::drawRect(rect);
        EXPECT_EQ(presented.pixels, viewBuffer.pixels.data());
        EXPECT_EQ(presented.width, 1000);
        return presented.nearer;
    };
    EXPECT_EQ(nearerPixels({0, 0, 1000, 600}), screenBitmap.pixels);
    EXPECT_EQ(presented.nearerStride, i32{1920 * 4});
    // What has parts of pixels, or is cut, is not what the view shows beside it.
    EXPECT_EQ(nearerPixels({0.5, 0, 20, 20}), nullptr);
    EXPECT_EQ(nearerPixels({-5, 0, 20, 20}), nullptr);
    EXPECT_EQ(nearerPixels({10, 590, 20, 20}), nullptr);
    // Row 599 of the view, row 0 from below.
    screenBitmap.pixels[std::size_t{599} * screenBitmap.stride + 4 * 700 + 3] = 254;
    EXPECT_EQ(nearerPixels({0, 0, 1000, 600}), nullptr);
    EXPECT_EQ(nearerPixels({0, 1, 1000, 599}), screenBitmap.pixels);
}

TEST_F(ViewTest, WhatIsLargeIsShownInPartsFromTheTopDown) {
    hostBench.view = {1900, 1000};
    moxiView::frameDidChange();
    // 32768 pixels and no more: 17 rows of 1900.
    std::fill_n(screenBitmap.pixels, std::size_t{screenBitmap.stride} * 1080, u8{0x55});
    hostBench.shown.clear();
    moxiView::drawRect({0, 0, 1900, 1000});
    ASSERT_EQ(hostBench.shown.size(), 59u);  // 58.8
    EXPECT_EQ(hostBench.shown.front().y, 983);
    EXPECT_EQ(hostBench.shown.front().height, 17);
    EXPECT_EQ(hostBench.shown.back().y, 0);
    EXPECT_EQ(hostBench.shown.back().height, 14);
    // 0x55 with alpha 0x55 over white is 0xFF.
    EXPECT_EQ(std::count(viewBuffer.pixels.begin(), viewBuffer.pixels.end(), u8{0xFF}),
              1900 * 1000 * 4);
    std::fill_n(screenBitmap.pixels, std::size_t{screenBitmap.stride} * 1080, u8{0xFF});
    screenBitmap.pixels[std::size_t{20} * screenBitmap.stride] = 0x11;
    moxiView::drawRect({0, 0, 1900, 1000});
    EXPECT_EQ(viewBuffer.pixels[std::size_t{20} * 1900 * 4], 0x11);
}

TEST_F(ViewTest, ARowThatIsTranslucentInPartsIsDrawnPixelByPixel) {
    for (u32 x = 0; x < 1000; ++x) {
        const u8 alpha = x % 97 < 3 ? static_cast<u8>(x) : 255;
        const u8 pixel[4] = {static_cast<u8>(x), 7, 0, alpha};
        std::copy_n(pixel, 4, screenBitmap.pixels + 4 * x);
    }
    moxiView::drawRect({0, 0, 1000, 600});
    for (u32 x = 0; x < 1000; ++x) {
        const u32 rest = x % 97 < 3 ? 255 - x % 256 : 0;
        EXPECT_EQ(viewBuffer.pixels[4 * x], std::min(255u, x % 256 + rest)) << x;
        EXPECT_EQ(viewBuffer.pixels[4 * x + 1], std::min(255u, 7 + rest)) << x;
        EXPECT_EQ(viewBuffer.pixels[4 * x + 2], rest) << x;
    }
}

TEST_F(ViewTest, ARedrawWhileTheModuleRunsIsPostponedAndFoldedInUnturned) {
    inMX = true;
    moxiView::drawRect({5.75, 6.25, 20.5, 10.9});
    inMX = false;
    EXPECT_TRUE(hostBench.shown.empty());
    EXPECT_EQ(viewBuffer.pixels[0], 0xFF);
    EXPECT_EQ(dirtyRect.left, 5);
    EXPECT_EQ(dirtyRect.top, 6);
    EXPECT_EQ(dirtyRect.right, 26);   // 26.25
    EXPECT_EQ(dirtyRect.bottom, 17);  // 17.15
}

TEST_F(ViewTest, APostponedRedrawOnlyGrowsTheDirtyRectangle) {
    dirtyRect = {2, 300, 10, 400};
    inMX = true;
    moxiView::drawRect({5, 6, 20, 10});
    inMX = false;
    EXPECT_EQ(dirtyRect.left, 2);
    EXPECT_EQ(dirtyRect.top, 6);
    EXPECT_EQ(dirtyRect.right, 25);
    EXPECT_EQ(dirtyRect.bottom, 400);
}

TEST_F(ViewTest, APostponedRedrawIsAskedForAgainByTheNextFlush) {
    inMX = true;
    moxiView::drawRect({0, 0, 20, 10});
    inMX = false;
    FlushDirtyRect();
    ASSERT_EQ(hostBench.redraws.size(), 1u);
    // Asked for at the view's bottom, it comes back at its top.
    EXPECT_EQ(hostBench.redraws[0].y, 590);
    EXPECT_EQ(hostBench.redraws[0].height, 10);
}

TEST_F(ViewTest, ARequestForNotificationSuspendedInputOrALiveResizeLetItThrough) {
    inMX = true;
    for (bool* const flag : {&presentNotify, &inputSuspended, &liveResize}) {
        *flag = true;
        hostBench.shown.clear();
        moxiView::drawRect({5, 6, 20, 10});
        EXPECT_EQ(hostBench.shown.size(), 1u);
        *flag = false;
    }
    inMX = false;
    EXPECT_EQ(dirtyRect.right, -1);
}

TEST_F(ViewTest, ANotificationDuringARunIsQueuedAndTheRequestCleared) {
    inMX = presentNotify = true;
    moxiView::drawRect({5, 6, 20, 10});
    EXPECT_FALSE(presentNotify);
    moxiView::drawRect({5, 6, 20, 10});
    inMX = false;
    EXPECT_EQ(QueuedMessages(), (Messages{{MSG_PRESENTED}}));
}

TEST_F(ViewTest, AnEmptyRectangleLeavesTheRequestStanding) {
    const StandardError quiet(true);
    presentNotify = true;
    moxiView::drawRect({5, 6, 0, 10});
    EXPECT_TRUE(presentNotify);
    EXPECT_EQ(DeliveredMessages(), Messages{});
}

TEST_F(ViewTest, TheWidthLimitLooksAtTheLow16BitsOfEachPart) {
    StandardError errors;
    // 65,546 counts as 10 and 10 + 1,900 is no more than 1,920; 10 + 1,911 would be.
    moxiView::drawRect({65546, 0, 1900, 10});
    EXPECT_EQ(errors.Text(), "");
    moxiView::drawRect({65546, 0, 1911, 10});
    EXPECT_EQ(errors.Text(),
              "log: sr.size.width 1911 => -63626\nlog: return sr w=-63626.000000 h=10.000000\n");
}

}  // namespace

}  // namespace moxi
