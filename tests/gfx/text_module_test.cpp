// Draw Text and the image files as a module uses them, in the real program.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/calling_module.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace {

constexpr const char* kWrap = "0x40000000";
constexpr const char* kCut = "0x20000000";
constexpr const char* kCourier = "0x200000";
constexpr const char* kCourierWrap = "0x40200000";
constexpr const char* kCourierCut = "0x20200000";
constexpr const char* kMeasure = "0x80000000";
constexpr const char* kRed = "0xFF0000FF";
constexpr const char* kGreen = "0xFF00FF00";

struct TextBox {
    std::string x = "10", y = "20", width = "400", height = "20";
    std::string flags = "0";
    std::string background = kRed;
    std::string destination = "0";
};

u32 AddText(CallingModule& module, const std::string& text, const TextBox& box) {
    return module.Call(SYS_DRAW_TEXT, {box.destination, module.Text(text), box.x, box.y, box.width,
                                       box.height, box.flags, box.background, kGreen});
}

class ModuleRun {
  public:
    explicit ModuleRun(const CallingModule& module, HeadlessRun run = {}) {
        run.source = module.Source();
        run.options = {"--run-ms", "0"};
        result = RunHeadless(run);
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(result.Fatals().empty());
    }
    u32 Of(u32 command) const { return result.LongAt(CallingModule::ResultLabel(command)); }
    HeadlessResult result;
};

u32 WidthOf(u32 result) {
    return result >> 16;
}
u32 BytesOf(u32 result) {
    return result & 0xFFFF;
}

TEST(TextModule, AWordWrappedLineOfFiveCharactersOfWhichFourFitUsesTwoBytes) {
    CallingModule module;
    // Courier: all characters are as wide as each other.
    const u32 one = AddText(module, "a", {.flags = kCourier});
    const u32 four = AddText(module, "ab c", {.flags = kCourier});
    ModuleRun measured(module);
    const u32 width = WidthOf(measured.Of(four));
    EXPECT_NEAR(width, WidthOf(measured.Of(one)) * 4, 4);

    CallingModule again;
    const u32 three = AddText(again, "ab ", {.flags = kCourier});
    const u32 wrapped =
        AddText(again, "ab cd", {.width = std::to_string(width + 1), .flags = kCourierWrap});
    ModuleRun run(again);
    EXPECT_EQ(BytesOf(run.Of(wrapped)), 2U);
    EXPECT_EQ(WidthOf(run.Of(wrapped)), WidthOf(run.Of(three)));
}

TEST(TextModule, WordWrapWithoutASpaceDrawsOnlyTheFirstCharacterAndReports0Bytes) {
    CallingModule module;
    const u32 first = AddText(module, "W", {});
    const u32 wrapped = AddText(module, "WWWWWWWW", {.width = "60", .flags = kWrap});
    ModuleRun run(module);
    EXPECT_EQ(BytesOf(run.Of(wrapped)), 0U);
    EXPECT_EQ(WidthOf(run.Of(wrapped)), WidthOf(run.Of(first)));
}

TEST(TextModule, MeasureOnlyReturnsWidthAndBytesWithoutTouchingTheDestination) {
    CallingModule module;
    const u32 measured = AddText(module, "Some text", {.flags = kMeasure});
    const u32 untouched = module.Call(SYS_GET_PIXEL, {"0", "10", "20"});
    const u32 drawn = AddText(module, "Some text", {});
    const u32 touched = module.Call(SYS_GET_PIXEL, {"0", "10", "20"});
    ModuleRun run(module);
    EXPECT_EQ(run.Of(measured), run.Of(drawn));
    EXPECT_EQ(BytesOf(run.Of(measured)), 9U);
    EXPECT_EQ(run.Of(untouched), 0xFF000000);
    EXPECT_EQ(run.Of(touched), 0xFF0000FF);
}

TEST(TextModule, ATextOfMultiByteCharactersReturnsTheByteCount) {
    CallingModule module;
    const u32 german = AddText(module, "\xC3\xA4\xC3\xB6\xC3\xBC", {});
    const u32 euro = AddText(module, "\xE2\x82\xAC", {});
    const u32 cut = AddText(module, "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4",
                            {.width = "40", .flags = kCourierCut});
    ModuleRun run(module);
    EXPECT_EQ(BytesOf(run.Of(german)), 6U);
    EXPECT_EQ(BytesOf(run.Of(euro)), 3U);
    EXPECT_EQ(BytesOf(run.Of(cut)) % 2, 0U);
    EXPECT_GT(BytesOf(run.Of(cut)), 0U);
    EXPECT_LT(BytesOf(run.Of(cut)), 12U);
}

