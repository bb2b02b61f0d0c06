// Graphics services as a module sees them, through the real program, headless.

#include <gtest/gtest.h>
#include <spng.h>

#include "tests/support/calling_module.h"

namespace moxi {

namespace {

const std::string kScreen = "0";
const std::string kKeep = "0xFFFFFFFF";

// --- Bitmaps

TEST(GraphicsModules, BlittingABitmapOntoItselfLocksAndUnlocksItOnce) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"4", "4"}, "bitmap");
    module.Call(SYS_RECTANGLE, {"@bitmap", "0", "0", "4", "4", "0xFF112233", "0"});
    module.Call(SYS_BLIT, {"@bitmap", "2", "2", "@bitmap", "0", "0", "2", "2", "0", "0", "0"});
    module.Pixel("@bitmap", 3, 3, "pixel");
    const HeadlessResult run = module.Run();
    // A lock left over would end the run at the compaction after the message.
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.Fatals().empty());
    EXPECT_EQ(run.LongAt("pixel"), 0xFF112233);
}

TEST(GraphicsModules, FreeingTheScreenBitmapDoesNothing) {
    CallingModule module;
    module.Call(SYS_FREE_BITMAP, {kScreen});
    module.Call(SYS_RECTANGLE, {kScreen, "3", "4", "2", "2", "0xFF010203", "0"});
    module.Pixel(kScreen, 4, 5, "pixel");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.LongAt("pixel"), 0xFF010203);
}

u32 TextBitmapRows(const std::string& desktop) {
    CallingModule module;
    module.Data("info: .space 24");
    module.Call(SYS_BITMAP_INFO, {"0xFFFFFFFE", "info"});
    const HeadlessResult run = module.Run({"--desktop", desktop});
    EXPECT_EQ(run.LongAt("info"), 64U);
    return run.Long(run.Label("info") + 4);
}

TEST(GraphicsModules, TheTextBitmapOfA2160PixelHighScreenHas256Rows) {
    EXPECT_EQ(TextBitmapRows("64x2160"), 256U);
}

TEST(GraphicsModules, TheTextBitmapOfA4320PixelHighScreenHas288Rows) {
    EXPECT_EQ(TextBitmapRows("64x4320"), 288U);
}

TEST(GraphicsModules, TheScreenStartsOpaqueBlack) {
    CallingModule module;
    module.Pixel(kScreen, 0, 0, "first");
    module.Pixel(kScreen, 1919, 1079, "last");
    module.Pixel(kScreen, 1920, 0, "outside");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("first"), 0xFF000000);
    EXPECT_EQ(run.LongAt("last"), 0xFF000000);
    EXPECT_EQ(run.LongAt("outside"), 0U);
}

TEST(GraphicsModules, ABadHandleIsReportedAndThenAMemoryFault) {
    CallingModule module;
    module.Pixel("0x10000", 0, 0, "pixel");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.status, 1);
    ASSERT_EQ(run.Fatals().size(), 2U);
    EXPECT_EQ(run.Fatals()[0], "LockHeap() failed");
    EXPECT_EQ(run.Fatals()[1].rfind("Memory fault at 0x", 0), 0U);
}

TEST(GraphicsModules, ARecordWithoutPixelsIsReportedAndDrawnOnTheFirstBlock) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"1", "1"}, "bitmap");
    module.Call(SYS_LOCK, {"@bitmap"}, "record");
    module.Code("MOVE.L R2, [record]");
    module.Code("MOVE.L [R2+28], #0");
    module.Call(SYS_UNLOCK, {"@bitmap"});
    module.Call(SYS_RECTANGLE, {"@bitmap", "0", "0", "1", "1", "0xFF445566", "0"});
    module.Call(SYS_BLOCK_ADDRESS, {"0"}, "firstBlock");
    module.Code("MOVE.L R2, [firstBlock]");
    module.Code("MOVE.L R3, [R2]");
    module.Data("content: .long 0");
    module.Code("MOVE.L [content], R3");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.Fatals(), std::vector<std::string>{"StartDST: hBM==0"});
    EXPECT_EQ(run.LongAt("content"), 0xFF445566);
}

