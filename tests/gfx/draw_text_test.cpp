// Draw Text with a text engine whose pictures can be worked out by hand: characters 10 wide.

#include "gfx/draw_text.h"

#include <random>

#include "base/utf8.h"
#include "gfx/blit.h"
#include "gfx/draw.h"
#include "gfx/screen.h"
#include "tests/support/block_engine.h"
#include "tests/support/gfx_fixture.h"
#include "vm/heap.h"

namespace moxi {

namespace {

constexpr u32 kRed = 0xFF0000FF;
constexpr u32 kGreen = 0xFF00FF00;
constexpr u32 kBlack = 0xFF000000;
constexpr u32 kBlock = 600;
constexpr u32 kTextAddress = 700;
constexpr u32 kWrapOrCut = kTextWrap | kTextCut;

struct Box {
    i32 x = 10, y = 20, width = 100, height = 20;
    u32 flags = 0;
    u32 background = kRed;
    u32 colour = kGreen;
    u32 destination = kScreenBitmap;
};

u32 Draw(std::string_view text, const Box& box) {
    const u32 words[9] = {box.destination,
                          kTextAddress,
                          static_cast<u32>(box.x),
                          static_cast<u32>(box.y),
                          static_cast<u32>(box.width),
                          static_cast<u32>(box.height),
                          box.flags,
                          box.background,
                          box.colour};
    for (u32 i = 0; i < 9; ++i) {
        Store<u32>(kBlock + 4 * i, words[i]);
    }
    for (u32 i = 0; i < text.size(); ++i) {
        Store<char>(kTextAddress + i, text[i]);
    }
    Store<u8>(kTextAddress + static_cast<u32>(text.size()), 0);
    return DrawText(kBlock);
}

constexpr u32 Result(u32 width, u32 bytes) {
    return width << 16 | bytes;
}

class DrawTextTest : public ::testing::Test {
  protected:
    void SetUp() override {
        StartBlockEngine();
        StartGfxBench(1 << 20, 400, 300);
        EmptyFontCache();
        dirtyTracking = true;
    }
    void TearDown() override {
        EmptyFontCache();
        EndGfxBench();
        EndBlockEngine();
    }

