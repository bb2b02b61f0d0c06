// The figures of docs/file-formats.md, in files that the programs have written.

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "tests/support/headless_run.h"

namespace moxi {

namespace {

u32 LongOf(const std::string& bytes, size_t offset) {
    u32 value = 0;
    if (offset + 4 <= bytes.size()) {
        std::memcpy(&value, bytes.data() + offset, 4);
    }
    return value;
}

// Whether the page has this line.
bool PageHas(const std::string& line) {
    const std::string page = ReadTextFile(MOXI_SOURCE_DIR "/docs/file-formats.md");
    return page.find("\n" + line + "\n") != std::string::npos;
}

constexpr const char* kModule =
    "        .stack 4096\n"
    "        .heap 70000\n"
    "        .version 5, 9\n"
    "start:  LINK 0, 0\n"
    "        MOVE.L R1, #5\n"
    "        CMP.L R1, #5\n"
    "        BEQ next\n"
    "next:   RETURN 0\n"
    "        .data\n"
    "        .long 1, 2\n"
    "        .bss\n"
    "room:   .space 24\n";

TEST(FileFormats, TheHeaderOfAModuleIsAsThePageHasIt) {
    const AssembleResult module = Assemble(kModule, "test.mxs");
    ASSERT_TRUE(module.ok);
    const std::string bytes(module.bytes.begin(), module.bytes.end());
    EXPECT_EQ(bytes.substr(208, 4), "MOXI");
    EXPECT_EQ(bytes.substr(212, 2), std::string("6\0", 2));
    EXPECT_EQ(bytes[218], 5);
    EXPECT_EQ(bytes[219], 9);
    // Five instructions of 4 bytes but one of 4 with a quick value: 512 + 20, up to 8, and 8 of
    // data.
    EXPECT_EQ(LongOf(bytes, 224), 544u);
    EXPECT_EQ(LongOf(bytes, 232), 24u);
    EXPECT_EQ(LongOf(bytes, 240), 4096u);
    EXPECT_EQ(LongOf(bytes, 248), 70000u);
    EXPECT_EQ(bytes.size(), 544u);

    HeadlessRun run;
    run.source = kModule;
    run.options = {"--run-ms", "10"};
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.Long(144), 544u + 24 + 4096) << "stack top";
    EXPECT_EQ(result.Long(152), 544u + 24) << "stack limit";
    EXPECT_EQ(std::string(result.image.begin() + 195, result.image.begin() + 200),
              std::string("\0\6\2\1\0", 5));
    EXPECT_EQ(result.image.size(), 544u + 24 + 4096 + 70000);
}

TEST(FileFormats, TheTraceIsAsThePageHasIt) {
    const TemporaryFolder folder;
    HeadlessRun run;
    run.source = kModule;
    run.options = {"--run-ms", "10", "--trace", folder.path + "/trace"};
    RunHeadless(run);
    const std::string trace = ReadTextFile(folder.path + "/trace");
    EXPECT_TRUE(PageHas("    00000204  MOVE.L   R1, #5                          ; R1=0x5"));
    EXPECT_NE(trace.find("\n00000204  MOVE.L   R1, #5                          ; R1=0x5\n"),
              std::string::npos);
    EXPECT_NE(trace.find("\n00000208  CMP.L    R1, #5                          ; flags=Z\n"),
              std::string::npos);
    EXPECT_NE(trace.find("\n0000020C  BEQ      0x210\n"), std::string::npos);
}

TEST(FileFormats, TheSymbolFileIsAsThePageHasIt) {
    const AssembleResult module = Assemble(
        "EVERYTHING = -1\nstart:  NOP\n NOP\n NOP\n NOP\n NOP\n NOP\n@done: RETURN 0\n"
        "        .bss\nticks: .space 4\n",
        "test.mxs");
    ASSERT_TRUE(module.ok);
    std::istringstream lines(FormatSymbols(module));
    u32 count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        EXPECT_TRUE(PageHas("    " + line)) << line;
    }
    EXPECT_EQ(count, 4u);
}

// A module that saves a bitmap of 3 x 2, a setting, and frees what it does not have.
TEST(FileFormats, PicturesSettingsAndTheLogAreAsThePageHasThem) {
    HeadlessRun run;
    run.source =
        "        .heap 70000\n"
        "        .include \"moxi.inc\"\n"
        "start:  LINK 0, 0\n"
        "        CMP.L [FP+12], #MSG_START1\n"
        "        BEQ @first\n"
        "        RETURN 0\n"
        "@first: NEW_BITMAP #3, #2\n"
        "        MOVE.L R6, R14\n"
        "        RECTANGLE R6, #0, #0, #3, #2, #0xFF112233\n"
        "        RECTANGLE R6, #0, #1, #1, #1, #0xFF445566\n"
        "        SAVE_IMAGE R6, #bmp, #IMAGE_BMP\n"
        "        SAVE_IMAGE R6, #png\n"
        "        SETTINGS_LOAD #ini\n"
        "        SETTINGS_ADD_SECTION #s\n"
        "        SETTINGS_APPEND_NUMBER #k, #5\n"
        "        SETTINGS_SAVE #ini\n"
        "        FREE #70000\n"
        "        STOP\n"
        "        .include \"moxi_code.inc\"\n"
        "        .data\n"
        "bmp:    .asciz \"1.BMP\"\n"
        "png:    .asciz \"1.PNG\"\n"
        "ini:    .asciz \"1.INI\"\n"
        "s:      .asciz \"S\"\n"
        "k:      .asciz \"K\"\n";
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.Fatals(), std::vector<std::string>{"FreeHeap() failed"});

    const std::string& bmp = result.data.at("1.BMP");
    EXPECT_EQ(bmp.size(), 54u + 3 * 2 * 4);
    EXPECT_EQ(bmp.substr(0, 2), "BM");
    const std::vector<std::pair<size_t, u32>> fields = {
        {2, 78}, {6, 0},   {10, 54},   {14, 40},   {18, 3}, {22, 2}, {26, 1 | 32 << 16},
        {30, 0}, {34, 24}, {38, 2947}, {42, 2947}, {46, 0}, {50, 0}};
    for (const auto& [offset, value] : fields) {
        EXPECT_EQ(LongOf(bmp, offset), value) << offset;
    }
    EXPECT_EQ(bmp.substr(54, 8), "\x44\x55\x66\xFF\x11\x22\x33\xFF")
        << "the bottom row, blue first";

    // Signature, header chunk, width and height big-endian, 8 bits, RGBA, no interlace.
    EXPECT_EQ(result.data.at("1.PNG").substr(12, 17),
              std::string("IHDR\0\0\0\3\0\0\0\2\x08\x06\0\0\0", 17));

    EXPECT_EQ(result.data.at("1.INI"), "[0x923F7DEB=S]\nK= 5\n");
    EXPECT_TRUE(PageHas("    [0x923F7DEB=S]\n    K= 5"));
    EXPECT_EQ(result.data.at("debug.log"),
              "====== FreeHeap(70000) FAILED! HPCNT=65536 PC=0x00000000\n");
    EXPECT_TRUE(PageHas("    ====== FreeHeap(70000) FAILED! HPCNT=65536 PC=0x00000000"));
}

}  // namespace

}  // namespace moxi