TEST(GraphicsModules, ARecordThatLeadsOutOfTheImageIsAMemoryFaultAndDrawsNothing) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"4", "4"}, "bitmap");
    module.Call(SYS_RECTANGLE, {"@bitmap", "0", "0", "4", "4", "0xFF000001", "0"});
    module.Call(SYS_LOCK, {"@bitmap"}, "record");
    module.Code("MOVE.L R2, [record]");
    module.Code("MOVE.L [R2+4], #0x7FFFFFFF");
    module.Code("MOVE.L [R2+24], #0x7FFFFFFF");
    module.Code("MOVE.L R3, [R2+28]");
    module.Data("pixels: .long 0");
    module.Code("MOVE.L [pixels], R3");
    module.Call(SYS_BLOCK_ADDRESS, {"@pixels"}, "address");
    module.Call(SYS_UNLOCK, {"@bitmap"});
    module.Call(SYS_RECTANGLE, {"@bitmap", "0", "0", "4", "0x7FFFFFFF", "0xFF000002", "0"});
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.status, 1);
    ASSERT_EQ(run.Fatals().size(), 1U);
    EXPECT_EQ(run.Long(run.LongAt("address")), 0xFF000001);
}

// --- Drawing

TEST(GraphicsModules, BlendPixelWithAlpha0ChangesNothingAndWith255SetsTheColour) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"2", "1"}, "bitmap");
    module.Call(SYS_SET_ALPHA, {"@bitmap", "0", "0", "2", "1", "0xFFFFFFFE", "0xFFFFFFFF", "0"});
    module.Call(SYS_RECTANGLE, {"@bitmap", "0", "0", "2", "1", "0xFF0A141E", "0"});
    module.Call(SYS_BLEND_PIXEL, {"@bitmap", "0", "0", "0x00FFFFFF"});
    module.Call(SYS_BLEND_PIXEL, {"@bitmap", "1", "0", "0xFF332211"});
    module.Pixel("@bitmap", 0, 0, "left");
    module.Pixel("@bitmap", 1, 0, "right");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("left"), 0xFF0A141E);
    EXPECT_EQ(run.LongAt("right"), 0xFF332211);
}

TEST(GraphicsModules, BlendPixelDividesEveryProductOnItsOwn) {
    CallingModule module;
    module.Call(SYS_RECTANGLE, {kScreen, "0", "0", "1", "1", "0xFFC86432", "0"});
    module.Call(SYS_BLEND_PIXEL, {kScreen, "0", "0", "0x80FF8001"});
    module.Pixel(kScreen, 0, 0, "pixel");
    const HeadlessResult run = module.Run();
    // Red 1*128/255 + 50*127/255 = 0 + 24, green 64 + 49, blue 128 + 99, alpha 64 + 127.
    EXPECT_EQ(run.LongAt("pixel"), 0xBFE37118);
}

TEST(GraphicsModules, APatternOfAlternatingBitsPlotsEveryOtherPositionFromTheFirst) {
    CallingModule module;
    module.Data("points: .long 0, 0, 5, 0");
    module.Call(SYS_LINE_PATTERN, {"0xAAAAAAAA"}, "former");
    module.Call(SYS_POLYLINE, {kScreen, "points", "2", "0xFFFFFFFF"});
    for (int x = 0; x < 6; ++x) {
        module.Pixel(kScreen, x, 0, "pixel" + std::to_string(x));
    }
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("former"), 0xFFFFFFFF);
    for (int x = 0; x < 6; ++x) {
        EXPECT_EQ(run.LongAt("pixel" + std::to_string(x)), x % 2 == 0 ? 0xFFFFFFFF : 0xFF000000);
    }
}

TEST(GraphicsModules, PatternZeroPlotsNothing) {
    CallingModule module;
    module.Data("points: .long 0, 0, 5, 3");
    module.Call(SYS_LINE_PATTERN, {"0"});
    module.Call(SYS_POLYLINE, {kScreen, "points", "2", "0xFFFFFFFF"});
    module.Pixel(kScreen, 0, 0, "first");
    module.Pixel(kScreen, 5, 3, "last");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("first"), 0xFF000000);
    EXPECT_EQ(run.LongAt("last"), 0xFF000000);
}

