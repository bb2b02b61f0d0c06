// Bitmaps, selections and the dirty rectangle, called directly.

#include "gfx/bitmap.h"
#include "desktop/desktop.h"
#include "gfx/screen.h"

#include "gfx/alpha.h"
#include "gfx/blit.h"
#include "gfx/colour.h"
#include "gfx/draw.h"
#include "gfx/graphics_group.h"
#include "tests/support/gfx_fixture.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

using Bitmaps = GfxTest;
using DirtyRectangle = GfxTest;
using Blits = GfxTest;

void ExpectDirty(i32 left, i32 top, i32 right, i32 bottom) {
    EXPECT_EQ(dirtyRect.left, left);
    EXPECT_EQ(dirtyRect.top, top);
    EXPECT_EQ(dirtyRect.right, right);
    EXPECT_EQ(dirtyRect.bottom, bottom);
}

TEST_F(Bitmaps, ARecordHoldsEightWords) {
    const u32 handle = CreateBitmap(7, 5);
    const u32 record = RecordAddress(handle);
    const u32 pixels = Load<u32>(record + 28);
    const u32 expected[8] = {7, 5, 28, 0, 0, 7, 5, pixels};
    for (u32 i = 0; i < 8; ++i) {
        EXPECT_EQ(Load<u32>(record + 4 * i), expected[i]);
    }
    EXPECT_EQ(heapPtrs[pixels].size, 140U);
    EXPECT_EQ(heapPtrs[pixels].lockCount, 0U);
    EXPECT_EQ(heapPtrs[handle].lockCount, 0U);
}

TEST_F(Bitmaps, SelectingABitmapAsBothLocksItOnceAndUnlocksItOnce) {
    const u32 handle = CreateBitmap(3, 3);
    const u32 pixels = Load<u32>(RecordAddress(handle) + 28);
    StartDSTSRC(handle, handle);
    EXPECT_EQ(heapPtrs[handle].lockCount, 1U);
    EXPECT_EQ(heapPtrs[pixels].lockCount, 1U);
    EXPECT_EQ(srcSelection.handle, handle);
    EndDSTSRC();
    EXPECT_EQ(heapPtrs[handle].lockCount, 0U);
    EXPECT_EQ(heapPtrs[pixels].lockCount, 0U);
    EXPECT_EQ(heapPointerCount, 0);
    EXPECT_EQ(dstSelection.handle, kNoBitmap);
    EXPECT_EQ(srcSelection.handle, kNoBitmap);
}

TEST_F(Bitmaps, ASecondSelectionEndsTheProcess) {
    const StandardError quiet(true);
    StartDST(kScreenBitmap);
    EXPECT_EQ(EndStatus([] { StartDST(kScreenBitmap); }), 1);
    StartSRC(kScreenBitmap);
    EXPECT_EQ(EndStatus([] { StartSRC(kTextBitmap); }), 1);
    EXPECT_EQ(vmEvents.messages, (std::vector<std::string>{"StartDST() already started",
                                                           "StartSRC() already started"}));
}

TEST_F(Bitmaps, FreeBitmapFreesThePixelsAndThenTheRecord) {
    const u32 handle = CreateBitmap(3, 3);
    const u32 pixels = Load<u32>(RecordAddress(handle) + 28);
    FreeBitmap(handle);
    EXPECT_EQ(heapListHeads[1], static_cast<i32>(handle));
    EXPECT_EQ(heapPtrs[handle].next, static_cast<i32>(pixels));
}

TEST_F(Bitmaps, FreeingTheScreenDoesNothing) {
    FreeBitmap(kScreenBitmap);
    EXPECT_EQ(heapListHeads[1], -1);
    EXPECT_EQ(GetPixel(kScreenBitmap, 0, 0), 0xFF000000);
}

TEST_F(Bitmaps, TheTextBitmapIsAsWideAsTheScreenAnd256RowsHighUpTo3839) {
    ASSERT_TRUE(CreateScreenBitmap(16, 2160));
    EXPECT_EQ(textBitmap.width, 16U);
    EXPECT_EQ(textBitmap.height, 256U);
    ASSERT_TRUE(CreateScreenBitmap(16, 3839));
    EXPECT_EQ(textBitmap.height, 256U);
    ASSERT_TRUE(CreateScreenBitmap(16, 4320));
    EXPECT_EQ(textBitmap.height, 288U);
}

TEST_F(Bitmaps, SizesOfTheScreenAreTakenAsTheirLow16Bits) {
    ASSERT_TRUE(CreateScreenBitmap(65536 + 12, 131072 + 9));
    EXPECT_EQ(screenBitmap.width, 12U);
    EXPECT_EQ(screenBitmap.height, 9U);
    EXPECT_EQ(screenBitmap.stride, 48U);
}

