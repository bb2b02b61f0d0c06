// Points and pixels: the desktop's density, frames of an enlarged window, where a view is shown and
// which of its pixels the pointer is on.
#include "desktop/sdl/window/points.h"

#include <gtest/gtest.h>

namespace moxi {

namespace {

constexpr ScreenArea kScreen = {0, 0, 3840, 2160};

struct PointSizes {
    explicit PointSizes(i32 size, i32 ofScreens = 0) {
        pointSize = size;
        screenPointSize = ofScreens != 0 ? ofScreens : size;
    }
    ~PointSizes() { pointSize = screenPointSize = 1; }
    PointSizes(const PointSizes&) = delete;
    PointSizes& operator=(const PointSizes&) = delete;
};

TEST(Points, TheDensityIsTheNearestWholeStep) {
    EXPECT_EQ(DensityOf("96", nullptr, kScreen), 1);
    EXPECT_EQ(DensityOf("120", nullptr, kScreen), 1);
    EXPECT_EQ(DensityOf("144", nullptr, kScreen), 2);
    EXPECT_EQ(DensityOf("192", nullptr, kScreen), 2);
    EXPECT_EQ(DensityOf("288.5", nullptr, kScreen), 3);
    EXPECT_EQ(DensityOf("", "2", kScreen), 2);
    EXPECT_EQ(DensityOf("96", "3", kScreen), 3);
    EXPECT_EQ(DensityOf("192", "1", kScreen), 2);
}

TEST(Points, ADensityThatIsNoneIsOne) {
    for (const char* const text : {"", "0", "-192", "much", "nan", "inf", "1e9"}) {
        EXPECT_EQ(DensityOf(text, text, kScreen), 1) << text;
    }
}

TEST(Points, TheSmallestWindowOfAGameFitsTheScreenAtAnyDensity) {
    // 3840 / 600 = 6.4 and 2160 / 400 = 5.4
    EXPECT_EQ(DensityOf("9600", nullptr, kScreen), 5);
    EXPECT_EQ(DensityOf("192", nullptr, {0, 0, 1100, 900}), 1);
    EXPECT_EQ(DensityOf("192", nullptr, {0, 0, 640, 200}), 1);
}

TEST(Points, AScaleByHandLeavesTheSmallestWindowRoomToo) {
    EXPECT_EQ(MostSteps(kScreen), 5);
    EXPECT_EQ(MostSteps({0, 0, 1920, 1080}), 2);
    EXPECT_EQ(MostSteps({0, 0, 320, 240}), 1);
}

TEST(Points, BoxesFollowTheDensityInQuarters) {
    EXPECT_EQ(BoxDensityOf("96", nullptr, kScreen), 1);
    EXPECT_EQ(BoxDensityOf("120", nullptr, kScreen), 1.25);
    EXPECT_EQ(BoxDensityOf("144", nullptr, kScreen), 1.5);
    EXPECT_EQ(BoxDensityOf("", "1.8", kScreen), 1.75);
    EXPECT_EQ(BoxDensityOf("72", nullptr, kScreen), 1);
    EXPECT_EQ(BoxDensityOf("9600", nullptr, kScreen), 5);
}

TEST(Points, AFrameIsAsLargeInPointsAsItsContentAndWholeBorders) {
    const PointSizes two(2);
    // 100 points from the left and 100 from the bottom: pixels 200 and 2160 - 200 - 1200.
    const ScreenArea content = ContentOf({100, 100, 1000, 600}, {}, kScreen);
    EXPECT_EQ(content, (ScreenArea{200, 760, 2000, 1200}));
    EXPECT_EQ(FrameOf(content, {}, kScreen), (WindowFrame{100, 100, 1000, 600}));
    EXPECT_EQ(ViewOf(content), (ViewSize{1000, 600}));
    // Borders of 21 and 5 pixels are 11 and 3 points.
    const Borders borders = {.top = 21, .left = 1, .bottom = 5, .right = 1};
    EXPECT_EQ(FrameOf(content, borders, kScreen), (WindowFrame{99, 97, 1002, 614}));
    EXPECT_EQ(ContentOf({99, 97, 1002, 614}, borders, kScreen), content);
}

TEST(Points, PixelsThatMakeUpNoPointAreNoneOfTheView) {
    const PointSizes three(3);
    EXPECT_EQ(ViewOf({0, 0, 1802, 1199}), (ViewSize{600, 399}));
    EXPECT_EQ(ViewOf({0, 0, 2, 2}), (ViewSize{1, 1}));
}

TEST(Points, AFrameThatIsAskedForAsItWasToldStaysWhereItIs) {
    const PointSizes three(3);
    const Borders borders = {.top = 20, .left = 4, .bottom = 4, .right = 4};
    for (const ScreenArea& content :
         {ScreenArea{7, 11, 1802, 1203}, ScreenArea{-5, -9, 1999, 1300}}) {
        const WindowFrame told = FrameOf(content, borders, kScreen);
        const ScreenArea again = ContentOf(told, borders, kScreen);
        EXPECT_EQ(FrameOf(again, borders, kScreen), told);
    }
}

TEST(Points, ScreensKeepTheirSizesWhenTheScaleChanges) {
    const PointSizes sizes(1, 2);
    EXPECT_EQ(ScreenFrameOf(kScreen, kScreen), (WindowFrame{0, 0, 1920, 1080}));
    EXPECT_EQ(ScreenFrameOf({3840, 0, 1921, 1081}, kScreen), (WindowFrame{1920, 539, 960, 540}));
}

TEST(Points, FittedByWholeStepsAViewHasBarsAround) {
    // 3840 / 1280 = 3 and 2160 / 800 = 2.7: twice as large, with bars of 640 and 280.
    EXPECT_EQ(PlaceIn({3840, 2160}, {1280, 800}, Fitting::Whole, 1),
              (ScreenArea{640, 280, 2560, 1600}));
    EXPECT_EQ(PlaceIn({1920, 1080}, {1000, 600}, Fitting::Whole, 1),
              (ScreenArea{460, 240, 1000, 600}));
}

TEST(Points, FittedByFractionsAViewTouchesTwoEdges) {
    // 2160 / 800 = 2.7: 3456 wide.
    EXPECT_EQ(PlaceIn({3840, 2160}, {1280, 800}, Fitting::Fractions, 1),
              (ScreenArea{192, 0, 3456, 2160}));
    EXPECT_EQ(PlaceIn({1000, 1000}, {600, 400}, Fitting::Fractions, 1),
              (ScreenArea{0, 167, 1000, 666}));
}

TEST(Points, AViewThatIsTooLargeIsMadeSmaller) {
    EXPECT_EQ(PlaceIn({800, 600}, {1600, 800}, Fitting::Whole, 1), (ScreenArea{0, 100, 800, 400}));
}

TEST(Points, BySteps) {
    EXPECT_EQ(PlaceIn({2001, 1203}, {1000, 600}, Fitting::Steps, 2),
              (ScreenArea{0, 1, 2000, 1200}));
    // While the window still has another size a view of plain pixels stays in its corner.
    EXPECT_EQ(PlaceIn({1200, 900}, {1000, 600}, Fitting::Steps, 1), (ScreenArea{0, 0, 1000, 600}));
}

TEST(Points, EachPixelOfAnEnlargedViewIsHitAllOverItsSquare) {
    const ScreenArea place = {640, 280, 2560, 1600};
    const ViewSize view = {1280, 800};
    EXPECT_EQ(PicturePoint({640, 280}, place, view), (Point{0, 0}));
    EXPECT_EQ(PicturePoint({641, 281}, place, view), (Point{0, 0}));
    EXPECT_EQ(PicturePoint({642, 282}, place, view), (Point{1, 1}));
    EXPECT_EQ(PicturePoint({3199, 1879}, place, view), (Point{1279, 799}));
    // Outside it goes on.
    EXPECT_EQ(PicturePoint({639, 279}, place, view), (Point{-1, -1}));
    EXPECT_EQ(PicturePoint({3200, 1880}, place, view), (Point{1280, 800}));
}

TEST(Points, FractionsHitThePixelThatIsSeenThere) {
    // 2.7 places a pixel: the first pixel has places 0 to 2, the second 3 to 5, the tenth
    // from 24.3.
    const ScreenArea place = {192, 0, 3456, 2160};
    const ViewSize view = {1280, 800};
    EXPECT_EQ(PicturePoint({192 + 2, 0}, place, view).x, 0);
    EXPECT_EQ(PicturePoint({192 + 3, 0}, place, view).x, 1);
    EXPECT_EQ(PicturePoint({192 + 24, 0}, place, view).x, 8);
    EXPECT_EQ(PicturePoint({192 + 25, 0}, place, view).x, 9);
    for (const Point point : {Point{0, 0}, Point{777, 333}, Point{1279, 799}}) {
        EXPECT_EQ(PicturePoint(RoomPoint(point, place, view), place, view), point);
    }
}

}  // namespace

}  // namespace moxi