TEST(TextModule, The101stDistinctPairEvictsAFontAndEveryTextComesOutAsBefore) {
    CallingModule module;
    std::vector<u32> first;
    std::vector<u32> second;
    for (u32 height = 10; height < 120; height += 1) {
        first.push_back(AddText(module, "Font", {.height = std::to_string(height)}));
    }
    for (u32 height = 10; height < 120; height += 1) {
        second.push_back(AddText(module, "Font", {.height = std::to_string(height)}));
    }
    ModuleRun run(module);
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(run.Of(first[i]), run.Of(second[i]));
        if (i > 0) {
            EXPECT_GE(run.Of(first[i]), run.Of(first[i - 1]));
        }
    }
}

TEST(TextModule, EmptyAndBrokenTextsGive0) {
    CallingModule module;
    const u32 before = AddText(module, "x", {});
    const u32 results[] = {
        AddText(module, "", {}),
        AddText(module, "a\xFF", {}),
        AddText(module, "text", {.width = "0"}),
        AddText(module, "text", {.height = "0"}),
        AddText(module, "text", {.width = "1", .flags = kCut}),
        AddText(module, " text", {.width = "20", .flags = kWrap}),
    };
    ModuleRun run(module);
    EXPECT_NE(run.Of(before), 0U);
    for (const u32 result : results) {
        EXPECT_EQ(run.Of(result), 0U);
    }
}

TEST(TextModule, ATextInAModuleBitmapIsOpaqueWhereItLies) {
    CallingModule module;
    const u32 bitmap = module.Call(SYS_NEW_BITMAP, {"100", "40"});
    const std::string handle = CallingModule::Result(bitmap);
    AddText(module, "Ag", {.x = "5", .y = "5", .background = "0x00804020", .destination = handle});
    const u32 inside = module.Call(SYS_GET_PIXEL, {handle, "5", "5"});
    const u32 outside = module.Call(SYS_GET_PIXEL, {handle, "4", "5"});
    ModuleRun run(module);
    EXPECT_EQ(run.Of(inside), 0xFF804020);
    EXPECT_EQ(run.Of(outside), 0U);
}

TEST(TextModule, ATextThatRunsOutOfTheImageIsAMemoryFault) {
    CallingModule module;
    module.Call(SYS_DRAW_TEXT, {"0", "0x7FFFFFFF", "0", "0", "100", "20", "0", kRed, kGreen});
    HeadlessRun run;
    run.source = module.Source();
    EXPECT_EQ(RunHeadless(run).status, 1);
}

// --- Image files

std::string OnePixelBmp(u32 bits, u32 compression) {
    std::string bytes = "BM";
    const auto add = [&](u32 value, u32 count) {
        for (u32 i = 0; i < count; ++i) {
            bytes += static_cast<char>(value >> (8 * i));
        }
    };
    for (const u32 word : {58U, 0U, 54U, 40U, 1U, 1U}) {
        add(word, 4);
    }
    add(1, 2);
    add(bits, 2);
    add(compression, 4);
    for (int i = 0; i < 5; ++i) {
        add(0, 4);
    }
    return bytes + "\x0A\x14\x1E\x28";
}

TEST(ImageModule, FilesThatAreNoPicturesLoadAs0) {
    CallingModule module;
    const u32 results[] = {
        module.Call(SYS_LOAD_IMAGE, {module.Text("SHORT")}),
        module.Call(SYS_LOAD_IMAGE, {module.Text("NEITHER")}),
        module.Call(SYS_LOAD_IMAGE, {module.Text("BITS16")}),
        module.Call(SYS_LOAD_IMAGE, {module.Text("RLE")}),
        module.Call(SYS_LOAD_IMAGE, {module.Text("MISSING")}),
    };
    const u32 good = module.Call(SYS_LOAD_IMAGE, {module.Text("PICTURES/GOOD")});
    const u32 pixel = module.Call(SYS_GET_PIXEL, {CallingModule::Result(good), "0", "0"});
    HeadlessRun files;
    files.resources = {{"SHORT", std::string("BM") + std::string(17, 'x')},
                       {"NEITHER", std::string(100, 'x')},
                       {"BITS16", OnePixelBmp(16, 0)},
                       {"RLE", OnePixelBmp(24, 1)},
                       {"PICTURES/GOOD", OnePixelBmp(32, 0)}};
    ModuleRun run(module, files);
    for (const u32 result : results) {
        EXPECT_EQ(run.Of(result), 0U);
    }
    EXPECT_NE(run.Of(good), 0U);
    EXPECT_EQ(run.Of(pixel), 0x280A141E);
}

