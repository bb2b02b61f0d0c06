// What the console draws: against the second implementation, and cases worked out by hand.

#include <gtest/gtest.h>

#include <set>
#include <utility>

#include "tests/cartridges/played.h"
#include "vm/guard.h"

namespace moxi {

namespace {

using Points = std::set<std::pair<u32, u32>>;

// All drawing imports; the draw colours 1, 2, 3 and 4 are the palette's second, third, fourth and
// first. The calls are made once.
Played Draw(const std::string& calls, const std::string& data = "") {
    return PlayCartridge({.cartridge = CartridgeOfText(R"((module
  (import "env" "memory" (memory 1))
  (import "env" "line" (func $line (param i32 i32 i32 i32)))
  (import "env" "hline" (func $hline (param i32 i32 i32)))
  (import "env" "vline" (func $vline (param i32 i32 i32)))
  (import "env" "rect" (func $rect (param i32 i32 i32 i32)))
  (import "env" "oval" (func $oval (param i32 i32 i32 i32)))
  (import "env" "blit" (func $blit (param i32 i32 i32 i32 i32 i32)))
  (import "env" "text" (func $text (param i32 i32 i32)))
)" + data + R"(
  (func (export "start")
    (i32.store8 (i32.const 0x1F) (i32.const 1))
    (i32.store16 (i32.const 0x14) (i32.const 0x1432))
)" + calls + "))"),
                          .milliseconds = 100});
}

Points WithValue(const Played& played, u32 value) {
    Points points;
    for (u32 y = 0; y < 160; ++y) {
        for (u32 x = 0; x < 160; ++x) {
            if (played.Pixel(x, y) == value) {
                points.insert({x, y});
            }
        }
    }
    return points;
}

Points Drawn(const Played& played) {
    Points points;
    for (u32 value = 1; value < 4; ++value) {
        points.merge(WithValue(played, value));
    }
    return points;
}

class OwnCartridges : public testing::TestWithParam<const char*> {};

TEST_P(OwnCartridges, LeaveTheSameMemoryPictureAndTracesAsTheSecondImplementation) {
    const std::string cartridge = OwnCartridge(GetParam());
    for (const u32 milliseconds : {10u, 1000u, 5000u}) {
        if (kCheckedAccess && milliseconds > 1000) {
            break;  // the release build goes that far
        }
        const Played played = PlayCartridge({.cartridge = cartridge, .milliseconds = milliseconds});
        EXPECT_EQ(played.status, 0);
        const Modelled model = ModelCartridge(cartridge, played.frames);
        EXPECT_EQ(Difference(played.memory, model.memory), "") << milliseconds;
        EXPECT_EQ(ViewProblem(played), "") << milliseconds;
        EXPECT_EQ(played.Logs(), model.traces);
    }
}

INSTANTIATE_TEST_SUITE_P(Cartridges, OwnCartridges,
                         testing::Values("shapes", "sprites", "words", "disk", "inputs", "tones",
                                         "ferry"),
                         [](const auto& one) { return std::string(one.param); });

TEST(CartridgeDrawing, ALineTakesTheStepsOfItsErrorTerm) {
    EXPECT_EQ(Drawn(Draw("(call $line (i32.const 0) (i32.const 0) (i32.const 3) (i32.const 1))")),
              (Points{{0, 0}, {1, 0}, {2, 1}, {3, 1}}));
}

TEST(CartridgeDrawing, ALineUpwardsIsDrawnFromItsUpperEnd) {
    EXPECT_EQ(Drawn(Draw("(call $line (i32.const 3) (i32.const 1) (i32.const 0) (i32.const 0))")),
              (Points{{0, 0}, {1, 0}, {2, 1}, {3, 1}}));
}

TEST(CartridgeDrawing, ALineFromOneEndOfAllNumbersToTheOtherIsDrawnAtOnce) {
    Points row;
    for (u32 x = 0; x < 160; ++x) {
        row.insert({x, 7});
    }
    EXPECT_EQ(Drawn(Draw("(call $line (i32.const -2147483648) (i32.const 7)"
                         " (i32.const 2147483647) (i32.const 7))")),
              row);
    Points diagonal;
    for (u32 x = 0; x < 160; ++x) {
        diagonal.insert({x, x});
    }
    EXPECT_EQ(Drawn(Draw("(call $line (i32.const -2147483648) (i32.const -2147483648)"
                         " (i32.const 2147483647) (i32.const 2147483647))")),
              diagonal);
}

TEST(CartridgeDrawing, StraightLinesEndAtTheEdgesOfTheScreen) {
    EXPECT_EQ(Drawn(Draw("(call $hline (i32.const 158) (i32.const 5) (i32.const 10))"
                         "(call $vline (i32.const 3) (i32.const -2) (i32.const 4))")),
              (Points{{158, 5}, {159, 5}, {3, 0}, {3, 1}}));
}

TEST(CartridgeDrawing, ARectangleAcrossTheCornerHasTwoOfItsEdges) {
    const Played played =
        Draw("(call $rect (i32.const -1) (i32.const -1) (i32.const 3) (i32.const 3))");
    EXPECT_EQ(WithValue(played, 1), (Points{{0, 0}}));
    EXPECT_EQ(WithValue(played, 2), (Points{{1, 0}, {0, 1}, {1, 1}}));
}

TEST(CartridgeDrawing, AnOvalOfThreeByThreeIsACrossWithItsMiddleFilled) {
    const Played played =
        Draw("(call $oval (i32.const 10) (i32.const 10) (i32.const 3) (i32.const 3))");
    EXPECT_EQ(WithValue(played, 1), (Points{{11, 11}}));
    EXPECT_EQ(WithValue(played, 2), (Points{{11, 10}, {10, 11}, {12, 11}, {11, 12}}));
}

TEST(CartridgeDrawing, AnOvalWithoutOutlineColourTakesTheLastPaletteEntryAndFifteenDrawsNothing) {
    const Played played = Draw(
        "(i32.store16 (i32.const 0x14) (i32.const 0x0002))"
        "(call $oval (i32.const 10) (i32.const 10) (i32.const 3) (i32.const 3))"
        "(i32.store16 (i32.const 0x14) (i32.const 0x00F2))"
        "(call $oval (i32.const 50) (i32.const 50) (i32.const 9) (i32.const 9))");
    EXPECT_EQ(WithValue(played, 1), (Points{{11, 11}}));
    EXPECT_EQ(WithValue(played, 3), (Points{{11, 10}, {10, 11}, {12, 11}, {11, 12}}));
}

TEST(CartridgeDrawing, AnOvalAsLargeAsNumbersGoIsDrawnAtOnce) {
    // Of a radius of a million pixels, its right end at 100: within 80 rows it bends by 0.0032.
    const Played right = Draw(
        "(call $oval (i32.const -1999899) (i32.const -999920) (i32.const 2000000)"
        " (i32.const 2000000))");
    Points edge;
    for (u32 y = 0; y < 160; ++y) {
        edge.insert({100, y});
    }
    EXPECT_EQ(WithValue(right, 2), edge);
    EXPECT_EQ(WithValue(right, 1).size(), 100u * 160);
    EXPECT_EQ(right.Pixel(101, 80), 0u);
    // The screen lies inside.
    const Played inside = Draw(
        "(call $oval (i32.const -1073741824) (i32.const -1073741824) (i32.const 2147483647)"
        " (i32.const 2147483647))");
    EXPECT_EQ(WithValue(inside, 1).size(), 160u * 160);
    // A row, and a column.
    const Played thin = Draw(
        "(call $oval (i32.const -5) (i32.const 7) (i32.const 2147483647) (i32.const 1))"
        "(call $oval (i32.const 9) (i32.const -2147483648) (i32.const 1) (i32.const 2147483647))"
        "(call $oval (i32.const 30) (i32.const -5) (i32.const 1) (i32.const 2147483647))");
    EXPECT_EQ(WithValue(thin, 2).size(), 160u + 160 - 1);
    EXPECT_EQ(thin.Pixel(0, 7), 2u);
    EXPECT_EQ(thin.Pixel(30, 159), 2u);
}

TEST(CartridgeDrawing, ATurnedPictureRunsUpwards) {
    // Bits 1 0 1 0 0 0 0 0, the first at the bottom.
    const Played played = Draw(
        "(i32.store16 (i32.const 0x14) (i32.const 0x0020))"
        "(call $blit (i32.const 0x2000) (i32.const 20) (i32.const 20) (i32.const 8) (i32.const 1)"
        " (i32.const 8))",
        "(data (i32.const 0x2000) \"\\a0\")");
    EXPECT_EQ(Drawn(played), (Points{{20, 25}, {20, 27}}));
}

TEST(CartridgeDrawing, TwoBitsAPixelTakeTheFourDrawColours) {
    // 0 1 2 3: draw colours 1 to 4 are palette entries 1, 2, 3 and 0.
    const Played played = Draw(
        "(call $blit (i32.const 0x2000) (i32.const 8) (i32.const 9) (i32.const 4) (i32.const 1)"
        " (i32.const 1))",
        "(data (i32.const 0x2000) \"\\1b\")");
    EXPECT_EQ(WithValue(played, 1), (Points{{8, 9}}));
    EXPECT_EQ(WithValue(played, 2), (Points{{9, 9}}));
    EXPECT_EQ(WithValue(played, 3), (Points{{10, 9}}));
}

TEST(CartridgeDrawing, TextHasInkOfColourOneOnAGroundOfColourTwo) {
    const Played played = Draw("(call $text (i32.const 0x2000) (i32.const 16) (i32.const 8))",
                               "(data (i32.const 0x2000) \" -\")");
    // The minus is one stroke of five pixels in a cell of 64; the space is ground alone.
    EXPECT_EQ(WithValue(played, 1), (Points{{25, 11}, {26, 11}, {27, 11}, {28, 11}, {29, 11}}));
    EXPECT_EQ(WithValue(played, 2).size(), 128u - 5);
}

}  // namespace

}  // namespace moxi