TEST(GraphicsModules, AFivePixelLineWithPattern80000000PlotsItsFirstPixelAndLeaves10) {
    CallingModule module;
    module.Data("points: .long 7, 2, 11, 2");
    module.Call(SYS_LINE_PATTERN, {"0x80000000"});
    module.Call(SYS_POLYLINE, {kScreen, "points", "2", "0xFF00FF00"});
    module.Call(SYS_LINE_PATTERN, {"0xFFFFFFFF"}, "pattern");
    module.Pixel(kScreen, 7, 2, "first");
    module.Pixel(kScreen, 8, 2, "second");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("pattern"), 0x10U);
    EXPECT_EQ(run.LongAt("first"), 0xFF00FF00);
    EXPECT_EQ(run.LongAt("second"), 0xFF000000);
}

TEST(GraphicsModules, APolylineOfOnePointDrawsNothing) {
    CallingModule module;
    module.Data("points: .long 1, 1");
    module.Call(SYS_POLYLINE, {kScreen, "points", "1", "0xFFFFFFFF"});
    module.Pixel(kScreen, 1, 1, "pixel");
    EXPECT_EQ(module.Run().LongAt("pixel"), 0xFF000000);
}

TEST(GraphicsModules, APolylineOfNoPointsIsAMemoryFault) {
    CallingModule module;
    module.Data("points: .long 1, 1, 2, 2");
    module.Call(SYS_POLYLINE, {kScreen, "points", "0", "0xFFFFFFFF"});
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.status, 1);
    ASSERT_EQ(run.Fatals().size(), 1U);
    EXPECT_EQ(run.Fatals()[0].rfind("Memory fault at 0x", 0), 0U);
}

TEST(GraphicsModules, AFramedRectangleOfOnePixelBlendsItFourTimes) {
    CallingModule module;
    module.Call(SYS_RECTANGLE, {kScreen, "5", "5", "1", "1", "0", "0x80FFFFFF"});
    module.Pixel(kScreen, 5, 5, "pixel");
    const HeadlessResult run = module.Run();
    // Colours 0 -> 128 -> 128+63 -> 128+95 -> 128+111; alpha 255 -> 64+127 -> 64+95 -> 64+79 ->
    // 64+71.
    EXPECT_EQ(run.LongAt("pixel"), 0x87EFEFEF);
}

TEST(GraphicsModules, AnEllipseWithoutWidthDrawsAVerticalLineInTheOutlineColourAsItStands) {
    CallingModule module;
    module.Call(SYS_ELLIPSE, {kScreen, "10", "10", "0", "6", "0", "0xFF0000FF"});
    module.Pixel(kScreen, 10, 10, "top");
    module.Pixel(kScreen, 10, 16, "bottom");
    module.Pixel(kScreen, 10, 17, "below");
    module.Pixel(kScreen, 11, 13, "beside");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("top"), 0xFF0000FF);
    EXPECT_EQ(run.LongAt("bottom"), 0xFF0000FF);
    EXPECT_EQ(run.LongAt("below"), 0xFF000000);
    EXPECT_EQ(run.LongAt("beside"), 0xFF000000);
}

TEST(GraphicsModules, AnEllipseExchangesRedAndBlue) {
    CallingModule module;
    module.Call(SYS_ELLIPSE, {kScreen, "10", "10", "9", "9", "0xFF102030", "0xFF405060"});
    module.Pixel(kScreen, 14, 10, "outline");
    module.Pixel(kScreen, 14, 14, "inside");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("outline"), 0xFF605040);
    EXPECT_EQ(run.LongAt("inside"), 0xFF302010);
}

