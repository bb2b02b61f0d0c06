// Modules as text: code told from data, names, and sources that assemble to the identical file.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <sstream>

#include "tests/tools/encoding_rows.h"
#include "tools/asm/assembler.h"
#include "tools/dis/disassembler.h"
#include "tools/module_file.h"

namespace moxi {

namespace {

using Bytes = std::vector<u8>;

Bytes AssembledBytes(const std::string& source) {
    const AssembleResult result = Assemble(source, "t.mxs");
    EXPECT_TRUE(result.ok) << FormatErrors(result);
    return result.bytes;
}

ModuleFile Parsed(const Bytes& bytes) {
    ModuleFile module;
    EXPECT_EQ(ParseModule(bytes, module), "");
    return module;
}

std::string RawSource(const Bytes& bytes) {
    std::ostringstream out;
    WriteRawSource(Parsed(bytes), out);
    return out.str();
}

std::string ListingOf(const Bytes& bytes, const std::string& symbols = "") {
    SymbolNames names;
    EXPECT_EQ(ParseSymbolFile(symbols, names), "");
    std::ostringstream out;
    WriteModuleListing(Parsed(bytes), names, out);
    return out.str();
}

void ExpectRoundTrip(const Bytes& bytes) {
    const std::string source = RawSource(bytes);
    const AssembleResult result = Assemble(source, "raw.mxs");
    ASSERT_TRUE(result.ok) << FormatErrors(result);
    ASSERT_EQ(result.bytes.size(), bytes.size());
    EXPECT_TRUE(result.bytes == bytes);
}

void PutLong(Bytes& bytes, size_t at, u32 value) {
    std::memcpy(&bytes[at], &value, 4);
}

// A header that the loader accepts, for a file of `size` bytes.
Bytes PlainModule(size_t size) {
    Bytes bytes(size, 0);
    std::memcpy(&bytes[208], "MOXI6", 5);
    bytes[218] = 6;
    PutLong(bytes, 224, static_cast<u32>(size));
    return bytes;
}

// --- Broken files

std::string WhyBroken(const Bytes& bytes) {
    ModuleFile module;
    return ParseModule(bytes, module);
}

TEST(ModuleFile, BrokenFilesAreRefusedWithAReason) {
    EXPECT_EQ(WhyBroken({}), "too short for a module: it has 0 bytes, the header alone takes 512");
    EXPECT_EQ(WhyBroken(Bytes(511, 0)),
              "too short for a module: it has 511 bytes, the header alone takes 512");
    EXPECT_EQ(WhyBroken(Bytes(512, 0)), "not a MOXI 6 module");
    Bytes bytes = PlainModule(516);
    EXPECT_EQ(WhyBroken(bytes), "");
    bytes[213] = 1;
    EXPECT_EQ(WhyBroken(bytes), "not a MOXI 6 module");
    bytes[213] = 0;
    bytes[219] = 3;
    EXPECT_EQ(WhyBroken(bytes), "made for version 6.3, which is newer than 6.2");
    bytes[218] = 5;
    bytes[219] = 255;
    EXPECT_EQ(WhyBroken(bytes), "");
    PutLong(bytes, 224, 511);
    EXPECT_EQ(WhyBroken(bytes), "its loaded length of 511 bytes is shorter than the header");
    PutLong(bytes, 224, 517);
    EXPECT_EQ(WhyBroken(bytes), "cut short: it has 516 bytes, its header says 517");
}

// --- Round trips

TEST(RawSource, HeadersOfAllKindsComeBack) {
    ExpectRoundTrip(PlainModule(512));
    Bytes bytes = PlainModule(512);
    for (size_t i = 0; i < 512; ++i) {
        const bool fixed = (i >= 208 && i < 214) || i == 218 || i == 219 || (i >= 224 && i < 228);
        if (!fixed) {
            bytes[i] = static_cast<u8>(i * 7 + 1);
        }
    }
    ExpectRoundTrip(bytes);
    for (const u32 size : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        Bytes sizes = PlainModule(520);
        PutLong(sizes, 232, size);
        ExpectRoundTrip(sizes);
        PutLong(sizes, 240, size);
        ExpectRoundTrip(sizes);
        PutLong(sizes, 248, size);
        ExpectRoundTrip(sizes);
    }
}

TEST(RawSource, FilesLongerThanTheirLoadedLengthComeBack) {
    for (size_t size = 512; size < 560; ++size) {
        for (const size_t loaded : {size_t{512}, size_t{513}, size_t{530}, size}) {
            if (loaded > size) {
                continue;
            }
            Bytes bytes = PlainModule(size);
            PutLong(bytes, 224, static_cast<u32>(loaded));
            for (size_t i = 512; i < size; ++i) {
                bytes[i] = static_cast<u8>(i);
            }
            ExpectRoundTrip(bytes);
        }
    }
}

TEST(RawSource, EveryInstructionComesBackAsText) {
    Bytes bytes = PlainModule(512);
    const auto add = [&](const auto& rows) {
        for (const EncodingRow& row : rows) {
            for (const u32 word : row.words) {
                bytes.resize(bytes.size() + 4);
                PutLong(bytes, bytes.size() - 4, word);
            }
        }
    };
    add(kTwoOperandOperationsRows);
    add(kOperandFormsRows);
    add(kOneOperandOperationsRows);
    PutLong(bytes, 224, static_cast<u32>(bytes.size()));
    ExpectRoundTrip(bytes);
    const std::string source = RawSource(bytes);
    EXPECT_EQ(source.find(".long"), std::string::npos);
    EXPECT_NE(source.find("    FMUL.D   [FP+8], #0.1  ; "), std::string::npos);
}

TEST(RawSource, EveryPatternOfTheLowSixteenBitsComesBack) {
    for (u32 part = 0; part < 8; ++part) {
        Bytes bytes = PlainModule(512 + 4 * 65536);
        for (u32 w = 0; w < 65536; ++w) {
            const u32 high[] = {0,          0x00010000, 0x000F0000, 0x80000000,
                                0xFFFF0000, 0x00200000, 0x7FFF0000, 0x00050000};
            PutLong(bytes, 512 + 4 * w, w | high[part]);
        }
        ExpectRoundTrip(bytes);
    }
}

// Words that are often instructions, so that much of the image is followed as code.
u32 LikelyWord(std::mt19937& random, size_t size) {
    const auto bits = static_cast<u32>(random());
    constexpr u32 kSingles[] = {20,  44,  84,  116, 148, 244, 276, 340, 372, 404,
                                500, 532, 596, 628, 756, 788, 852, 884, 916, 1012};
    switch (random() % 6) {
        case 0: return bits;
        case 1: return (bits & ~1023u) | kSingles[random() % 20];
        case 2: return static_cast<u32>((512 + random() % (size - 500)) / 4) << 10 | (bits & 1023);
        case 3: return bits & 0xFFFF;
        case 4: return 28 | (bits & 0x000FFFE0);
        default: return static_cast<u32>(random() % size);
    }
}

TEST(RawSource, SeededRandomImagesComeBack) {
    std::mt19937 random(4711);
    for (int round = 0; round < 4000; ++round) {
        const size_t size = 512 + random() % (round % 10 == 0 ? 3000 : 120);
        Bytes bytes(size);
        const u32 density = static_cast<u32>(random() % 4);
        for (size_t i = 0; i < 512; ++i) {
            if (density == 3 || (density > 0 && random() % 50 == 0)) {
                bytes[i] = static_cast<u8>(random());
            }
        }
        std::memcpy(&bytes[208], "MOXI6", 6);
        bytes[218] = static_cast<u8>(random() % 7);
        if (bytes[218] == 6) {
            bytes[219] %= 3;
        }
        const bool whole = random() % 2 == 0;
        PutLong(bytes, 224, static_cast<u32>(whole ? size : 512 + random() % (size - 511)));
        for (size_t at = 512; at < size; at += 4) {
            const u32 word = LikelyWord(random, size);
            std::memcpy(&bytes[at], &word, std::min<size_t>(4, size - at));
        }
        ExpectRoundTrip(bytes);
        std::ostringstream out;
        WriteModuleListing(Parsed(bytes), {}, out);
        EXPECT_FALSE(out.str().empty());
        if (HasFailure()) {
            return;
        }
    }
}

TEST(RawSource, SeededRandomBytesComeBack) {
    std::mt19937 random(99);
    for (int round = 0; round < 3000; ++round) {
        Bytes bytes = PlainModule(512 + random() % 300);
        for (size_t i = 512; i < bytes.size(); ++i) {
            bytes[i] = static_cast<u8>(random());
        }
        ExpectRoundTrip(bytes);
        if (HasFailure()) {
            return;
        }
    }
}

TEST(RawSource, TextsAndRoomComeBack) {
    Bytes bytes = PlainModule(512);
    for (const char* text : {"Hello\n", "with \"quotes\" and \\", "tab\there", "; no comment"}) {
        bytes.insert(bytes.end(), text, text + std::strlen(text) + 1);
    }
    bytes.insert(bytes.end(), 5000, u8{'x'});
    bytes.insert(bytes.end(), 5001, u8{0});
    bytes.insert(bytes.end(), 17, u8{0xFF});
    for (int i = 0; i < 20000; ++i) {
        bytes.push_back(static_cast<u8>('a' + i % 26));
    }
    PutLong(bytes, 224, static_cast<u32>(bytes.size()));
    ExpectRoundTrip(bytes);
}

TEST(RawSource, AssembledProgramsComeBack) {
    ExpectRoundTrip(AssembledBytes(
        ".macro CASE n\n.long case\\n\n.endm\nstart: LINK 8, 2\n MOVE.L R0, [FP+12]\n"
        " LSL.L R0, #2\n JMP [R0+table]\ntable:\n.rept 2\n CASE \\+\n.endr\n"
        "case0: CALL f, 0\n RETURN 2\ncase1: LEA R1, [f]\n CALLR R1\n FADD.D R1, #1.5\n STOP\n"
        "f: LINK\n TBNE.W [FP+12], f\n RETURN\n.data\n.asciz \"text\"\n.double 2.5\n"
        ".bss\n.space 12345\n"));
}

// --- The listing

TEST(ModuleListing, CodeIsToldFromDataAndTargetsHaveNames) {
    const Bytes bytes = AssembledBytes(
        " BEQ l\n JMP over\n.asciz \"Hello, world\"\n.long 5\nover: CALL f, 4\n"
        " JMP [R2+table]\nl: STOP\ntable: .long l, over, 7\nf: LEA R15, [text]\n RETURN\n"
        ".data\ntext: .asciz \"some text\"\n");
    EXPECT_EQ(ListingOf(bytes),
              "; module version 6.2\n"
              "; header         00000000  512 bytes\n"
              "; code and data  00000200  82 bytes\n"
              "; globals        00000252  0 bytes\n"
              "; stack          00000252  65536 bytes\n"
              "; heap           00010252  1048576 bytes\n"
              "\n"
              "entry:\n"
              "  00000200  00022834                              BEQ      loc_00000228\n"
              "  00000204  00021C2C                              JMP      loc_0000021C\n"
              "  00000208  48656C6C6F2C20776F726C6400            .asciz   \"Hello, world\"\n"
              "  00000215  050000                                .byte    0x05, 0x00, 0x00\n"
              "  00000218  00000000                              .long    0x00000000\n"
              "loc_0000021C:\n"
              "  0000021C  00040054 00000238                     CALL     sub_00000238, 4\n"
              "  00000224  00022C8C                              JMP      [R2+table_0000022C]\n"
              "loc_00000228:\n"
              "  00000228  00000214                              STOP\n"
              "table_0000022C:\n"
              "  0000022C  00000228                              .long    loc_00000228\n"
              "  00000230  0000021C                              .long    loc_0000021C\n"
              "  00000234  00000007                              .long    0x00000007\n"
              "sub_00000238:\n"
              "  00000238  0000B1FA 00000248                     LEA      R15, [data_00000248]\n"
              "  00000240  00000254                              RETURN   0\n"
              "  00000244  00000000                              .long    0x00000000\n"
              "data_00000248:\n"
              "  00000248  736F6D65207465787400                  .asciz   \"some text\"\n");
}

TEST(ModuleListing, FunctionsCalledThroughARegisterAreCode) {
    const Bytes bytes = AssembledBytes(
        " LEA R1, [f]\n CALLR R1\n MOVE.L R2, #g\n CALLR R2\n STOP\nf: SYS\n RETURN\n"
        "g: NOP\n RETURN\n");
    const std::string listing = ListingOf(bytes);
    EXPECT_NE(listing.find("sub_0000021C:\n  0000021C  00000114"), std::string::npos) << listing;
    EXPECT_NE(listing.find("sub_00000224:\n  00000224  00000194"), std::string::npos) << listing;
}

TEST(ModuleListing, HeaderWordsAndPartsOfVariablesHaveNames) {
    const std::string source =
        " MOVE.B [HDR_RESULT], R1\n MOVE.L R1, [buffer+4]\n MOVE.L R2, [0x180]\n STOP\n"
        ".bss\nbuffer: .space 8\n";
    const AssembleResult result = Assemble(source, "t");
    ASSERT_TRUE(result.ok);
    const std::string listing = ListingOf(result.bytes, FormatSymbols(result));
    EXPECT_NE(listing.find("MOVE.B   [HDR_RESULT], R1"), std::string::npos) << listing;
    EXPECT_NE(listing.find("MOVE.L   R1, [buffer+4]"), std::string::npos) << listing;
    EXPECT_NE(listing.find("MOVE.L   R2, [0x180]"), std::string::npos) << listing;
    EXPECT_NE(listing.find("  00000220  globals  buffer\n"), std::string::npos) << listing;
}

TEST(ModuleListing, NamesComeFromTheSymbolFile) {
    const Bytes bytes = AssembledBytes("NOP\n");
    EXPECT_NE(ListingOf(bytes, "00000200 code start\n00000003 const K\n").find("\nstart:\n"),
              std::string::npos);
}

TEST(SymbolFile, BadLinesAreRefused) {
    SymbolNames names;
    EXPECT_EQ(ParseSymbolFile("00000200 code a\r\n\nFFFFFFFFFFFFFFFF const K\n", names), "");
    EXPECT_EQ(names.byAddress.size(), 1u);
    EXPECT_EQ(names.values.at("a"), 0x200u);
    EXPECT_EQ(names.values.at("K"), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(ParseSymbolFile("00000200 code a\nfoo\n", names),
              "line 2 is no line of a symbol file");
    EXPECT_EQ(ParseSymbolFile("00000200 what a\n", names), "line 1 is no line of a symbol file");
    EXPECT_EQ(ParseSymbolFile("00000200 code \n", names), "line 1 is no line of a symbol file");
    EXPECT_EQ(ParseSymbolFile("00000200\n", names), "line 1 is no line of a symbol file");
}

}  // namespace

}  // namespace moxi