    // The columns of a row of the screen that have a colour, as "first-last" runs.
    static std::string Runs(i32 row, u32 colour) {
        std::string runs;
        for (i32 x = 0; x < 400; ++x) {
            if (GetPixel(kScreenBitmap, x, row) != colour) {
                continue;
            }
            if (GetPixel(kScreenBitmap, x - 1, row) != colour) {
                runs += std::to_string(x) + "-";
            }
            if (GetPixel(kScreenBitmap, x + 1, row) != colour) {
                runs += std::to_string(x) + " ";
            }
        }
        return runs;
    }
    // The same for a column.
    static std::string RowRuns(i32 x, u32 colour) {
        std::string runs;
        for (i32 y = 0; y < 300; ++y) {
            if (GetPixel(kScreenBitmap, x, y) != colour) {
                continue;
            }
            if (GetPixel(kScreenBitmap, x, y - 1) != colour) {
                runs += std::to_string(y) + "-";
            }
            if (GetPixel(kScreenBitmap, x, y + 1) != colour) {
                runs += std::to_string(y) + " ";
            }
        }
        return runs;
    }
};

// --- Boxes and backgrounds

TEST_F(DrawTextTest, AShortTextIsDrawnOverItsBackgroundAsWideAsItIs) {
    EXPECT_EQ(Draw("ab", {}), Result(20, 2));
    // A box of height 20 gets size 19. The baseline lies 256 - trunc(256 - 19 + 4.75) = 15 rows
    // below the top, so the blocks fill rows 7 to 14 of the box.
    EXPECT_EQ(RowRuns(11, kGreen), "27-34 ");
    EXPECT_EQ(RowRuns(10, kRed), "20-39 ");
    EXPECT_EQ(Runs(27, kGreen), "11-18 21-28 ");
    EXPECT_EQ(Runs(20, kRed), "10-29 ");
    EXPECT_EQ(Runs(20, kBlack), "0-9 30-399 ");
    EXPECT_EQ(dirtyRect.left, 10);
    EXPECT_EQ(dirtyRect.top, 20);
    EXPECT_EQ(dirtyRect.right, 30);
    EXPECT_EQ(dirtyRect.bottom, 40);
}

TEST_F(DrawTextTest, CentredTextIsPutAtHalfOfTheRoomLeft) {
    EXPECT_EQ(Draw("ab", {.width = 71, .flags = kTextCentred}), Result(20, 2));
    // 10 + (71 - 20) / 2 = 35
    EXPECT_EQ(Runs(20, kRed), "35-54 ");
    EXPECT_EQ(Runs(27, kGreen), "36-43 46-53 ");
}

TEST_F(DrawTextTest, RightAlignedTextEndsWithTheBoxUnlessItIsCentred) {
    Draw("ab", {.flags = kTextRight});
    EXPECT_EQ(Runs(20, kRed), "90-109 ");
    Draw("ab", {.y = 60, .flags = kTextRight | kTextCentred});
    EXPECT_EQ(Runs(60, kRed), "50-69 ");
}

TEST_F(DrawTextTest, LeftAlignedTextIsCutAtTheBox) {
    EXPECT_EQ(Draw("abc", {.width = 25}), Result(30, 3));
    EXPECT_EQ(Runs(27, kGreen), "11-18 21-28 31-34 ");
    EXPECT_EQ(Runs(20, kRed), "10-34 ");
}

TEST_F(DrawTextTest, CentredTextThatIsTooWideHangsOverBothSidesOfTheBox) {
    // 10 + (25 - 30) / 2 = 8: the division cuts towards 0.
    EXPECT_EQ(Draw("abc", {.width = 25, .flags = kTextCentred}), Result(30, 3));
    EXPECT_EQ(Runs(27, kGreen), "9-16 19-26 29-36 ");
    // The background is as wide as the box: beyond it lies what was drawn there before, nothing.
    EXPECT_EQ(Runs(20, kRed), "8-32 ");
}

TEST_F(DrawTextTest, ThePlaceBesideTheBoxShowsWhatTheTextBitmapHeldBefore) {
    Draw("wwwww", {.y = 100, .background = 0xFFFF0000});
    Draw("abc", {.width = 25, .flags = kTextCentred});
    EXPECT_EQ(Runs(20, kRed), "8-32 ");
    EXPECT_EQ(Runs(20, 0xFFFF0000), "33-37 ");
}

TEST_F(DrawTextTest, WithoutABackgroundTheTextLiesOnOpaqueWhite) {
    Draw("ab", {.background = kNoBackground});
    EXPECT_EQ(Runs(20, 0xFFFFFFFF), "10-29 ");
    EXPECT_EQ(Runs(27, kGreen), "11-18 21-28 ");
}

TEST_F(DrawTextTest, ABackgroundThatIsNotOpaqueLeavesTheOpaqueDestinationVisible) {
    Rectangle(kScreenBitmap, 0, 0, 400, 300, 0xFF654321, 0);
    Draw("ab", {.background = 0xFE0000FF});
    EXPECT_EQ(Runs(20, 0xFF654321), "0-399 ");
    EXPECT_EQ(Runs(27, kGreen), "11-18 21-28 ");
}

TEST_F(DrawTextTest, OnATransparentDestinationTheFirstBackgroundShowsWhateverItsAlpha) {
    const u32 bitmap = MakeBitmap(50, 40, 0);
    Draw("a", {.x = 0, .y = 0, .background = 0x00112233, .destination = bitmap});
    EXPECT_EQ(GetPixel(bitmap, 0, 0), 0xFF112233);
    EXPECT_EQ(GetPixel(bitmap, 1, 7), kGreen);
    EXPECT_EQ(GetPixel(bitmap, 10, 0), 0U);
}

TEST_F(DrawTextTest, AHalfTransparentDestinationIsMixedWithTheFirstBackground) {
    // Red 200 with alpha 128 over blue 100: 200 * 128 / 255 = 100 and 100 * 127 / 255 = 49.
    const u32 bitmap = MakeBitmap(50, 40, 0x800000C8);
    Draw("a", {.x = 0, .y = 0, .background = 0x00640000, .destination = bitmap});
    EXPECT_EQ(GetPixel(bitmap, 0, 0), 0xFF310064);
    EXPECT_EQ(GetPixel(bitmap, 1, 7), kGreen);
}

TEST_F(DrawTextTest, WithoutABackgroundATransparentDestinationBecomesWhiteToo) {
    const u32 bitmap = MakeBitmap(50, 40, 0);
    Draw("a", {.x = 0, .y = 0, .background = kNoBackground, .destination = bitmap});
    EXPECT_EQ(GetPixel(bitmap, 0, 0), 0xFFFFFFFF);
}

TEST_F(DrawTextTest, TheTextColoursAlphaDoesNotMatter) {
    Draw("ab", {.colour = 0x0000FF00});
    EXPECT_EQ(Runs(27, kGreen), "11-18 21-28 ");
}

TEST_F(DrawTextTest, UnderliningDrawsOverTheWholeWidth) {
    Draw("a b", {.flags = kTextUnderline});
    EXPECT_EQ(Runs(27, kGreen), "11-18 31-38 ");
    EXPECT_EQ(Runs(36, kGreen), "10-39 ");
}

TEST_F(DrawTextTest, ATallBoxIsCutToTheRowsOfTheTextBitmap) {
    EXPECT_EQ(Draw("a", {.y = 0, .height = 1000}), Result(10, 1));
    EXPECT_EQ(RowRuns(10, kRed), "0-255 ");
    EXPECT_EQ(fontCache[fontCacheHead].size, 256);
}

TEST_F(DrawTextTest, ItalicTextCountsAsWiderByASixthOfTheHeight) {
    EXPECT_EQ(Draw("ab", {.flags = kTextItalic}), Result(23, 2));
    EXPECT_EQ(Runs(20, kRed), "10-32 ");
}

TEST_F(DrawTextTest, ItalicTextOfWhichNothingIsUsedIsNotWidened) {
    EXPECT_EQ(Draw("abcdef", {.width = 45, .flags = kTextItalic | kTextWrap}), Result(10, 0));
}

// --- Nothing to draw

TEST_F(DrawTextTest, EmptyBoxesAndTextsDrawNothing) {
    EXPECT_EQ(Draw("ab", {.width = 0}), 0U);
    EXPECT_EQ(Draw("ab", {.height = 0}), 0U);
    EXPECT_EQ(Draw("ab", {.width = -5}), 0U);
    EXPECT_EQ(Draw("ab", {.height = -5}), 0U);
    EXPECT_EQ(Draw("", {}), 0U);
    EXPECT_EQ(dirtyRect.left, 30000);
    EXPECT_EQ(fontCacheHead, -1);
}

TEST_F(DrawTextTest, TextThatIsNotUtf8DrawsNothing) {
    for (const char* text :
         {"a\x80", "a\xC0\x80", "\xC3", "a\xE2\x82", "\xE0\x80\x80", "\xED\xA0\x80",
          "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "abcdefgh\xFF", "\xFE"}) {
        EXPECT_EQ(Draw(text, {}), 0U) << text;
    }
    EXPECT_EQ(Runs(27, kBlack), "0-399 ");
    EXPECT_EQ(dirtyRect.left, 30000);
}

TEST_F(DrawTextTest, WithoutATextBitmapNothingIsDrawn) {
    ResetGraphics();
    EXPECT_EQ(Draw("ab", {}), 0U);
}

TEST_F(DrawTextTest, MeasuringOnlyLeavesTheDestinationAlone) {
    EXPECT_EQ(Draw("ab cd ef", {.width = 55, .flags = kTextMeasureOnly | kTextWrap}),
              Result(60, 5));
    EXPECT_EQ(Runs(27, kBlack), "0-399 ");
    EXPECT_EQ(dirtyRect.left, 30000);
    // It is drawn in the text bitmap all the same.
    EXPECT_EQ(GetPixel(kTextBitmap, 1, 7), kGreen);
}

// --- Wrapping and cutting

TEST_F(DrawTextTest, AWordWrappedLineEndsWithItsLastSpaceWhichIsNotUsed) {
    // Only four of the five characters fit.
    EXPECT_EQ(Draw("ab cd", {.width = 40, .flags = kTextWrap}), Result(30, 2));
    EXPECT_EQ(Runs(27, kGreen), "11-18 21-28 ");
    EXPECT_EQ(Runs(20, kRed), "10-39 ");
}

TEST_F(DrawTextTest, TheOverflowingCharacterMayItselfBeTheSpace) {
    EXPECT_EQ(Draw("abcd ef", {.width = 40, .flags = kTextWrap}), Result(50, 4));
    EXPECT_EQ(Runs(27, kGreen), "11-18 21-28 31-38 41-48 ");
    EXPECT_EQ(Runs(20, kRed), "10-49 ");
}

TEST_F(DrawTextTest, TheLastSpaceThatFitsCounts) {
    EXPECT_EQ(Draw("a b c def", {.width = 75, .flags = kTextWrap}), Result(60, 5));
}

TEST_F(DrawTextTest, WordWrapWithoutASpaceDrawsTheFirstCharacterAndUsesNothing) {
    EXPECT_EQ(Draw("abcdef", {.width = 45, .flags = kTextWrap}), Result(10, 0));
    EXPECT_EQ(Runs(27, kGreen), "11-18 ");
}

TEST_F(DrawTextTest, WordWrapWithoutASpaceCutsAtACharacterWhenThatIsAllowed) {
    EXPECT_EQ(Draw("abcdef", {.width = 45, .flags = kWrapOrCut}), Result(40, 4));
}

TEST_F(DrawTextTest, ASpaceAtTheStartDoesNotCountAsAPlaceToWrap) {
    EXPECT_EQ(Draw(" abcdef", {.width = 45, .flags = kWrapOrCut}), Result(40, 4));
    // Alone it would be the whole line, which draws nothing.
    EXPECT_EQ(Draw(" abcdef", {.width = 45, .flags = kTextWrap}), 0U);
}

TEST_F(DrawTextTest, NothingIsDrawnWhenNotEvenTheFirstCharacterFits) {
    EXPECT_EQ(Draw("abc", {.width = 9, .flags = kTextWrap}), 0U);
    EXPECT_EQ(Draw("abc", {.width = 9, .flags = kTextCut}), 0U);
    EXPECT_EQ(Draw("abc", {.width = 9, .flags = kWrapOrCut}), 0U);
    EXPECT_EQ(dirtyRect.left, 30000);
}

TEST_F(DrawTextTest, CharacterCuttingDrawsWhatFits) {
    EXPECT_EQ(Draw("ab cd", {.width = 49, .flags = kTextCut}), Result(40, 4));
    EXPECT_EQ(Draw("ab cd", {.width = 50, .flags = kTextCut}), Result(50, 5));
    EXPECT_EQ(Draw(" bcd", {.width = 15, .flags = kTextCut}), Result(10, 1));
}

TEST_F(DrawTextTest, ATextThatFitsIsNeverCut) {
    EXPECT_EQ(Draw("ab cd", {.width = 50, .flags = kWrapOrCut}), Result(50, 5));
    EXPECT_EQ(Draw(" ", {.width = 50, .flags = kWrapOrCut}), Result(10, 1));
}

TEST_F(DrawTextTest, BytesAreCountedNotCharacters) {
    EXPECT_EQ(Draw("\xC3\xA4\xE2\x82\xAC", {}), Result(20, 5));
    EXPECT_EQ(Draw("\xC3\xA4\xE2\x82\xAC xyz", {.width = 45, .flags = kTextWrap}), Result(30, 5));
    EXPECT_EQ(Draw("\xC3\xA4\xE2\x82\xAC xyz", {.width = 25, .flags = kTextCut}), Result(20, 5));
}

TEST_F(DrawTextTest, ACharacterBeyondTheBasicPlaneCountsAsTwoAndIsNeverCutApart) {
    // The smiling face is one picture, four bytes and two UTF-16 units.
    EXPECT_EQ(Draw("\xF0\x9F\x98\x80x", {.width = 100}), Result(20, 5));
    EXPECT_EQ(Draw("\xF0\x9F\x98\x80x", {.width = 5, .flags = kTextCut}), 0U);
    // Three units are used, and the walk over the bytes takes three characters for them.
    EXPECT_EQ(Draw("\xF0\x9F\x98\x80xyz", {.width = 25, .flags = kTextCut}), Result(20, 6));
    EXPECT_EQ(Draw("ab\xF0\x9F\x98\x80", {.width = 25, .flags = kTextCut}), Result(20, 2));
}

TEST_F(DrawTextTest, ATextMayEndWithTheImage) {
    const u32 end = imageSize;
    Store<u32>(end - 4, 0x00636261);
    Draw("ab", {});
    Store<u32>(kBlock + 4, end - 4);
    EXPECT_EQ(DrawText(kBlock), Result(30, 3));
}

// --- The walk over the bytes

TEST(Utf8Walk, TakesALeadWithItsContinuationBytesAsOneStep) {
    EXPECT_EQ(WalkCharacters("abc", 2), 2U);
    EXPECT_EQ(WalkCharacters("\xC3\xA4z", 1), 2U);
    EXPECT_EQ(WalkCharacters("\xE2\x82\xACz", 1), 3U);
    EXPECT_EQ(WalkCharacters("\xF0\x9F\x98\x80z", 1), 4U);
    EXPECT_EQ(WalkCharacters("ab", 9), 2U);
}

TEST(Utf8Walk, DoesNotAdvanceAtAByteThatIsNoLead) {
    EXPECT_EQ(WalkCharacters("a\x80z", 3), 1U);
    EXPECT_EQ(WalkCharacters("\xF8z", 3), 0U);
}

TEST(Utf8Walk, StopsInsideABrokenSequence) {
    EXPECT_EQ(WalkCharacters("\xC3z", 1), 1U);
    EXPECT_EQ(WalkCharacters("\xE2\x82z", 1), 2U);
    EXPECT_EQ(WalkCharacters("\xF0\x9Fz", 1), 2U);
}

// --- The two drawings

// The same, drawn step by step without leaving out what will be hidden.
void DrawStepByStep(std::string_view text, const Box& box, i32 rows, i32 width, i32 baseline) {
    TextFont* const font = FontFor(rows, box.flags);
    const auto lay = [&] {
        const TextPicture picture = textEngine.draw(font, text, false, 400);
        for (i32 y = 0; y < picture.height; ++y) {
            for (i32 x = 0; x < picture.width; ++x) {
                const i32 row = baseline + picture.top + y;
                if (row >= 256 || picture.coverage[y * picture.width + x] == 0) {
                    continue;
                }
                SetPixel(kTextBitmap, x, row, box.colour | 0xFF000000);
            }
        }
    };
    if (box.background == kNoBackground) {
        Blit(kTextBitmap, 0, 0, box.destination, box.x, box.y, box.width, rows, false, 0, 0);
    } else {
        const i32 right = (box.flags & kTextItalic) != 0 ? box.width + rows : box.width;
        for (i32 y = 0; y < rows; ++y) {
            for (i32 x = 0; x < std::min(right, 400); ++x) {
                SetPixel(kTextBitmap, x, y, box.background | 0xFF000000);
            }
        }
    }
    lay();
    if ((box.flags & kTextMeasureOnly) != 0) {
        return;
    }
    const i32 x = (box.flags & kTextCentred) != 0 ? box.x + (box.width - width) / 2
                  : (box.flags & kTextRight) != 0 ? box.x + box.width - width
                                                  : box.x;
    const i32 copied =
        (box.flags & (kTextCentred | kTextRight)) != 0 ? width : std::min(width, box.width);
    if (box.background <= 0xFEFFFFFF) {
        Blit(kTextBitmap, 0, 0, box.destination, x, box.y, copied, rows, false, 0, 0);
    } else {
        Rectangle(kTextBitmap, 0, 0, box.width, rows, box.background, 0);
    }
    lay();
    for (i32 row = 0; row < rows; ++row) {
        for (i32 column = 0; column < std::min(copied, 400); ++column) {
            SetPixel(kTextBitmap, column, row, GetPixel(kTextBitmap, column, row) | 0xFF000000);
        }
    }
    Blit(box.destination, x, box.y, kTextBitmap, 0, 0, copied, rows, false, 0, 0);
}

TEST_F(DrawTextTest, LeavingOutWhatWillBeHiddenChangesNoPixel) {
    std::mt19937 random(7);
    const auto pick = [&](u32 count) { return static_cast<u32>(random() % count); };
    const u32 alphas[] = {0, 0, 128, 255, 255};
    AllocHeap(40000);  // boxes above the bitmaps are still in the image
    for (u32 round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        blockEngine.rowsBelow = static_cast<i32>(pick(3) * 6);
        blockEngine.overhang = static_cast<i32>(pick(3) * 5);
        const u32 bitmap = pick(4) == 0 ? kScreenBitmap : MakeBitmap(120, 60, 0);
        const u32 alpha = alphas[pick(5)];
        for (i32 y = 0; y < 60; ++y) {
            for (i32 x = 0; x < 120; ++x) {
                const u32 pixelAlpha = pick(50) == 0 && alpha != 255 ? pick(256) : alpha;
                SetPixel(bitmap, x, y, pixelAlpha << 24 | (random() & 0xFFFFFF));
            }
        }
        const std::string text(1 + pick(14), 'x');
        const u32 flags[] = {0, kTextCentred, kTextRight, kTextMeasureOnly};
        const u32 backgrounds[] = {kNoBackground, kRed, 0x00332211, 0xFE445566};
        const Box box = {.x = static_cast<i32>(pick(60)) - 20,
                         .y = static_cast<i32>(pick(40)) - 5,
                         .width = 1 + static_cast<i32>(pick(120)),
                         .height = 20,
                         .flags = flags[pick(4)] | (pick(3) == 0 ? kTextItalic : 0),
                         .background = backgrounds[pick(4)],
                         .destination = bitmap};
        const std::vector<u8> textBefore(textBitmap.pixels,
                                         textBitmap.pixels + std::size_t{256} * 400 * 4);
        std::vector<u32> before;
        const auto pixels = [&](u32 handle) {
            std::vector<u32> all;
            for (i32 y = 0; y < 60; ++y) {
                for (i32 x = 0; x < 120; ++x) {
                    all.push_back(GetPixel(handle, x, y));
                }
            }
            return all;
        };
        before = pixels(bitmap);
        const i32 width =
            static_cast<i32>(text.size()) * 10 + ((box.flags & kTextItalic) != 0 ? 3 : 0);
        Draw(text, box);
        const std::vector<u32> drawn = pixels(bitmap);
        const std::vector<u8> textDrawn(textBitmap.pixels,
                                        textBitmap.pixels + std::size_t{256} * 400 * 4);
        std::copy(textBefore.begin(), textBefore.end(), textBitmap.pixels);
        for (i32 i = 0; i < 60 * 120; ++i) {
            SetPixel(bitmap, i % 120, i / 120, before[static_cast<std::size_t>(i)]);
        }
        DrawStepByStep(text, box, 20, width, 15);
        EXPECT_EQ(pixels(bitmap), drawn);
        EXPECT_TRUE(std::equal(textDrawn.begin(), textDrawn.end(), textBitmap.pixels));
        if (bitmap != kScreenBitmap) {
            FreeBitmap(bitmap);
        }
        CompactHeap();
    }
}

TEST_F(DrawTextTest, TheTextBitmapItselfMayBeTheDestination) {
    Draw("ab", {.x = 50, .y = 40, .destination = kTextBitmap});
    EXPECT_EQ(GetPixel(kTextBitmap, 51, 47), kGreen);
    EXPECT_EQ(GetPixel(kTextBitmap, 50, 40), kRed);
}

// --- Fonts

TEST_F(DrawTextTest, TheFittedSizeIsTheLargestWholeOneThatIsLessHighThanTheBox) {
    const auto size = [](i32 height) {
        const FittedFont fitted = FitFont("\xD0\x8Dy", 2048, height, 0);
        textEngine.releaseFont(fitted.font);
        return fitted.size;
    };
    EXPECT_EQ(size(20), 19);
    EXPECT_EQ(size(7), 6);
    EXPECT_EQ(size(6), 5);
    EXPECT_EQ(size(5), 4);
    // Below a size of 6 the search ends after one step, whether the font fits or not.
    EXPECT_EQ(size(4), 4);
    EXPECT_EQ(size(1), 1);
    blockEngine.heightFactor = 2;
    EXPECT_EQ(size(20), 9);
    EXPECT_EQ(size(10), 4);
    EXPECT_EQ(size(4), 4);
    // A flat font grows beyond the height of the box.
    blockEngine.heightFactor = 0.5;
    EXPECT_EQ(size(10), 19);
    EXPECT_EQ(size(256), 511);
    EXPECT_EQ(blockEngine.fontsMade, blockEngine.fontsReleased);
}

TEST_F(DrawTextTest, TheFittedSizeStartsFromHalfTheTextBitmapWhenThatIsLessHigh) {
    const FittedFont fitted = FitFont("\xD0\x8Dy", 2048, 300, 0);
    EXPECT_EQ(fitted.size, 127);
    textEngine.releaseFont(fitted.font);
}

TEST_F(DrawTextTest, AWidthLimitMakesTheFontSmallerToo) {
    const FittedFont fitted = FitFont("\xD0\x8Dy", 20, 10, 0);
    // Two characters are always 20 wide here, which is not less than 20: down to size 4.
    EXPECT_EQ(fitted.size, 4);
    textEngine.releaseFont(fitted.font);
}

TEST_F(DrawTextTest, AFontIsMadeOnceForAHeightAndAStyle) {
    Draw("a", {});
    const u32 made = blockEngine.fontsMade;
    Draw("b", {.width = 50, .flags = kTextCentred | kTextCut});
    EXPECT_EQ(blockEngine.fontsMade, made);
    for (const u32 flag : {kTextCourier, kTextBold, kTextTimes, kTextItalic, kTextUnderline}) {
        const u32 before = blockEngine.fontsMade;
        Draw("a", {.flags = flag});
        EXPECT_GT(blockEngine.fontsMade, before);
        EXPECT_EQ(fontCache[fontCacheHead].style, static_cast<i32>(flag));
        EXPECT_EQ(fontCache[fontCacheHead].size, 20);
    }
}

TEST_F(DrawTextTest, The101stDistinctPairEvictsTheLeastRecentlyUsedFont) {
    for (i32 height = 10; height < 110; ++height) {
        Draw("a", {.height = height});
    }
    EXPECT_EQ(fontCacheHead, 99);
    // The oldest one is used again, so the one of height 11 in entry 1 is the oldest.
    Draw("a", {.height = 10});
    EXPECT_EQ(fontCacheHead, 0);
    const u32 released = blockEngine.fontsReleased;
    Draw("a", {.height = 200});
    EXPECT_EQ(fontCacheHead, 1);
    EXPECT_EQ(fontCache[1].size, 200);
    EXPECT_EQ(fontCache[1].next, 0);
    EXPECT_GT(blockEngine.fontsReleased, released);
    const u32 made = blockEngine.fontsMade;
    Draw("a", {.height = 10});
    Draw("a", {.height = 12});
    EXPECT_EQ(blockEngine.fontsMade, made);
    Draw("a", {.height = 11});
    EXPECT_GT(blockEngine.fontsMade, made);
    EXPECT_EQ(fontCacheHead, 3);  // height 13 had to go
}

TEST_F(DrawTextTest, MakingTheTextBitmapEmptiesTheCacheAndReleasesItsFonts) {
    Draw("a", {});
    Draw("a", {.height = 30});
    ASSERT_TRUE(CreateScreenBitmap(400, 300));
    EXPECT_EQ(fontCacheHead, -1);
    EXPECT_EQ(fontCache[0].size, -1);
    EXPECT_EQ(fontCache[99].next, -1);
    EXPECT_EQ(blockEngine.fontsMade, blockEngine.fontsReleased);
}

}  // namespace

}  // namespace moxi