TEST(ImageModule, A24BitBmpOfWidth3UsesAFileRowStrideOf12Bytes) {
    std::string file = OnePixelBmp(24, 0).substr(0, 54);
    file[2] = 78;
    file[18] = 3;
    file[22] = 2;
    file += std::string("\x01\x02\x03\x04\x05\x06\x07\x08\x09zzz", 12);
    file += std::string("\x11\x12\x13\x14\x15\x16\x17\x18\x19zzz", 12);
    CallingModule module;
    const u32 bitmap = module.Call(SYS_LOAD_IMAGE, {module.Text("A.BMP")});
    const std::string handle = CallingModule::Result(bitmap);
    const u32 top = module.Call(SYS_GET_PIXEL, {handle, "0", "0"});
    const u32 bottom = module.Call(SYS_GET_PIXEL, {handle, "2", "1"});
    const std::string info = module.Room(24);
    module.Call(SYS_BITMAP_INFO, {handle, info});
    HeadlessRun files;
    files.data = {{"A.BMP", file}};
    ModuleRun run(module, files);
    EXPECT_EQ(run.Of(top), 0xFF111213);
    EXPECT_EQ(run.Of(bottom), 0xFF070809);
    EXPECT_EQ(run.result.LongAt(info), 3U);
    EXPECT_EQ(run.result.Long(run.result.Label(info) + 4), 2U);
}

TEST(ImageModule, SaveWithFormat2Returns0WithoutTouchingTheFileSystem) {
    CallingModule module;
    const u32 saved = module.Call(SYS_SAVE_IMAGE, {"0", module.Text("A"), "2"});
    ModuleRun run(module);
    EXPECT_EQ(run.Of(saved), 0U);
    EXPECT_TRUE(run.result.data.empty());
}

TEST(ImageModule, RedSavedAsPngIsBlueWhenItIsLoadedAgain) {
    CallingModule module;
    const u32 bitmap = module.Call(SYS_NEW_BITMAP, {"1", "1"});
    const std::string handle = CallingModule::Result(bitmap);
    module.Call(SYS_BLEND_PIXEL, {handle, "0", "0", kRed});
    const u32 saved = module.Call(SYS_SAVE_IMAGE, {handle, module.Text("SHOTS/A.PNG"), "1"});
    const u32 kept = module.Call(SYS_GET_PIXEL, {handle, "0", "0"});
    const u32 loaded = module.Call(SYS_LOAD_IMAGE, {module.Text("SHOTS/A.PNG")});
    const u32 pixel = module.Call(SYS_GET_PIXEL, {CallingModule::Result(loaded), "0", "0"});
    const u32 savedBmp = module.Call(SYS_SAVE_IMAGE, {handle, module.Text("A.BMP"), "0"});
    const u32 loadedBmp = module.Call(SYS_LOAD_IMAGE, {module.Text("A.BMP")});
    const u32 pixelBmp = module.Call(SYS_GET_PIXEL, {CallingModule::Result(loadedBmp), "0", "0"});
    ModuleRun run(module);
    EXPECT_EQ(run.Of(saved), 1U);
    EXPECT_EQ(run.Of(kept), 0xFF0000FF);
    EXPECT_EQ(run.Of(pixel), 0xFFFF0000);
    EXPECT_EQ(run.Of(savedBmp), 1U);
    EXPECT_EQ(run.Of(pixelBmp), 0xFF0000FF);
    EXPECT_EQ(run.result.data.count("SHOTS/A.PNG"), 1U);
    EXPECT_EQ(run.result.data.at("A.BMP").size(), 58U);
}

}  // namespace

}  // namespace moxi