TEST(GraphicsModules, AClipStartingBeyondTheWidthStartsAtItAndIsEmpty) {
    CallingModule module;
    module.Data("old: .space 16");
    module.Data("info: .space 24");
    module.Call(SYS_NEW_BITMAP, {"20", "10"}, "bitmap");
    module.Call(SYS_SET_CLIP, {"@bitmap", "25", "3", "5", "100", "old"});
    module.Call(SYS_BITMAP_INFO, {"@bitmap", "info"});
    const HeadlessResult run = module.Run();
    const u32 old = run.Label("old");
    EXPECT_EQ(run.Long(old), 0U);
    EXPECT_EQ(run.Long(old + 8), 20U);
    EXPECT_EQ(run.Long(old + 12), 10U);
    const u32 info = run.Label("info");
    EXPECT_EQ(run.Long(info), 20U);
    EXPECT_EQ(run.Long(info + 4), 10U);
    EXPECT_EQ(run.Long(info + 8), 20U);
    EXPECT_EQ(run.Long(info + 12), 3U);
    EXPECT_EQ(run.Long(info + 16), 0U);
    EXPECT_EQ(run.Long(info + 20), 7U);
}

TEST(GraphicsModules, ThePixelLeftOfTheBitmapIs0) {
    CallingModule module;
    module.Pixel(kScreen, -1, 0, "pixel");
    EXPECT_EQ(module.Run().LongAt("pixel"), 0U);
}

// --- The command table

TEST(GraphicsModules, SubCommand20IsReportedAndLeavesTheResultAlone) {
    CallingModule module;
    module.Code("MOVE.Q R14, #0x1122334455667788");
    const u32 call = module.Call(0x0514);
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.status, 0);
    ASSERT_EQ(run.Fatals().size(), 1U);
    EXPECT_EQ(run.Fatals()[0].rfind("Unknown SYS command at 0x", 0), 0U);
    EXPECT_EQ(module.QuadOf(call), 0x112233445A5A5A5AU);
}

TEST(GraphicsModules, SavingInAnotherFormatGives0AndWritesNoFile) {
    CallingModule module;
    module.Data("name: .asciz \"picture\"");
    module.Call(SYS_SAVE_IMAGE, {kScreen, "name", "2"}, "result");
    module.Code("MOVE.L [again], R14");
    module.Data("again: .long 1");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("result"), 0U);
    EXPECT_EQ(run.LongAt("again"), 0U);
    EXPECT_FALSE(run.data.contains("picture"));
}

TEST(GraphicsModules, SetAlphaStoresItsCountInAllOfTheResult) {
    CallingModule module;
    module.Call(SYS_RECTANGLE, {kScreen, "0", "0", "3", "2", "0xFF00FF00", "0"});
    module.Code("MOVE.Q R14, #-1");
    module.Call(SYS_SET_ALPHA, {kScreen, "0", "0", "3", "2", "0xFFFFFFFF", "0xFFFFFFFF", "0x180"});
    module.Code("MOVE.Q [count], R14");
    module.Data("count: .quad 0");
    module.Pixel(kScreen, 0, 0, "pixel");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.Quad(run.Label("count")), 6U);
    EXPECT_EQ(run.LongAt("pixel"), 0x8000FF00);
}

// --- Blits

TEST(GraphicsModules, AlphaOfABlitAddsUpTo255) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"1", "1"}, "source");
    module.Call(SYS_NEW_BITMAP, {"2", "1"}, "target");
    for (const char* bitmap : {"@source", "@target"}) {
        module.Call(SYS_RECTANGLE, {bitmap, "0", "0", "2", "1", "0xFF000000", "0"});
    }
    const std::string all = "0xFFFFFFFF";
    module.Call(SYS_SET_ALPHA, {"@source", "0", "0", "1", "1", all, all, "128"});
    module.Call(SYS_SET_ALPHA, {"@target", "0", "0", "1", "1", all, all, "200"});
    module.Call(SYS_SET_ALPHA, {"@target", "1", "0", "1", "1", all, all, "100"});
    module.Call(SYS_BLIT, {"@target", "0", "0", "@source", "0", "0", "1", "1", "0", "2", "0"});
    module.Pixel("@target", 0, 0, "left");
    module.Pixel("@target", 1, 0, "right");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("left") >> 24, 255U);
    EXPECT_EQ(run.LongAt("right") >> 24, 228U);
}

