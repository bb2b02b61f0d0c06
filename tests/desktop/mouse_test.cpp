// Wheel steps, button numbers, and which web addresses are opened.
#include "desktop/sdl/input/mouse.h"

#include <gtest/gtest.h>

#include "desktop/sdl/url_opener.h"

namespace moxi {

namespace {
TEST(Wheel, FractionsOfSmoothScrollingAddUpToNotches) {
    double leftOver = 0;
    EXPECT_EQ(WholeNotches(leftOver, 0.4), 0);
    EXPECT_EQ(WholeNotches(leftOver, 0.4), 0);
    EXPECT_EQ(WholeNotches(leftOver, 0.4), 1);
    EXPECT_EQ(WholeNotches(leftOver, -1.5), -1);
    EXPECT_EQ(WholeNotches(leftOver, 3), 2);
}

TEST(Wheel, FifteenFifteenthsAreANotch) {
    double leftOver = 0;
    i32 notches = 0;
    for (int i = 0; i < 15; ++i) {
        notches += WholeNotches(leftOver, 1.0 / 15);
    }
    EXPECT_EQ(notches, 1);
}

TEST(Wheel, EveryNotchIsAStepOfTheModule) {
    // The module takes the whole part of ten times the delta.
    for (i32 notches = -100; notches <= 100; ++notches) {
        EXPECT_EQ(static_cast<i32>(WheelDelta(notches) * 10), notches);
    }
}

TEST(Mouse, ButtonsAreNumberedAsTheDesktopDoes) {
    EXPECT_EQ(ButtonNumber(SDL_BUTTON_LEFT), 0u);
    EXPECT_EQ(ButtonNumber(SDL_BUTTON_RIGHT), 1u);
    EXPECT_EQ(ButtonNumber(SDL_BUTTON_MIDDLE), 2u);
    EXPECT_EQ(ButtonNumber(SDL_BUTTON_X1), 3u);
    EXPECT_EQ(ButtonNumber(SDL_BUTTON_X2), 4u);
}

TEST(Url, OnlyWebAndMailAddressesAreOpened) {
    EXPECT_TRUE(IsOpenableUrl("http://example.org/"));
    EXPECT_TRUE(IsOpenableUrl("HTTPS://example.org/a?b=c#d"));
    EXPECT_TRUE(IsOpenableUrl("mailto:somebody@example.org"));
    EXPECT_FALSE(IsOpenableUrl("file:///etc/passwd"));
    EXPECT_FALSE(IsOpenableUrl("javascript:alert(1)"));
    EXPECT_FALSE(IsOpenableUrl("--help"));
    EXPECT_FALSE(IsOpenableUrl("http://"));
    EXPECT_FALSE(IsOpenableUrl("http://example.org/ --help"));
    EXPECT_FALSE(IsOpenableUrl("http://example.org/\n"));
    EXPECT_FALSE(IsOpenableUrl(""));
}
}  // namespace

}  // namespace moxi
