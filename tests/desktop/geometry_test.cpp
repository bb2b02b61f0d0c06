// Coordinates, redraw rectangles, and what counts as news of the window's geometry.
#include "desktop/sdl/window/geometry.h"

#include <gtest/gtest.h>

#include "desktop/common/rectangles.h"
#include "desktop/common/timers.h"
#include "desktop/sdl/window/geometry_tracker.h"

namespace moxi {

namespace {
constexpr ScreenArea kScreen = {0, 0, 1920, 1080};

void ExpectFrame(const WindowFrame& frame, i32 x, i32 y, i32 width, i32 height) {
    EXPECT_EQ(frame.x, x);
    EXPECT_EQ(frame.y, y);
    EXPECT_EQ(frame.width, width);
    EXPECT_EQ(frame.height, height);
}

void ExpectRect(const ViewRect& rect, double x, double y, double width, double height) {
    EXPECT_EQ(rect.x, x);
    EXPECT_EQ(rect.y, y);
    EXPECT_EQ(rect.width, width);
    EXPECT_EQ(rect.height, height);
}

TEST(Geometry, FramesAreCountedFromTheBottomOfTheMainScreen) {
    // Bottom edge at 380 + 600 = 980 from the top, so 100 from the bottom.
    ExpectFrame(FromArea({100, 380, 1000, 600}, kScreen), 100, 100, 1000, 600);
    EXPECT_EQ(ToArea({100, 100, 1000, 600}, kScreen), (ScreenArea{100, 380, 1000, 600}));
}

TEST(Geometry, AScreenBelowTheMainScreenHasANegativeOrigin) {
    ExpectFrame(FromArea({0, 1080, 1280, 1024}, kScreen), 0, -1024, 1280, 1024);
}

TEST(Geometry, AMainScreenThatDoesNotStartAtZeroIsStillTheOrigin) {
    const ScreenArea right = {1280, 0, 1920, 1080};
    ExpectFrame(FromArea(right, right), 0, 0, 1920, 1080);
    ExpectFrame(FromArea({0, 56, 1280, 1024}, right), -1280, 0, 1280, 1024);
}

TEST(Geometry, AFrameIsItsContentWithTheBordersAround) {
    const Borders borders = {.top = 20, .left = 1, .bottom = 5, .right = 2};
    EXPECT_EQ(WithBorders({100, 100, 600, 400}, borders), (ScreenArea{99, 80, 603, 425}));
    EXPECT_EQ(WithoutBorders({99, 80, 603, 425}, borders), (ScreenArea{100, 100, 600, 400}));
    EXPECT_EQ(WithoutBorders({0, 0, 2, 10}, borders), (ScreenArea{1, 20, 1, 1}));
}

TEST(Redraw, RequestsJoinIntoOneRectangle) {
    ExpectRect(Joined({10, 20, 30, 40}, {100, 5, 1, 2}), 10, 5, 91, 55);
    ExpectRect(Joined({}, {1, 2, 3, 4}), 1, 2, 3, 4);
    ExpectRect(Joined({1, 2, 3, 4}, {50, 50, 0, 9}), 1, 2, 3, 4);
}

TEST(Redraw, TheJoinedRectangleIsClippedToTheView) {
    ExpectRect(Clipped({-10, -20, 700, 30}, {640, 480}), 0, 0, 640, 10);
    ExpectRect(Clipped({600, 470, 100, 100}, {640, 480}), 600, 470, 40, 10);
    EXPECT_EQ(Clipped({700, 0, 10, 10}, {640, 480}).width, 0);
}

TEST(Redraw, TouchedPixelsAreCountedFromTheTop) {
    EXPECT_EQ(TouchedPixels({10, 20, 30, 40}, {640, 480}), (ScreenArea{10, 420, 30, 40}));
    EXPECT_EQ(TouchedPixels({10.6, 20.6, 1, 1}, {640, 480}), (ScreenArea{10, 458, 2, 2}));
    EXPECT_EQ(TouchedPixels({-5, -5, 4, 4}, {640, 480}), ScreenArea{});
}

// --- Late reports. Times are in nanoseconds.

constexpr u64 kSoon = 1'000'000;
constexpr u64 kAnswered = 100'000'000;  // after a request the first moment with news
constexpr u64 kLater = 2'000'000'000;

TEST(GeometryTracker, TheEchoOfARequestIsNoNews) {
    GeometryTracker tracker{.known = {100, 100, 800, 600}, .outlived = {}, .heldUntil = 0};
    const GeometryChange asked = AskGeometry(tracker, {50, 60, 700, 500}, 0);
    EXPECT_TRUE(asked.moved);
    EXPECT_TRUE(asked.resized);
    const GeometryChange echo = ObserveGeometry(tracker, {50, 60, 700, 500}, kSoon);
    EXPECT_FALSE(echo.moved);
    EXPECT_FALSE(echo.resized);
}

TEST(GeometryTracker, AReportOfTheOldGeometryAfterARequestIsNoNews) {
    GeometryTracker tracker{.known = {100, 100, 800, 600}, .outlived = {}, .heldUntil = 0};
    AskGeometry(tracker, {50, 60, 700, 500}, 0);
    // The position has been set and the size not yet.
    const GeometryChange half = ObserveGeometry(tracker, {50, 60, 800, 600}, kSoon);
    EXPECT_FALSE(half.moved);
    EXPECT_FALSE(half.resized);
    EXPECT_EQ(tracker.known, (ScreenArea{50, 60, 700, 500}));
}

TEST(GeometryTracker, AnEchoOfAnEarlierRequestIsNoNews) {
    GeometryTracker tracker{.known = {0, 0, 800, 600}, .outlived = {}, .heldUntil = 0};
    AskGeometry(tracker, {0, 0, 900, 700}, 0);
    AskGeometry(tracker, {0, 0, 1000, 800}, kSoon);
    EXPECT_FALSE(ObserveGeometry(tracker, {0, 0, 900, 700}, 2 * kSoon).resized);
    EXPECT_FALSE(ObserveGeometry(tracker, {0, 0, 1000, 800}, 3 * kSoon).resized);
}

TEST(GeometryTracker, AUsersChangeJustAfterARequestIsNews) {
    GeometryTracker tracker{.known = {0, 0, 800, 600}, .outlived = {}, .heldUntil = 0};
    AskGeometry(tracker, {0, 0, 900, 700}, 0);
    EXPECT_EQ(NextObservation(tracker), kAnswered);
    EXPECT_FALSE(ObserveGeometry(tracker, {0, 0, 850, 650}, kSoon).resized);
    EXPECT_TRUE(ObserveGeometry(tracker, {0, 0, 850, 650}, kAnswered).resized);
    EXPECT_EQ(tracker.known, (ScreenArea{0, 0, 850, 650}));
}

TEST(GeometryTracker, AUsersChangeJustBeforeARequestIsUndoneByItAndNoNews) {
    GeometryTracker tracker{.known = {0, 0, 800, 600}, .outlived = {}, .heldUntil = 0};
    AskGeometry(tracker, {0, 0, 900, 700}, 0);
    EXPECT_FALSE(ObserveGeometry(tracker, {0, 0, 850, 650}, kSoon).resized);
    EXPECT_FALSE(ObserveGeometry(tracker, {0, 0, 900, 700}, 2 * kSoon).resized);
    EXPECT_FALSE(ObserveGeometry(tracker, {0, 0, 900, 700}, kAnswered).resized);
    EXPECT_EQ(tracker.known, (ScreenArea{0, 0, 900, 700}));
}

TEST(GeometryTracker, ARequestThatIsGivenLateHoldsTheNewsFromThenOn) {
    GeometryTracker tracker{.known = {0, 0, 800, 600}, .outlived = {}, .heldUntil = 0};
    AskGeometry(tracker, {0, 0, 900, 700}, 0);
    HoldNews(tracker, kAnswered);
    EXPECT_FALSE(ObserveGeometry(tracker, {0, 0, 850, 650}, kAnswered + kSoon).resized);
    EXPECT_TRUE(ObserveGeometry(tracker, {0, 0, 850, 650}, 2 * kAnswered).resized);
}

TEST(GeometryTracker, AnotherSizeThanWasAskedIsNews) {
    GeometryTracker tracker{.known = {0, 0, 800, 600}, .outlived = {}, .heldUntil = 0};
    AskGeometry(tracker, {0, 0, 5000, 4000}, 0);
    EXPECT_TRUE(ObserveGeometry(tracker, {0, 0, 1920, 1060}, kAnswered).resized);
    EXPECT_EQ(tracker.known, (ScreenArea{0, 0, 1920, 1060}));
}

TEST(GeometryTracker, ARefusedRequestIsNewsOnceItCannotBeLateAnyMore) {
    GeometryTracker tracker{.known = {0, 0, 800, 600}, .outlived = {}, .heldUntil = 0};
    AskGeometry(tracker, {0, 0, 900, 700}, 0);
    EXPECT_FALSE(ObserveGeometry(tracker, {0, 0, 800, 600}, kAnswered).resized);
    EXPECT_EQ(NextObservation(tracker), kEchoNanoseconds);
    EXPECT_TRUE(ObserveGeometry(tracker, {0, 0, 800, 600}, kLater).resized);
    EXPECT_EQ(NextObservation(tracker), kNever);
}

TEST(GeometryTracker, GrowingAtTheBottomMovesTheBottomLeftCorner) {
    GeometryTracker tracker{.known = {0, 0, 800, 600}, .outlived = {}, .heldUntil = 0};
    const GeometryChange change = ObserveGeometry(tracker, {0, 0, 800, 650}, 0);
    EXPECT_TRUE(change.moved);
    EXPECT_TRUE(change.resized);
}

TEST(GeometryTracker, GrowingAtTheTopLeavesTheBottomLeftCorner) {
    GeometryTracker tracker{.known = {0, 100, 800, 600}, .outlived = {}, .heldUntil = 0};
    const GeometryChange change = ObserveGeometry(tracker, {0, 50, 800, 650}, 0);
    EXPECT_FALSE(change.moved);
    EXPECT_TRUE(change.resized);
}

// --- Frames. A window of 1000 x 600 at 100, 200 with borders of 20, 1, 4 and 1, which is maximised
// on a screen of 1400 x 900 and then has a title bar alone.

constexpr Borders kBorders = {.top = 20, .left = 1, .bottom = 4, .right = 1};
constexpr Borders kTitleBar = {.top = 20, .left = 0, .bottom = 0, .right = 0};
constexpr ScreenArea kContent = {100, 200, 1000, 600};
constexpr ScreenArea kFrame = {99, 180, 1002, 624};
constexpr ScreenArea kWholeScreen = {0, 0, 1400, 900};
constexpr ScreenArea kMaximised = {0, 20, 1400, 880};

TEST(FrameWatch, AFrameThatFitsItsContentIsAtRest) {
    FrameWatch watch;
    EXPECT_FALSE(IsFrameChanging(watch, {kContent, kBorders, kFrame}, kBorders, kContent, kSoon));
    EXPECT_EQ(NextFrameLook(watch), kNever);
}

TEST(FrameWatch, NoPartOfAChangeIsToldBeforeTheLast) {
    FrameWatch watch{.framesFit = true};
    const auto changes = [&](const Placement& placement, const ScreenArea& reported, u64 now) {
        return IsFrameChanging(watch, placement, kBorders, reported, now);
    };
    EXPECT_TRUE(changes({kContent, kBorders, kWholeScreen}, kContent, kSoon));
    EXPECT_EQ(NextFrameLook(watch), kSoon + kFrameLookNanoseconds);
    EXPECT_TRUE(changes({kMaximised, kBorders, kWholeScreen}, kMaximised, 100 * kSoon));
    // All is done and the report of the new content is on its way.
    EXPECT_TRUE(changes({kMaximised, kTitleBar, kWholeScreen}, kContent, 900 * kSoon));
    EXPECT_FALSE(changes({kMaximised, kTitleBar, kWholeScreen}, kMaximised, 901 * kSoon));
    EXPECT_EQ(NextFrameLook(watch), kNever);
}

TEST(FrameWatch, AFrameThatDoesNotComeToFitIsWaitedForOnce) {
    FrameWatch watch{.framesFit = true};
    const Placement rolledUp = {kContent, kBorders, {99, 180, 1002, 20}};
    EXPECT_TRUE(IsFrameChanging(watch, rolledUp, kBorders, kContent, kSoon));
    EXPECT_FALSE(IsFrameChanging(watch, rolledUp, kBorders, kContent, kSoon + kFrameNanoseconds));
    EXPECT_FALSE(IsFrameChanging(watch, rolledUp, kBorders, kContent, kLater));
}

TEST(FrameWatch, WhereFramesAreLargerThanTheirBordersOtherBordersAreHeldForAMoment) {
    FrameWatch watch;
    const Placement shadowed = {kContent, kBorders, {79, 160, 1042, 664}};
    EXPECT_FALSE(IsFrameChanging(watch, shadowed, kBorders, kContent, kSoon));
    EXPECT_TRUE(IsFrameChanging(watch, shadowed, kTitleBar, kContent, kSoon));
    EXPECT_EQ(NextFrameLook(watch), kSoon + kFrameLookNanoseconds);
    EXPECT_FALSE(
        IsFrameChanging(watch, shadowed, kTitleBar, kContent, kSoon + kBordersNanoseconds));
}
}  // namespace

}  // namespace moxi
