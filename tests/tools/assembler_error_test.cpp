// Errors with their places, and input that means harm.

#include <gtest/gtest.h>

#include <random>

#include "tools/asm/assembler.h"

namespace moxi {

namespace {

struct ErrorRow {
    const char* source;
    u32 line;
    u32 column;
    const char* text;
};

const ErrorRow kErrors[] = {
    {"NOP\n  FOO R1\n", 2, 3, "'FOO' is no instruction or macro"},
    {" MOVE R1, R2\n", 1, 2, "MOVE needs a size: .B, .W, .L or .Q"},
    {" FADD.L R1, R2\n", 1, 6, "the size of FADD is .F or .D"},
    {" MOVE.L R1\n", 1, 11, "MOVE needs another operand"},
    {" MOVE.L R1, R2 R3\n", 1, 16, "expected the end of the line, found 'R3'"},
    {" MOVE.L #1, R2\n", 1, 9, "the first operand cannot be an immediate"},
    {" MOVE.L R1, 5\n", 1, 13,
     "expected an operand: a register, [address], [Rn+offset], [FP+offset] or #value; found '5'"},
    {" MOVE.L R1,\n", 1, 12,
     "expected an operand: a register, [address], [Rn+offset], [FP+offset] or #value; found "
     "nothing"},
    {" MOVE.L R1, [R2*4]\n", 1, 16, "expected +, - or ] here"},
    {" MOVE.L R1, [x+R2]\n", 1, 16,
     "a register cannot stand in an expression; write [R3+...] or [FP+...]"},
    {" BEQ 0x202\n", 1, 6, "the target 514 (0x202) is not a multiple of 4"},
    {" MOVE.L R1, #foo\n", 1, 14, "'foo' is not defined"},
    {"x: NOP\nx: NOP\n", 2, 1, "'x' is already defined at t:1"},
    {"HDR_PC = 3\n", 1, 1, "'HDR_PC' is predefined"},
    {"R3: NOP\n", 1, 1, "'R3' is a register"},
    {"@x: NOP\n", 1, 1, "a local label needs an ordinary label before it"},
    {"a: BEQ @x\n", 1, 8, "'a@x' is not defined"},
    {"a = b\nb = a\n", 2, 1, "'b' is defined by itself"},
    {".long 1 / 0\n", 1, 9, "division by zero"},
    {".long 1 << 64\n", 1, 9, "a shift count is 0 to 63"},
    {".long (1\n", 1, 9, "a closing parenthesis is missing"},
    {".long 1 +\n", 1, 10, "a value is missing"},
    {".long 0x\n", 1, 7, "a digit is missing"},
    {".long 12ab\n", 1, 9, "this does not belong to a number"},
    {".long 18446744073709551616\n", 1, 7, "the number does not fit in 64 bits"},
    {".long 1.5\n", 1, 7,
     "a whole number is needed here; floating-point values go with .F, .D, .float and .double"},
    {".long 4294967296\n", 1, 7,
     "4294967296 (0x100000000) does not fit a LONG (-2147483648 to 4294967295 (0xFFFFFFFF))"},
    {".ascii \"abc\n", 1, 8, "the string has no closing quote"},
    {".ascii \"a\\qb\"\n", 1, 10,
     "unknown escape; there are \\n \\r \\t \\0 \\\\ \\\" \\' and \\xHH"},
    {".byte 'ab'\n", 1, 7, "the character has no closing quote"},
    {".byte ''\n", 1, 7, "there is no character between the quotes"},
    {".word \"a\"\n", 1, 7, "a text goes into .byte, .ascii or .asciz"},
    {".foo 1\n", 1, 1, "'.foo' is no directive"},
    {".space later\nlater = 1\n", 1, 8, "the value must be known here, and 'later' is not"},
    {".data\nx: .long 1\n.code\n MOVE.L R(x), R1\n", 4, 11,
     "the value must be known here, and the places of .data and .bss are not"},
    {".space -1\n", 1, 8, "a size is a whole number from 0 to 4294967295"},
    {".align 0\n", 1, 8, "an alignment is a whole number from 1 to 65536"},
    {".bss\n.long 1\n", 2, 7, ".bss holds no data, only .space"},
    {".data\n NOP\n", 2, 2, "instructions belong in the .code section"},
    {".if 1\nNOP\n", 1, 1, "this block has no .endif"},
    {".endif\n", 1, 1, "there is no open .if here"},
    {".if 0\n.else\n.else\n.endif\n", 3, 1, "the block already had its .else"},
    {".macro M\nNOP\n", 1, 8, "this .macro has no .endm"},
    {".rept 2\nNOP\n", 1, 1, "this .rept has no .endr"},
    {".endm\n", 1, 1, "there is no open .macro here"},
    {".error \"stop here\"\nFOO\n", 1, 1, "stop here"},
    {".stack 1\n.stack 2\n", 2, 8, "the size is given a second time"},
    {".header 512, 1\n", 1, 9, "an offset in the header is a whole number from 0 to 511"},
    {".header 511, 1, 2\n", 1, 12, "the bytes reach beyond the header"},
    {".version 256, 0\n", 1, 10, "a version number is a whole number from 0 to 255"},
    {".heap 0xFFFFFFFF\n", 1, 1,
     "the file, the globals, the stack and the heap together reach beyond 4 GB"},
    {"\\foo\n", 1, 1,
     "a backslash stands for a macro parameter, \\@ or \\+; there is none of that name here"},
    {".byte `\n", 1, 7, "unexpected character '`'"},
    {"x y z\n", 1, 1, "'x' is no instruction or macro"},
    {" MVOE.L R1, R2\n", 1, 2, "'MVOE' is no instruction or macro; did you mean 'MOVE'?"},
    {".data\nx: asciz \"a\"\n", 2, 4, "'asciz' is no directive or macro; did you mean '.asciz'?"},
    {".data\nx: .ascz \"a\"\n", 2, 4, "'.ascz' is no directive; did you mean '.asciz'?"},
    {".data\n.long 1, 2 3\n", 2, 12, "expected a comma or the end of the line, found '3'"},
    {".data\n.asciz \"a\" \"b\"\n", 2, 12,
     "expected a comma or the end of the line, found '\"b\"'"},
    {".macro DRAW a\nNOP\n.endm\nDRWA 1\n", 4, 1,
     "'DRWA' is no instruction or macro; did you mean 'DRAW'?"},
};

TEST(AssemblerErrors, EachNamesItsPlaceAndReason) {
    for (const ErrorRow& row : kErrors) {
        const AssembleResult result = Assemble(row.source, "t");
        EXPECT_FALSE(result.ok) << row.source;
        EXPECT_TRUE(result.bytes.empty());
        ASSERT_EQ(result.errors.size(), 1u) << row.source << FormatErrors(result);
        EXPECT_EQ(result.errors[0].at.text, row.text);
        EXPECT_EQ(result.errors[0].at.line, row.line) << row.source;
        EXPECT_EQ(result.errors[0].at.column, row.column) << row.source;
    }
}

// The label counts all the same: its uses, before and behind it, are no errors.
TEST(AssemblerErrors, ALabelWithoutItsColonIsOneError) {
    const AssembleResult result =
        Assemble("LEA R1, [title]\n.data\n.long title\ntitle .asciz \"x\"\n.long title\n", "t");
    EXPECT_EQ(FormatErrors(result),
              "t:4:1: error: 'title' is no directive or macro; a label ends with a colon\n"
              "  title .asciz \"x\"\n"
              "  ^\n");
}

TEST(AssemblerErrors, SeveralAreReportedInSourceOrder) {
    const AssembleResult result =
        Assemble("BEQ nowhere\nFOO\n.long 1/0\nBNE nowhere\n.byte 300\n", "dir/game.mxs");
    EXPECT_EQ(FormatErrors(result),
              "dir/game.mxs:1:5: error: 'nowhere' is not defined\n  BEQ nowhere\n      ^\n"
              "dir/game.mxs:2:1: error: 'FOO' is no instruction or macro\n  FOO\n  ^\n"
              "dir/game.mxs:3:8: error: division by zero\n  .long 1/0\n         ^\n"
              "dir/game.mxs:5:7: error: 300 does not fit a BYTE (-128 to 255)\n"
              "  .byte 300\n        ^\n");
}

TEST(AssemblerErrors, TheCaretStandsUnderTabsAndManyByteCharacters) {
    const AssembleResult result = Assemble("\t.ascii \"\xC3\xA4\", 1\n", "t");
    EXPECT_EQ(FormatErrors(result),
              "t:1:15: error: expected a text in double quotes, found '1'\n"
              "  \t.ascii \"\xC3\xA4\", 1\n"
              "  \t            ^\n");
}

TEST(AssemblerErrors, AtMostAHundredAreReported) {
    std::string source;
    for (int i = 0; i < 500; ++i) {
        source += "FOO\n";
    }
    const AssembleResult result = Assemble(source, "t");
    ASSERT_EQ(result.errors.size(), 101u);
    EXPECT_EQ(result.errors.back().at.text, "too many errors, the rest is not reported");
}

// --- Input that means harm

std::string FirstError(const std::string& source) {
    const AssembleResult result = Assemble(source, "t");
    return result.errors.empty() ? std::string() : result.errors[0].at.text;
}

TEST(HostileSource, EndlessMacrosEnd) {
    EXPECT_EQ(FirstError(".macro A\nA\n.endm\nA\n"), "macros are nested too deeply (64 levels)");
    EXPECT_EQ(FirstError(".macro A\nA\nA\n.endm\nA\n"), "macros are nested too deeply (64 levels)");
    EXPECT_EQ(FirstError(".macro A x\nA \\x\\x\\x\\x\n.endm\nA a\n"),
              "the macro makes a line longer than 1 MB");
}

TEST(HostileSource, HugeSizesAreRefused) {
    EXPECT_EQ(FirstError(".space 0xFFFFFFFF\n"), "the section takes more than 256 MB");
    EXPECT_EQ(FirstError(".bss\n.space 0xFFFFFFFF\n.space 1\n"), "the globals take more than 4 GB");
    EXPECT_EQ(FirstError(".rept 0x7FFFFFFF\n.byte 0\n.endr\n"),
              "macros and repeat blocks make too much text from here");
    EXPECT_EQ(FirstError(".rept 100000\n.rept 100000\n.endr\n.endr\n"), "");
}

TEST(HostileSource, DeepExpressionsAreRefused) {
    const std::string open(100000, '(');
    EXPECT_EQ(FirstError(".long " + open + "\n"), "the expression is nested too deeply");
    EXPECT_EQ(FirstError(".long " + std::string(100000, '-') + "1\n"),
              "the expression is nested too deeply");
    std::string chain = ".byte a0\n";
    for (int i = 0; i < 100000; ++i) {
        chain += "a" + std::to_string(i) + " = a" + std::to_string(i + 1) + "\n";
    }
    EXPECT_EQ(FirstError(chain + "a100000 = 1\n"),
              "the constants lead too far from one to the next");
}

TEST(HostileSource, ConstantsThatDoubleOneAnotherAreEvaluatedOnce) {
    std::string source = ".quad a0\n";
    for (int i = 0; i < 60; ++i) {
        const std::string next = "a" + std::to_string(i + 1);
        source += "a" + std::to_string(i) + " = ";
        source += next;
        source += " + ";
        source += next;
        source += "\n";
    }
    const AssembleResult result = Assemble(source + "a60 = 1\n", "t");
    ASSERT_TRUE(result.ok) << FormatErrors(result);
    EXPECT_EQ(result.bytes[512 + 7], 0x10);
}

TEST(HostileSource, LongLinesAreRefused) {
    EXPECT_EQ(FirstError(std::string(2000000, 'a') + "\n"), "the line is longer than 1 MB");
}

TEST(HostileSource, TerminalControlBytesAreNotPrinted) {
    const AssembleResult result = Assemble("\x1B[31m\x01 foo\n", "t");
    const std::string text = FormatErrors(result);
    EXPECT_EQ(text.find('\x1B'), std::string::npos);
    EXPECT_EQ(text.find('\x01'), std::string::npos);
}

TEST(HostileSource, SeededBinaryNoiseIsRefusedOrAssembled) {
    std::mt19937 random(20240501);
    for (int round = 0; round < 3000; ++round) {
        std::string source(random() % 400, '\0');
        for (char& c : source) {
            c = static_cast<char>(random());
        }
        const AssembleResult result = Assemble(source, "noise");
        EXPECT_EQ(result.ok, result.errors.empty());
    }
}

TEST(HostileSource, SeededWordSaladIsRefusedOrAssembled) {
    const char* const words[] = {
        "MOVE",   ".L",      " ",     "R1",     ",",      "[",     "]",      "#",       "FP",
        "+",      "-",       "(",     ")",      "x",      "x:",    "@l",     "@l:",     "=",
        "\n",     "\n",      "\n",    ".macro", ".endm",  ".rept", ".endr",  ".if",     ".else",
        ".endif", "3",       "0x200", "1.5",    "\"s\"",  "\\x",   "\\@",    "\\+",     ".byte",
        ".long",  ".space",  ".data", ".bss",   ".code",  "$",     ".align", ".header", "M",
        "'a'",    "BEQ",     "JMP",   "PUSH",   "LINK",   "TBEQ",  ".set",   ".equ",    "<<",
        "/",      "%",       "&&",    "||",     ".exitm", ";",     ".elif",  ".ifb",    ".ifdef",
        ".stack", ".assert", "~",     "!",      "\t",     "...",   "R(",     ".double", "FADD.D"};
    std::mt19937 random(77);
    for (int round = 0; round < 20000; ++round) {
        std::string source;
        const auto count = static_cast<u32>(random() % 60);
        for (u32 i = 0; i < count; ++i) {
            source += words[random() % (sizeof words / sizeof words[0])];
            if (random() % 2 != 0) {
                source += ' ';
            }
        }
        AssembleOptions options;
        options.wantListing = true;
        const AssembleResult result = Assemble(source, "salad", options);
        EXPECT_EQ(result.ok, result.errors.empty());
        EXPECT_FALSE(result.ok && result.bytes.size() < 512);
    }
}

}  // namespace

}  // namespace moxi