TEST(GraphicsModules, ARightLimitOfTwoWidthsAndThreeCutsTheThirdCopyToThreePixels) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"5", "1"}, "source");
    for (int x = 0; x < 5; ++x) {
        module.Call(SYS_RECTANGLE, {"@source", std::to_string(x), "0", "1", "1",
                                    std::to_string(0xFF000001 + static_cast<u32>(x)), "0"});
    }
    module.Call(SYS_BLIT, {kScreen, "10", "0", "@source", "0", "0", "5", "1", "0", "23", "0"});
    for (int x = 10; x < 24; ++x) {
        module.Pixel(kScreen, x, 0, "pixel" + std::to_string(x));
    }
    module.Pixel(kScreen, 10, 1, "below");
    const HeadlessResult run = module.Run();
    for (int x = 10; x < 23; ++x) {
        EXPECT_EQ(run.LongAt("pixel" + std::to_string(x)),
                  0xFF000001 + static_cast<u32>((x - 10) % 5));
    }
    EXPECT_EQ(run.LongAt("pixel23"), 0xFF000000);
    EXPECT_EQ(run.LongAt("below"), 0xFF000000);
}

TEST(GraphicsModules, AnInvertedBlitInvertsTheColourAndMakesOneCopyInEachRowOfCopies) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"2", "1"}, "source");
    module.Call(SYS_RECTANGLE, {"@source", "0", "0", "2", "1", "0xFF102030", "0"});
    module.Call(SYS_BLIT, {kScreen, "0", "0", "@source", "0", "0", "2", "1", "1", "0", "2"});
    module.Pixel(kScreen, 1, 1, "second");
    module.Pixel(kScreen, 2, 0, "beside");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("second"), 0xFFEFDFCF);
    EXPECT_EQ(run.LongAt("beside"), 0xFF000000);
}

TEST(GraphicsModules, ScalingAUniformBitmapGivesItsColourEverywhere) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"4", "4"}, "source");
    module.Call(SYS_RECTANGLE, {"@source", "0", "0", "4", "4", "0xFF7B2D43", "0"});
    module.Call(SYS_SCALED_BLIT,
                {kScreen, "8", "8", "3", "3", "@source", "0", "0", "4", "4", "0", "0"});
    for (int i = 0; i < 9; ++i) {
        module.Pixel(kScreen, 8 + i % 3, 8 + i / 3, "pixel" + std::to_string(i));
    }
    module.Pixel(kScreen, 11, 8, "beside");
    const HeadlessResult run = module.Run();
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(run.LongAt("pixel" + std::to_string(i)), 0xFF7B2D43);
    }
    EXPECT_EQ(run.LongAt("beside"), 0xFF000000);
}

TEST(GraphicsModules, ScalingTwoPixelsToOneAddsTruncatedHalves) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"2", "1"}, "source");
    module.Call(SYS_RECTANGLE, {"@source", "0", "0", "1", "1", "0xFF000065", "0"});
    module.Call(SYS_RECTANGLE, {"@source", "1", "0", "1", "1", "0xFF000033", "0"});
    module.Call(SYS_SCALED_BLIT,
                {kScreen, "0", "0", "1", "1", "@source", "0", "0", "2", "1", "0", "0"});
    module.Pixel(kScreen, 0, 0, "pixel");
    // 101 / 2 = 50 and 51 / 2 = 25; the alpha is 255 in both and so stays, without truncation.
    EXPECT_EQ(module.Run().LongAt("pixel"), 0xFF00004B);
}

TEST(GraphicsModules, SetAlphaCountsNothingWhereTheAlphaIsAlreadyTheNewOne) {
    CallingModule module;
    module.Call(SYS_SET_ALPHA, {kScreen, "0", "0", "9", "9", "0xFFFFFFFF", "0xFFFFFFFF", "255"},
                "count");
    module.Code("MOVE.L [again], R14");
    module.Data("again: .long 1");
    EXPECT_EQ(module.Run().LongAt("again"), 0U);
}