TEST_F(Bitmaps, TheClipOfTheTextBitmapGoesToTheRecordSelectedLastAsASource) {
    const u32 first = CreateBitmap(30, 30);
    const u32 second = CreateBitmap(30, 30);
    GetPixel(second, 0, 0);
    GetPixel(first, 0, 0);
    BlendPixel(kScreenBitmap, 0, 0, 0);
    SetClip(kTextBitmap, 1, 2, 3, 4, 0);
    const u32 clip = RecordAddress(first) + 12;
    EXPECT_EQ(Load<u32>(clip), 1U);
    EXPECT_EQ(Load<u32>(clip + 4), 2U);
    EXPECT_EQ(Load<u32>(clip + 8), 3U);
    EXPECT_EQ(Load<u32>(clip + 12), 4U);
    EXPECT_EQ(Load<u32>(RecordAddress(second) + 12), 0U);
    EXPECT_EQ(textBitmap.clipWidth, 40);
}

TEST_F(Bitmaps, TheClipOfTheTextBitmapBeforeAnySourceIsAMemoryFault) {
    const StandardError quiet(true);
    EXPECT_EQ(EndStatus([] { SetClip(kTextBitmap, 1, 2, 3, 4, 0); }), 1);
}

TEST_F(Bitmaps, OnlyTheLowEightBitsOfASubCommandCount) {
    const u32 block = 600;
    const u32 words[8] = {0, 0, 0, 2, 1, 0xFFFFFFFF, 0xFFFFFFFF, 5};
    for (u32 i = 0; i < 8; ++i) {
        Store<u32>(block + 4 * i, words[i]);
    }
    SysGraphicsGroup(0x105, block);
    EXPECT_EQ(Load<u64>(kHeaderR14), 2U);
    EXPECT_EQ(GetPixel(kScreenBitmap, 1, 0), 0x05000000U);
}

// --- Dirty rectangle

TEST_F(DirtyRectangle, StartsEmptyAndStaysSoDuringStartUp) {
    ExpectDirty(30000, 30000, -1, -1);
}

TEST_F(DirtyRectangle, ANegativeSizeExtendsToTheOtherSide) {
    dirtyTracking = true;
    GrowDirtyRect(10, 10, -4, -6);
    ExpectDirty(6, 4, 10, 10);
}

TEST_F(DirtyRectangle, WithTheSwitchOffNoPrimitiveGrowsIt) {
    const u32 bitmap = MakeBitmap(4, 4, 0xFF123456);
    BlendPixel(0, 1, 1, 0xFFFFFFFF);
    Line(0, 1, 1, 9, 5, 0xFFFFFFFF);
    Rectangle(0, 1, 1, 5, 5, 0xFFFFFFFF, 0xFFFFFFFF);
    Ellipse(0, 1, 1, 5, 5, 0xFFFFFFFF, 0xFFFFFFFF);
    Blit(0, 1, 1, bitmap, 0, 0, 4, 4, false, 0, 0);
    BlitScaled({0, 1, 1, 8, 8, bitmap, 0, 0, 4, 4, 0, 0});
    SetAlpha(0, 0, 0, 5, 5, kEveryPixel, 3);
    HueSquare(0, 0, 0, 5, 5, 3);
    AdjustColours(0, 0, 0, 5, 5, 1, 2, 3, 4);
    ExpectDirty(30000, 30000, -1, -1);
}

TEST_F(DirtyRectangle, ABlendedPixelGrowsItEvenOutside) {
    dirtyTracking = true;
    BlendPixel(0, 50, 100, 0xFFFFFFFF);
    ExpectDirty(50, 100, 51, 101);
}

TEST_F(DirtyRectangle, AHorizontalRunLeftOfTheClipGrowsItWithItsCutEnds) {
    dirtyTracking = true;
    Line(0, -10, 3, -5, 3, 0xFFFFFFFF);  // from 0 to -5
    ExpectDirty(-5, 3, 0, 4);
}

TEST_F(DirtyRectangle, ALineOutsideTheClipRowsDoesNotGrowIt) {
    dirtyTracking = true;
    Line(0, 3, 30, 9, 30, 0xFFFFFFFF);
    ExpectDirty(30000, 30000, -1, -1);
}

TEST_F(DirtyRectangle, ASinglePointHasNoHeight) {
    dirtyTracking = true;
    Line(0, 3, 4, 3, 4, 0xFFFFFFFF);
    ExpectDirty(3, 4, 4, 4);
}

