// Sections, names, expressions, data, the header, the listing and the symbol file.

#include "tools/asm/assembler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace moxi {

namespace {

AssembleResult Good(const std::string& source) {
    AssembleResult result = Assemble(source, "t.mxs");
    EXPECT_TRUE(result.ok) << FormatErrors(result);
    return result;
}

u32 LongAt(const AssembleResult& result, size_t address) {
    u32 value = 0;
    EXPECT_LE(address + 4, result.bytes.size());
    if (address + 4 <= result.bytes.size()) {
        std::memcpy(&value, &result.bytes[address], 4);
    }
    return value;
}

// What lies behind the header, as bytes.
std::vector<u8> Body(const std::string& source) {
    const AssembleResult result = Good(source);
    if (!result.ok) {
        return {};
    }
    return {result.bytes.begin() + 512, result.bytes.end()};
}

// The values of a line `.quad ...`.
i64 ValueOf(const std::string& expression) {
    const std::vector<u8> body = Body("one = 1\n.quad " + expression + "\n");
    i64 value = -12345;
    if (body.size() == 8) {
        std::memcpy(&value, body.data(), 8);
    }
    return value;
}

using Bytes = std::vector<u8>;

TEST(Assembler, AnEmptySourceMakesTheHeaderAlone) {
    const AssembleResult result = Good("");
    ASSERT_EQ(result.bytes.size(), 512u);
    Bytes expected(512, 0);
    const u8 magic[] = {'M', 'O', 'X', 'I', '6', 0};
    std::memcpy(&expected[208], magic, 6);
    expected[218] = 6;
    expected[219] = 2;
    expected[225] = 2;     // loaded length 512
    expected[242] = 1;     // stack 65536
    expected[250] = 0x10;  // heap 1048576
    EXPECT_EQ(result.bytes, expected);
}

TEST(Assembler, TheHeaderHoldsLengthsVersionAndSizes) {
    const AssembleResult result = Good(
        ".version 5, 9\n.stack 4096\n.heap 2 * 1024\n NOP\n.data\n.byte 1, 2, 3\n"
        ".bss\n.space 100\n");
    EXPECT_EQ(result.bytes[218], 5);
    EXPECT_EQ(result.bytes[219], 9);
    // 512 + one word, data at 520, padded to 528 for the globals
    EXPECT_EQ(LongAt(result, 224), 528u);
    EXPECT_EQ(result.bytes.size(), 528u);
    EXPECT_EQ(LongAt(result, 232), 100u);
    EXPECT_EQ(LongAt(result, 240), 4096u);
    EXPECT_EQ(LongAt(result, 248), 2048u);
}

TEST(Assembler, DataFollowsCodeAndGlobalsFollowData) {
    const AssembleResult result = Good(
        ".bss\nb: .space 4\n.data\nd: .byte 7\n.code\nc: NOP\n .long b, d, c\n.data\ne: .byte 8\n");
    EXPECT_EQ(SymbolValue(result, "c"), 512u);
    EXPECT_EQ(SymbolValue(result, "d"), 528u);
    EXPECT_EQ(SymbolValue(result, "e"), 529u);
    EXPECT_EQ(SymbolValue(result, "b"), 536u);
    EXPECT_EQ(LongAt(result, 516), 536u);
    EXPECT_EQ(LongAt(result, 520), 528u);
    EXPECT_EQ(LongAt(result, 524), 512u);
    EXPECT_EQ(result.bytes[528], 7);
    EXPECT_EQ(result.bytes[529], 8);
}

TEST(Assembler, HeaderLinesPatchTheHeader) {
    const AssembleResult result = Good(".header 218, 7, 0\n.header 0, \"ab\", x\nx = 9\n");
    EXPECT_EQ(result.bytes[218], 7);
    EXPECT_EQ(result.bytes[219], 0);
    EXPECT_EQ(result.bytes[0], 'a');
    EXPECT_EQ(result.bytes[1], 'b');
    EXPECT_EQ(result.bytes[2], 9);
}

TEST(Assembler, DataDirectivesStoreLittleEndian) {
    EXPECT_EQ(Body(".byte 1, -1, 'A', \"hi\"\n"), (Bytes{1, 255, 65, 'h', 'i'}));
    EXPECT_EQ(Body(".word 0x1234, -2\n"), (Bytes{0x34, 0x12, 0xFE, 0xFF}));
    EXPECT_EQ(Body(".long 0x12345678\n"), (Bytes{0x78, 0x56, 0x34, 0x12}));
    EXPECT_EQ(Body(".quad 0x0102030405060708\n"), (Bytes{8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(Body(".float 1.5, -2\n"), (Bytes{0, 0, 0xC0, 0x3F, 0, 0, 0, 0xC0}));
    EXPECT_EQ(Body(".double 1e0\n"), (Bytes{0, 0, 0, 0, 0, 0, 0xF0, 0x3F}));
}

TEST(Assembler, StringsKnowTheirEscapes) {
    EXPECT_EQ(Body(R"(.ascii "a\n\r\t\0\\\"\'\x7F;", "b")"
                   "\n"),
              (Bytes{'a', 10, 13, 9, 0, '\\', '"', '\'', 0x7F, ';', 'b'}));
    EXPECT_EQ(Body(".asciz \"a\", \"\"\n"), (Bytes{'a', 0, 0}));
    EXPECT_EQ(Body(".byte ';', '\\'', '\\n' ; comment\n"), (Bytes{';', '\'', 10}));
}

TEST(Assembler, SpaceAndAlignMakeRoom) {
    EXPECT_EQ(Body(".space 3\n.space 2, 0xEE\n"), (Bytes{0, 0, 0, 0xEE, 0xEE}));
    // Code lies at 512, so the next multiple of 3 behind 517 is 519.
    EXPECT_EQ(Body(".byte 1\n.align 4, 9\n.byte 2\n.align 3\n.byte 3\n"),
              (Bytes{1, 9, 9, 9, 2, 0, 0, 3}));
}

TEST(Assembler, AlignInDataAndGlobalsMeansTheAddress) {
    const AssembleResult result = Good(
        "NOP\n.data\n.byte 1\n.align 64\nd: .byte 2\n.bss\n.space 1\n.align 48\nb: .space 1\n");
    // The data's own start is a multiple of 64: 576; the globals' of 48: 672.
    EXPECT_EQ(SymbolValue(result, "d"), 640u);
    EXPECT_EQ(SymbolValue(result, "b"), 720u);
    EXPECT_EQ(LongAt(result, 224), 672u);
    EXPECT_EQ(LongAt(result, 232), 49u);
}

TEST(Assembler, AlignInCodeFillsWithNop) {
    EXPECT_EQ(Body("SYS\n.align 16\nSTOP\n"),
              (Bytes{0x14, 1, 0, 0, 0x94, 1, 0, 0, 0x94, 1, 0, 0, 0x94, 1, 0, 0, 0x14, 2, 0, 0}));
}

TEST(Assembler, InstructionsAreAlignedAndLabelsMoveWithThem) {
    const AssembleResult result =
        Good("BEQ next\n.asciz \"abc\"\nnext: other:\nNOP\n.long other\n");
    EXPECT_EQ(SymbolValue(result, "next"), 520u);
    EXPECT_EQ(SymbolValue(result, "other"), 520u);
    EXPECT_EQ(LongAt(result, 512), 52u | 130u << 10);
    EXPECT_EQ(LongAt(result, 524), 520u);
    const AssembleResult odd = Good(".byte 1\nnext: .byte 2\nNOP\n.long next\n");
    EXPECT_EQ(SymbolValue(odd, "next"), 513u);
}

TEST(Assembler, LabelsBeforeInstructionsMoveOverAGap) {
    const AssembleResult result = Good("JMP next\n.byte 1\nnext:\n\n; text\n  NOP\n");
    EXPECT_EQ(SymbolValue(result, "next"), 520u);
    EXPECT_EQ(LongAt(result, 512), 44u | 130u << 10);
}

TEST(Assembler, ExpressionsHaveTheOperatorsAndPrecedenceOfC) {
    EXPECT_EQ(ValueOf("1 + 2 * 3"), 7);
    EXPECT_EQ(ValueOf("(1 + 2) * 3"), 9);
    EXPECT_EQ(ValueOf("10 - 4 - 3"), 3);
    EXPECT_EQ(ValueOf("-7 / 2"), -3);
    EXPECT_EQ(ValueOf("-7 % 3"), -1);
    EXPECT_EQ(ValueOf("1 << 4 + 1"), 32);
    EXPECT_EQ(ValueOf("-16 >> 2"), -4);
    EXPECT_EQ(ValueOf("~0 & 0xF0 | 0x0F ^ 0x01"), 0xFE);
    EXPECT_EQ(ValueOf("1 | 2 ^ 3 & 2"), 1);
    EXPECT_EQ(ValueOf("1 < 2 == 1"), 1);
    EXPECT_EQ(ValueOf("3 <= 3 && 4 >= 5 || 0"), 0);
    EXPECT_EQ(ValueOf("!0 + !5"), 1);
    EXPECT_EQ(ValueOf("1 != 2"), 1);
    EXPECT_EQ(ValueOf("- - 5"), 5);
    EXPECT_EQ(ValueOf("0b1111011 + 0x7B + 123 + 'A'"), 434);
    EXPECT_EQ(ValueOf("0xFFFFFFFFFFFFFFFF"), -1);
    EXPECT_EQ(ValueOf("0x8000000000000000 / -1"), std::numeric_limits<i64>::min());
    EXPECT_EQ(ValueOf("one + 1"), 2);
    EXPECT_EQ(ValueOf("1.5 < 2"), 1);
}

TEST(Assembler, TheLeftSideMayDecideAnAndOrAnOrAlone) {
    EXPECT_EQ(ValueOf("0 && 1 / 0"), 0);
    EXPECT_EQ(ValueOf("1 || 1 / 0"), 1);
}

TEST(Assembler, DollarIsTheAddressOfTheStatement) {
    EXPECT_EQ(Body("NOP\n.word $, $\n"), (Bytes{0x94, 1, 0, 0, 4, 2, 4, 2}));
    const AssembleResult result = Good(".data\n.byte 1\nx = $\n.word $ - x\n.word $ - x\n.code\n");
    EXPECT_EQ(SymbolValue(result, "x"), 513u);
    EXPECT_EQ(result.bytes[513], 0);
    EXPECT_EQ(result.bytes[515], 2);
}

TEST(Assembler, ConstantsMayUseWhatIsDefinedLater) {
    const AssembleResult result =
        Good("a = b * 2\nb = end - start\n.data\nstart: .space 10\nend:\n.byte a, b\n");
    EXPECT_EQ(SymbolValue(result, "a"), 20u);
    EXPECT_EQ(result.bytes[522], 20);
    EXPECT_EQ(result.bytes[523], 10);
}

TEST(Assembler, DifferencesOfDataAddressesAreKnownAtOnce) {
    EXPECT_EQ(
        Body(".data\na: .byte 1, 2, 3\nb:\n.space b - a, 7\n.if b - a == 3\n.byte 9\n.endif\n"),
        (Bytes{1, 2, 3, 7, 7, 7, 9}));
}

TEST(Assembler, AVariableTakesItsLatestValue) {
    EXPECT_EQ(Body(".set n, 1\n.byte n\n.set n, n + 5\n.byte n\nc = n\n.set n, 9\n.byte c\n"),
              (Bytes{1, 6, 6}));
}

TEST(Assembler, ForwardReferencesTakeTheLongFormUnlessQuickIsForced) {
    EXPECT_EQ(Body("ADD.L R0, #later\nlater = 3\nADD.L R0, #later\n"),
              (Bytes{0x16, 0x34, 0, 0, 3, 0, 0, 0, 0x1E, 0x34, 3, 0}));
    EXPECT_EQ(Body("ADD.L R0, #.Q later\nlater = 3\n"), (Bytes{0x1E, 0x34, 3, 0}));
    EXPECT_EQ(Body("PUSH.L #later\nlater = 3\n"), (Bytes{0x74, 2, 0, 0, 3, 0, 0, 0}));
}

TEST(Assembler, LocalLabelsBelongToTheLabelBefore) {
    const AssembleResult result =
        Good("f: NOP\n@x: BEQ @x\ng: NOP\n@x: BEQ @x\n BEQ @y\n@y: NOP\n");
    EXPECT_EQ(SymbolValue(result, "f@x"), 516u);
    EXPECT_EQ(SymbolValue(result, "g@x"), 524u);
    EXPECT_EQ(LongAt(result, 516), 52u | 129u << 10);
    EXPECT_EQ(LongAt(result, 524), 52u | 131u << 10);
    EXPECT_EQ(LongAt(result, 528), 52u | 133u << 10);
}

TEST(Assembler, DataInBetweenDoesNotEndTheScopeOfLocalLabels) {
    const AssembleResult result =
        Good("f: NOP\n@x: NOP\n.data\ntext: .long @x, @y\n.code\n BEQ @x\n@y: NOP\n");
    EXPECT_EQ(LongAt(result, 520), 52u | 129u << 10);
    EXPECT_EQ(LongAt(result, 528), 516u);
    EXPECT_EQ(LongAt(result, 532), 524u);
}

TEST(Assembler, HeaderAddressesArePredefined) {
    EXPECT_EQ(Body(".word HDR_R0, HDR_R15, HDR_PC, HDR_STACKTOP, HDR_STACKLIMIT\n"),
              (Bytes{8, 0, 128, 0, 136, 0, 144, 0, 152, 0}));
    EXPECT_EQ(Body(".word HDR_SP, HDR_FP, HDR_MODAL, HDR_COUNT, HDR_FLAGS, HDR_RESULT, HDR_SLOT\n"),
              (Bytes{160, 0, 168, 0, 176, 0, 184, 0, 192, 0, 193, 0, 0, 1}));
}

TEST(Assembler, ConditionsChooseWhatIsAssembled) {
    const std::string source =
        ".if A == 1\n.byte 1\n.elif A == 2\n.byte 2\n.if 0\n.byte 9\n.else\n.byte 3\n.endif\n"
        ".else\n.byte 4\n.endif\n";
    EXPECT_EQ(Body("A = 1\n" + source), Bytes{1});
    EXPECT_EQ(Body("A = 2\n" + source), (Bytes{2, 3}));
    EXPECT_EQ(Body("A = 3\n" + source), Bytes{4});
    EXPECT_EQ(Body("x = 1\n.ifdef x\n.byte 1\n.endif\n.ifndef x\n.byte 2\n.endif\n.ifdef y\n"
                   ".byte 3\n.endif\ny = 1\n"),
              Bytes{1});
    EXPECT_EQ(Body(".if 0\nthis is \" no sense\n.elif 1\n.byte 1\n.endif\n"), Bytes{1});
}

TEST(Assembler, DefinitionsFromTheCommandLineAreConstants) {
    AssembleOptions options;
    options.definitions = {{"DEBUG", 7}};
    const AssembleResult result = Assemble(".ifdef DEBUG\n.byte DEBUG\n.endif\n", "t.mxs", options);
    ASSERT_TRUE(result.ok);
    EXPECT_EQ(result.bytes.back(), 7);
}

TEST(Assembler, AssertionsAreCheckedAtTheEnd) {
    EXPECT_TRUE(Good(".assert end - 512 == 4, \"size\"\nNOP\nend:\n").ok);
    const AssembleResult result = Assemble(".assert end == 512, \"too large\"\nNOP\nend:\n", "t");
    EXPECT_EQ(FormatErrors(result),
              "t:1:9: error: too large\n  .assert end == 512, \"too large\"\n          ^\n");
}

TEST(Assembler, LinesMayEndWithACarriageReturn) {
    EXPECT_EQ(Body(".byte 1\r\n.byte 2 ; text\r\n"), (Bytes{1, 2}));
}

TEST(Assembler, TheListingShowsAddressesBytesAndSource) {
    AssembleOptions options;
    options.wantListing = true;
    const AssembleResult result =
        Assemble("start: LEA R1, [text]\n.data\ntext: .asciz \"Hello\"\n", "t.mxs", options);
    ASSERT_TRUE(result.ok);
    EXPECT_EQ(result.listing,
              "; t.mxs\n"
              "     1  00000200  0000B03A 00000208     start: LEA R1, [text]\n"
              "     2                                  .data\n"
              "     3  00000208  48656C6C6F00          text: .asciz \"Hello\"\n"
              "\n; Symbols\n00000200 code start\n00000208 data text\n");
}

TEST(Assembler, TheSymbolFileIsOrderedByValue) {
    const AssembleResult result =
        Good("b: a: NOP\n@l: NOP\nK = -1\nL = 3\n.data\nd: .byte 1\n.bss\ng: .space 1\n");
    EXPECT_EQ(FormatSymbols(result),
              "FFFFFFFFFFFFFFFF const K\n00000003 const L\n00000200 code a\n00000200 code b\n"
              "00000204 code a@l\n00000208 data d\n00000210 bss g\n");
}

}  // namespace

}  // namespace moxi