TEST(GraphicsModules, SetAlphaIsNotShortenedByWhatTheClipCutsOffOnTheLeft) {
    CallingModule module;
    module.Call(SYS_SET_CLIP, {kScreen, "20", "0", "15", "5", "0"});
    module.Call(SYS_SET_ALPHA, {kScreen, "15", "0", "10", "1", "0xFFFFFFFF", "0xFFFFFFFF", "9"},
                "count");
    module.Call(SYS_SET_ALPHA, {kScreen, "28", "1", "10", "1", "0xFFFFFFFF", "0xFFFFFFFF", "9"},
                "cut");
    module.Pixel(kScreen, 19, 0, "before");
    module.Pixel(kScreen, 20, 0, "first");
    module.Pixel(kScreen, 29, 0, "last");
    module.Pixel(kScreen, 30, 0, "after");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("count"), 10U);
    EXPECT_EQ(run.LongAt("cut"), 7U);
    EXPECT_EQ(run.LongAt("before"), 0xFF000000);
    EXPECT_EQ(run.LongAt("first"), 0x09000000U);
    EXPECT_EQ(run.LongAt("last"), 0x09000000U);
    EXPECT_EQ(run.LongAt("after"), 0xFF000000);
}

TEST(GraphicsModules, SetAlphaWritesAKeyColourWithRedAndBlueExchanged) {
    CallingModule module;
    module.Call(SYS_RECTANGLE, {kScreen, "0", "0", "2", "1", "0xFF0000F0", "0"});
    module.Call(SYS_SET_ALPHA, {kScreen, "0", "0", "9", "9", "0x000000F0", "0", "7"}, "count");
    module.Pixel(kScreen, 1, 0, "pixel");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("count"), 2U);
    EXPECT_EQ(run.LongAt("pixel"), 0x07F00000U);
}

TEST(GraphicsModules, ASourceBeyondTheScreenIsTransparentAndOneBeyondTheImageAFault) {
    CallingModule module;
    module.Call(SYS_NEW_BITMAP, {"2", "1"}, "bitmap");
    module.Call(SYS_RECTANGLE, {"@bitmap", "0", "0", "2", "1", "0xFF0000F0", "0"});
    module.Call(SYS_BLIT, {"@bitmap", "0", "0", kScreen, "1919", "0", "2", "1", "0", "0", "0"});
    module.Pixel("@bitmap", 0, 0, "left");
    module.Pixel("@bitmap", 1, 0, "right");
    // Cut by the clip, the rest of a huge source is not needed.
    module.Call(SYS_BLIT,
                {"@bitmap", "1", "0", "@bitmap", "0", "0", "90000000", "1", "0", "0", "0"});
    module.Data("reached: .long 0");
    module.Code("MOVE.L [reached], #1");
    module.Call(SYS_BLIT, {kScreen, "0", "0", "@bitmap", "90000000", "0", "1", "1", "0", "0", "0"});
    module.Code("MOVE.L [reached], #2");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.LongAt("left"), 0xFF000000);
    EXPECT_EQ(run.LongAt("right"), 0xFF0000F0);
    EXPECT_EQ(run.LongAt("reached"), 1U);
}

// --- Colours

TEST(GraphicsModules, RgbToHsvOfPureBlueAndOfGrey) {
    CallingModule module;
    module.Call(SYS_RGB_TO_HSV, {"0x00FF0000"}, "blue");
    module.Call(SYS_RGB_TO_HSV, {"0xFF808080"}, "grey");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("blue"), 0x00FFFFA8U);
    EXPECT_EQ(run.LongAt("grey"), 0xFF800000);
}

TEST(GraphicsModules, HsvToRgbOfAHueOf252IsBlackWithItsAlpha) {
    CallingModule module;
    module.Call(SYS_HSV_TO_RGB, {"0x7FFFFFFC"}, "beyond");
    module.Call(SYS_HSV_TO_RGB, {"0x7FFFFF00"}, "red");
    module.Call(SYS_HSV_TO_RGB, {"0x40FFFFA8"}, "blue");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("beyond"), 0x7F000000U);
    EXPECT_EQ(run.LongAt("red"), 0x7F0000FFU);
    EXPECT_EQ(run.LongAt("blue"), 0x40FF0000U);
}

