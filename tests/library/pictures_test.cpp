// The library's pictures and paragraphs, pixel by pixel in the pictures that modules leave.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"

namespace moxi {

namespace {

// Draws with `code` on a white screen of 400 x 300 and returns the view.
Picture Draw(const std::string& code, HeadlessResult* result = nullptr) {
    const TemporaryFolder folder;
    HeadlessRun run;
    run.source =
        "        .stack 16384\n"
        "        .heap 4000000\n"
        "        .include \"moxi.inc\"\n"
        "start:  ON_MESSAGE handlers\n"
        "        HANDLERS handlers\n"
        "        HANDLER MSG_START1, draw\n"
        "        END_HANDLERS\n"
        "        .include \"moxi_code.inc\"\n"
        "        COLOUR RED, 255, 0, 0\n"
        "        COLOUR GREEN, 0, 255, 0\n"
        "        COLOUR BLUE, 0, 0, 255\n"
        "        .data\n"
        "window: .long 100, 100, 600, 400, 0\n"
        "        .bss\n"
        "sheet:  .space 4\n"
        "below:  .space 4\n"
        "        .code\n"
        "draw:   SET_WINDOW #window\n"
        "        RECTANGLE #SCREEN, #0, #0, #600, #400, #WHITE\n" +
        code + "        DONE\n";
    run.options = {"--run-ms", "100", "--dump-view", folder.path + "/view.png"};
    HeadlessResult got = RunHeadless(run);
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.lines, std::vector<std::string>{});
    if (result != nullptr) {
        *result = std::move(got);
    }
    return ReadPicture(folder.path + "/view.png");
}

constexpr u32 kWhite = 0xFFFFFF;
constexpr u32 kRed = 0xFF0000;
constexpr u32 kGreen = 0x00FF00;
constexpr u32 kBlue = 0x0000FF;

// A sheet of 3 x 2 pictures of 10 x 8: red, green, blue, then the same with a black pixel at the
// upper left.
constexpr const char* kSheet =
    "        NEW_BITMAP #30, #16\n"
    "        MOVE.L [sheet], R14\n"
    "        RECTANGLE R14, #0, #0, #10, #16, #RED\n"
    "        RECTANGLE [sheet], #10, #0, #10, #16, #GREEN\n"
    "        RECTANGLE [sheet], #20, #0, #10, #16, #BLUE\n"
    "        RECTANGLE [sheet], #0, #8, #1, #1, #BLACK\n"
    "        RECTANGLE [sheet], #10, #8, #1, #1, #BLACK\n"
    "        RECTANGLE [sheet], #20, #8, #1, #1, #BLACK\n";

u32 InkOfRow(const Picture& picture, u32 y, u32 left, u32 right) {
    u32 ink = 0;
    for (u32 x = left; x < right; ++x) {
        ink += picture.At(x, y) != kWhite ? 1 : 0;
    }
    return ink;
}

// Which of the lines of `height` rows from `top` on have ink between the columns.
std::string InkedLines(const Picture& picture, u32 top, u32 height, u32 lines, u32 left,
                       u32 right) {
    std::string text;
    for (u32 line = 0; line < lines; ++line) {
        u32 ink = 0;
        for (u32 y = 0; y < height; ++y) {
            ink += InkOfRow(picture, top + line * height + y, left, right);
        }
        text += ink > 0 ? '#' : '.';
    }
    return text;
}

TEST(LibraryPictures, AFrameOfASheetIsCountedAlongItsRows) {
    const Picture view = Draw(std::string(kSheet) +
                              "        MOVE.L R0, #100\n"
                              "        DRAW_FRAME #SCREEN, R0, #50, [sheet], #2, #10, #8, #3\n");
    EXPECT_EQ(view.Colour(100, 50, 10, 8), kBlue);
    EXPECT_EQ(view.At(110, 50), kWhite);
    EXPECT_EQ(view.At(100, 58), kWhite);
    EXPECT_EQ(view.At(99, 50), kWhite);
}

TEST(LibraryPictures, ArgumentsMayBeTheRegistersThatTheRoutineUses) {
    const Picture view = Draw(std::string(kSheet) +
                              "        MOVE.L R0, #4\n        MOVE.L R1, #3\n"
                              "        MOVE.L R2, #200\n        MOVE.L R14, #60\n"
                              "        MOVE.L R15, #8\n"
                              "        DRAW_FRAME #SCREEN, R2, R14, [sheet], R0, #10, R15, R1\n");
    EXPECT_EQ(view.At(200, 60), 0u) << "the black pixel of the second row";
    EXPECT_EQ(view.Colour(201, 60, 9, 8), kGreen);
    EXPECT_EQ(view.At(210, 60), kWhite);
}

TEST(LibraryPictures, AWholeBitmapIsDrawnAndItsHandleDropped) {
    HeadlessResult result;
    const Picture view = Draw(std::string(kSheet) +
                                  "        DRAW_BITMAP #SCREEN, #-5, #20, [sheet]\n"
                                  "        DROP_BITMAP #sheet\n        DROP_BITMAP #sheet\n",
                              &result);
    EXPECT_EQ(view.Colour(0, 20, 5, 16), kRed);
    EXPECT_EQ(view.Colour(15, 29, 10, 7), kBlue);
    EXPECT_EQ(view.At(25, 20), kWhite);
    EXPECT_EQ(result.LongAt("sheet"), 0u);
}

// 30 x 16 with a border of 4: the corners of the sheet are red on the left and blue on the right,
// what lies between is red, green and blue in 6 + 10 + 6 columns.
TEST(LibraryPictures, APanelKeepsItsCornersAndStretchesTheRest) {
    const Picture view = Draw(std::string(kSheet) +
                              "        RECTANGLE [sheet], #0, #0, #4, #4, #BLACK\n"
                              "        RECTANGLE [sheet], #26, #12, #4, #4, #BLACK\n"
                              "        DRAW_PANEL #SCREEN, #20, #30, #228, #108, [sheet], #4\n");
    EXPECT_EQ(view.Colour(20, 30, 4, 4), 0u);
    EXPECT_EQ(view.Colour(244, 134, 4, 4), 0u);
    EXPECT_EQ(view.Colour(244, 30, 4, 4), kBlue);
    EXPECT_EQ(view.Colour(20, 134, 4, 4), kRed);
    // 220 columns for 22: red for 60, green for 100, blue for 60; 100 rows for 8.
    EXPECT_EQ(view.Colour(24, 30, 60, 4), kRed);
    EXPECT_EQ(view.Colour(84, 30, 99, 4), kGreen);
    EXPECT_EQ(view.Colour(184, 30, 60, 4), kBlue);
    EXPECT_EQ(view.Colour(24, 134, 60, 4), kRed);
    EXPECT_EQ(view.Colour(244, 34, 4, 100), kBlue);
    EXPECT_EQ(view.Colour(194, 34, 50, 100), kBlue) << "right of the black pixel of the second row";
    EXPECT_EQ(view.At(248, 34), kWhite);
    EXPECT_EQ(view.At(244, 138), kWhite);
}

TEST(LibraryPictures, ATintMultipliesEachChannelAndKeepsTheOriginal) {
    const Picture view = Draw(
        "        NEW_BITMAP #3, #2\n        MOVE.L [sheet], R14\n"
        "        RECTANGLE [sheet], #0, #0, #3, #2, #0xFF6496C8\n"
        "        MOVE.L R0, #0xFF40FF80\n"
        "        TINTED_COPY [sheet], R0\n        MOVE.L R6, R14\n"
        "        DRAW_BITMAP #SCREEN, #10, #10, R6\n"
        "        DRAW_BITMAP #SCREEN, #20, #10, [sheet]\n");
    // 200 * 128 / 255 = 100, 150 * 255 / 255, 100 * 64 / 255 = 25
    EXPECT_EQ(view.Colour(10, 10, 3, 2), 0x649619u);
    EXPECT_EQ(view.Colour(20, 10, 3, 2), 0xC89664u);
}

TEST(LibraryPictures, AClearedBitmapIsTransparentWhereItsColourIs) {
    const Picture view = Draw(std::string(kSheet) +
                              "        CLEAR_BITMAP [sheet]\n"
                              "        DRAW_BITMAP #SCREEN, #10, #10, [sheet]\n"
                              "        CLEAR_BITMAP [sheet], #0x800000FF\n"
                              "        DRAW_BITMAP #SCREEN, #50, #10, [sheet]\n");
    EXPECT_EQ(view.Colour(10, 10, 30, 16), kWhite);
    // 255 * 127 / 255 = 127 of the white
    EXPECT_EQ(view.Colour(50, 10, 30, 16), 0xFF7F7Fu);
}

TEST(LibraryPictures, AParagraphIsWrappedAtItsWidthAndItsLineFeeds) {
    HeadlessResult result;
    const Picture view = Draw(
        "        .data\n"
        "words:  .asciz \"iiii iiii iiii iiii iiii iiii iiii iiii\\n\\nend\\n\"\n"
        "        .code\n"
        "        DRAW_PARAGRAPH #SCREEN, #words, #40, #20, #60, #20, #TEXT_PLAIN, #BLACK\n"
        "        MOVE.L [below], R14\n",
        &result);
    // Eight words of equal width in lines of at most 60 columns, an empty line, "end", an empty
    // line.
    const u32 lines = (result.LongAt("below") - 20) / 20;
    EXPECT_EQ((result.LongAt("below") - 20) % 20, 0u);
    const std::string ink = InkedLines(view, 20, 20, lines, 40, 100);
    EXPECT_TRUE(ink.ends_with(".#.")) << ink;
    EXPECT_GE(lines, 3u + 2u) << ink;
    EXPECT_EQ(ink.substr(0, lines - 3), std::string(lines - 3, '#'));
    EXPECT_EQ(InkedLines(view, 0, 20, 15, 0, 40), "...............");
    EXPECT_EQ(InkedLines(view, 0, 20, 15, 100, 400), "...............");
    EXPECT_EQ(result.TextAt("words"), "iiii iiii iiii iiii iiii iiii iiii iiii\n\nend\n");
}

TEST(LibraryPictures, AWordThatIsTooLongIsCutAndTheRestGoesOn) {
    HeadlessResult result;
    const Picture view = Draw(
        "        .data\n"
        "words:  .asciz \"MMMMMMMMMMMMMMMMMMMM\"\n"
        "none:   .asciz \"\"\n"
        "        .code\n"
        "        DRAW_PARAGRAPH #SCREEN, #words, #0, #0, #100, #20, #TEXT_BOLD, #BLACK\n"
        "        MOVE.L [below], R14\n"
        "        DRAW_PARAGRAPH #SCREEN, #none, #0, [below], #100, #20, #TEXT_BOLD, #BLACK\n"
        "        SUB.L R14, [below]\n"
        "        MOVE.L [sheet], R14\n",
        &result);
    const u32 lines = result.LongAt("below") / 20;
    EXPECT_GE(lines, 3u);
    EXPECT_EQ(InkedLines(view, 0, 20, lines, 0, 100), std::string(lines, '#'));
    EXPECT_EQ(InkedLines(view, lines * 20, 20, 2, 0, 100), "..");
    EXPECT_EQ(result.LongAt("sheet"), 20u) << "an empty text is one empty line";
}

TEST(LibraryPictures, AParagraphCanBeMeasuredWithoutDrawing) {
    HeadlessResult result;
    const Picture view = Draw(
        "        .data\n"
        "words:  .asciz \"one\\ntwo\\nthree\"\n"
        "        .code\n"
        "        DRAW_PARAGRAPH #SCREEN, #words, #0, #7, #100, #20, #TEXT_MEASURE, #BLACK\n"
        "        MOVE.L [below], R14\n",
        &result);
    EXPECT_EQ(result.LongAt("below"), 67u);
    EXPECT_EQ(InkedLines(view, 0, 20, 5, 0, 400), ".....");
}

TEST(LibraryPictures, ACentredLineLiesInTheMiddleAndANumberAtTheLeft) {
    const Picture view = Draw(
        "        .data\n"
        "word:   .asciz \"HIH\"\n"
        "        .code\n"
        "        DRAW_CENTRED #SCREEN, #word, #100, #20, #200, #20, #TEXT_BOLD, #BLACK\n"
        "        DRAW_NUMBER #SCREEN, #-2147483648, #0, #60, #300, #20, #TEXT_PLAIN, #BLACK\n");
    u32 first = 400;
    u32 last = 0;
    for (u32 x = 100; x < 300; ++x) {
        for (u32 y = 20; y < 40; ++y) {
            if (view.At(x, y) == kWhite) {
                continue;
            }
            first = std::min(first, x);
            last = std::max(last, x);
        }
    }
    EXPECT_NEAR(static_cast<double>(first + last) / 2, 199.5, 1.5);
    EXPECT_GT(last - first, 20u);
    EXPECT_EQ(InkedLines(view, 60, 20, 1, 0, 20), "#");
    EXPECT_EQ(InkedLines(view, 60, 20, 1, 90, 110), "#") << "eleven characters";
    EXPECT_EQ(InkedLines(view, 60, 20, 1, 150, 400), ".");
}

}  // namespace

}  // namespace moxi