TEST_F(DirtyRectangle, AnEllipseTakesItsWidthForItsHeight) {
    dirtyTracking = true;
    Ellipse(0, 5, 6, 10, 3, 0, 0xFFFFFFFF);
    ExpectDirty(5, 6, 16, 17);
}

TEST_F(DirtyRectangle, AnEllipseWithoutWidthDoesNotGrowIt) {
    dirtyTracking = true;
    Ellipse(0, 5, 6, 0, 3, 0, 0xFFFFFFFF);
    ExpectDirty(30000, 30000, -1, -1);
    EXPECT_EQ(GetPixel(0, 5, 9), 0xFFFFFFFF);
}

TEST_F(DirtyRectangle, ATiledBlitGrowsItUpToItsLimits) {
    dirtyTracking = true;
    const u32 bitmap = MakeBitmap(4, 4, 0xFF123456);
    Blit(0, 2, 3, bitmap, 0, 0, 4, 4, false, 20, 0);
    ExpectDirty(2, 3, 20, 7);
}

TEST_F(DirtyRectangle, AScaledBlitOfNoSizeDoesNotGrowIt) {
    dirtyTracking = true;
    const u32 bitmap = MakeBitmap(4, 4, 0xFF123456);
    BlitScaled({0, 1, 1, 0, 8, bitmap, 0, 0, 4, 4, 0, 0});
    ExpectDirty(30000, 30000, -1, -1);
}

// --- Blits

TEST_F(Blits, OntoTheSameBitmapEachPixelIsReadJustBeforeItIsWritten) {
    const u32 bitmap = MakeBitmap(6, 1, 0xFF000000);
    SetPixel(bitmap, 0, 0, 0xFF0000AA);
    // One to the right: the first pixel runs through the whole row.
    Blit(bitmap, 1, 0, bitmap, 0, 0, 5, 1, false, 0, 0);
    for (i32 x = 0; x < 6; ++x) {
        EXPECT_EQ(GetPixel(bitmap, x, 0), 0xFF0000AA);
    }
}

TEST_F(Blits, ARowBelowIsReadAfterItWasWritten) {
    const u32 bitmap = MakeBitmap(1, 4, 0xFF000000);
    SetPixel(bitmap, 0, 0, 0xFF0000BB);
    Blit(bitmap, 0, 1, bitmap, 0, 0, 1, 3, false, 0, 0);
    EXPECT_EQ(GetPixel(bitmap, 0, 3), 0xFF0000BB);
}

TEST_F(Blits, WithoutSizeNothingIsWrittenAndTheScreenStillGrowsDirty) {
    dirtyTracking = true;
    const u32 bitmap = MakeBitmap(4, 4, 0xFF123456);
    Blit(0, 9, 9, bitmap, 0, 0, -3, 4, false, 20, 0);
    EXPECT_EQ(GetPixel(0, 9, 9), 0xFF000000);
    ExpectDirty(9, 9, 20, 13);
}

// The copies of an inverted blit with 0 < source x < right limit never end by themselves.
TEST_F(Blits, EndlessInvertedCopiesAskTheHostAndEndWithIt) {
    static int questions;
    questions = 0;
    desktop.endIsForced = [] { return ++questions == 3; };
    const u32 bitmap = MakeBitmap(4, 1, 0xFF102030);
    EXPECT_EQ(EndStatus([bitmap] { Blit(0, 0, 0, bitmap, 1, 0, 2, 1, true, 7, 9); }), 1);
    EXPECT_EQ(questions, 3);
    dstSelection.handle = srcSelection.handle = kNoBitmap;
    EXPECT_EQ(GetPixel(0, 6, 0), 0xFFEFDFCF);
    EXPECT_EQ(GetPixel(0, 7, 0), 0xFF000000);
    EXPECT_EQ(GetPixel(0, 0, 1), 0xFF000000);  // the next row of copies is never begun
}

TEST_F(Blits, InvertedCopiesEndAfterOneWhenTheSourceStartsAtOrBeyondTheLimit) {
    const u32 bitmap = MakeBitmap(12, 1, 0xFF102030);
    Blit(0, 0, 0, bitmap, 7, 0, 2, 1, true, 7, 2);
    EXPECT_EQ(GetPixel(0, 1, 1), 0xFFEFDFCF);
    EXPECT_EQ(GetPixel(0, 2, 0), 0xFF000000);
}

TEST_F(Blits, AnEllipseThatNeverEndsAsksTheHost) {
    desktop.endIsForced = [] { return true; };
    EXPECT_EQ(EndStatus([] { Ellipse(0, 0, 0, 11, 65537, 0, 0xFFFFFFFF); }), 1);
}

}  // namespace

}  // namespace moxi