TEST(GraphicsModules, AdjustingColoursWithEverythingKeptMovesThemBetweenRedAndBlue) {
    CallingModule module;
    module.Call(SYS_RECTANGLE, {kScreen, "0", "0", "1", "1", "0xFFFF0000", "0"});
    module.Call(SYS_RECTANGLE, {kScreen, "1", "0", "1", "1", "0xFF0000FF", "0"});
    module.Call(SYS_RECTANGLE, {kScreen, "2", "0", "1", "1", "0xFF5A5A5A", "0"});
    module.Call(SYS_ADJUST_COLOURS, {kScreen, "0", "0", "3", "1", kKeep, kKeep, "0", "0"});
    module.Pixel(kScreen, 0, 0, "blue");
    module.Pixel(kScreen, 1, 0, "red");
    module.Pixel(kScreen, 2, 0, "grey");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("blue"), 0xFF0000FF);  // bytes 0, 0, 255 become 255, 0, 0
    EXPECT_EQ(run.LongAt("red"), 0xFFFF0011);   // bytes 255, 0, 0 become 17, 0, 255
    EXPECT_EQ(run.LongAt("grey"), 0xFF5A5A5A);
}

TEST(GraphicsModules, AHueSquareWithNegativeHeightHasItsFullValueInTheTopRow) {
    CallingModule module;
    module.Call(SYS_HUE_SQUARE, {kScreen, "0", "0", "4", "-4", "0"});
    module.Call(SYS_HUE_SQUARE, {kScreen, "10", "0", "4", "4", "0"});
    module.Call(SYS_HUE_SQUARE, {kScreen, "20", "0", "1", "1", "0"});
    module.Pixel(kScreen, 0, 0, "top");
    module.Pixel(kScreen, 0, 3, "bottom");
    module.Pixel(kScreen, 13, 3, "saturated");
    module.Pixel(kScreen, 20, 0, "single");
    const HeadlessResult run = module.Run();
    EXPECT_EQ(run.LongAt("top"), 0xFFFFFFFF);
    EXPECT_EQ(run.LongAt("bottom"), 0xFF000000);
    // 167 / 42 is sixth 3 with f = 41 / 42: bytes V, Q, P with Q = trunc((1 - 41/42) * 255) = 6.
    EXPECT_EQ(run.LongAt("saturated"), 0xFF0006FF);
    EXPECT_EQ(run.LongAt("single"), 0xFF000000);
}

// --- What the view shows

std::vector<u8> DecodeRgb(const std::string& png, u32& width) {
    spng_ctx* const context = spng_ctx_new(0);
    spng_set_png_buffer(context, png.data(), png.size());
    spng_ihdr header = {};
    spng_get_ihdr(context, &header);
    size_t size = 0;
    spng_decoded_image_size(context, SPNG_FMT_RGB8, &size);
    std::vector<u8> pixels(size);
    spng_decode_image(context, pixels.data(), size, SPNG_FMT_RGB8, 0);
    spng_ctx_free(context);
    width = header.width;
    return pixels;
}

TEST(GraphicsModules, ALineToTheUpperLeftRedrawsTheRectangleWithoutItsFarEnd) {
    // From (10, 10) to (6, 4): the dirty rectangle is left 6, top 4, right 10, bottom 10, so the
    // line's first pixel is drawn but not shown.
    CallingModule module;
    module.Data("points: .long 10, 10, 6, 4");
    module.Call(SYS_POLYLINE, {kScreen, "points", "2", "0xFFFFFFFF"});
    module.Pixel(kScreen, 10, 10, "first");
    const TemporaryFolder folder;
    HeadlessRun run;
    run.source = module.Source(12);
    run.script = "100 key-down 00 \"a\"\n";
    run.options = {"--dump-view", folder.path + "/view.png", "--run-ms", "500"};
    const HeadlessResult result = RunHeadless(run);
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(result.LongAt("first"), 0xFFFFFFFF);
    u32 width = 0;
    const std::vector<u8> view = DecodeRgb(ReadTextFile(folder.path + "/view.png"), width);
    const auto red = [&](u32 x, u32 y) { return view.at(3 * (std::size_t{y} * width + x)); };
    EXPECT_EQ(red(6, 4), 255);
    EXPECT_EQ(red(10, 10), 0);
}

}  // namespace

}  // namespace moxi
