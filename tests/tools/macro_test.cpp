// Macros, repeat blocks and included files.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tools/asm/assembler.h"

namespace moxi {

namespace {

using Bytes = std::vector<u8>;

Bytes Body(const std::string& source) {
    const AssembleResult result = Assemble(source, "t.mxs");
    EXPECT_TRUE(result.ok) << FormatErrors(result);
    if (!result.ok) {
        return {};
    }
    return {result.bytes.begin() + 512, result.bytes.end()};
}

std::string ErrorsOf(const std::string& source) {
    return FormatErrors(Assemble(source, "t.mxs"));
}

TEST(Macros, ParametersAreReplacedByTheArguments) {
    EXPECT_EQ(Body(".macro PAIR a, b\n.byte \\a, \\b\n.endm\nPAIR 1, 2\nPAIR 3+4, (5)\n"),
              (Bytes{1, 2, 7, 5}));
}

TEST(Macros, ArgumentsAreCutAtCommasOutsideOfQuotesAndBrackets) {
    EXPECT_EQ(Body(".macro M a, b\n.byte \\a\n.ascii \\b\n.endm\nM ',', \"a,b\" ; comment, text\n"),
              (Bytes{',', 'a', ',', 'b'}));
    EXPECT_EQ(Body(".macro LOAD r, e\nMOVE.L \\r, \\e\n.endm\nLOAD R1, [R2+(4)]\n"),
              (Bytes{0x32, 0x7C, 2, 0, 4, 0, 0, 0}));
}

TEST(Macros, AnArgumentReachesTextInQuotes) {
    EXPECT_EQ(Body(".macro SAY name\n.ascii \"<\\name\\n>\"\n.endm\nSAY hi\n"),
              (Bytes{'<', 'h', 'i', '\n', '>'}));
    EXPECT_EQ(Body(".macro SAY n\n.ascii \"\\n\"\n.byte \\n\n.endm\nSAY 5\n"), (Bytes{10, 5}));
}

TEST(Macros, EmptyParenthesesEndAParametersName) {
    EXPECT_EQ(Body(".macro DEF p\n\\p\\()_x = 3\n.byte \\p\\()_x\n.endm\nDEF foo\n"), Bytes{3});
}

TEST(Macros, ParametersMayHaveAValueOfTheirOwn) {
    EXPECT_EQ(Body(".macro M a, b=7\n.byte \\a, \\b\n.endm\nM 1\nM 1, 2\n"), (Bytes{1, 7, 1, 2}));
    EXPECT_EQ(Body(".macro M a, b=\n.byte \\a\n.ifnb \\b\n.byte \\b\n.endif\n.endm\nM 1\nM 2, 3\n"),
              (Bytes{1, 2, 3}));
}

TEST(Macros, TheLastParameterMayTakeTheRest) {
    EXPECT_EQ(Body(".macro M a, rest...\n.byte \\a\n.ifnb \\rest\n M \\rest\n.endif\n.endm\n"
                   "M 1, 2, 3\n"),
              (Bytes{1, 2, 3}));
}

TEST(Macros, EachExpansionHasItsNumberForLocalLabels) {
    EXPECT_EQ(Body(".macro SKIP\nBEQ @s\\@\nNOP\n@s\\@:\n.endm\nf: SKIP\nSKIP\n"),
              (Bytes{0x34, 8, 2, 0, 0x94, 1, 0, 0, 0x34, 16, 2, 0, 0x94, 1, 0, 0}));
}

TEST(Macros, MacrosMayDefineMacros) {
    EXPECT_EQ(Body(".macro OUTER name\n.macro \\name v\n.byte \\v, \\@\n.endm\n.endm\n"
                   "OUTER INNER\nINNER 9\nINNER 8\n"),
              (Bytes{9, 1, 8, 2}));
}

TEST(Macros, ExitmLeavesTheMacro) {
    EXPECT_EQ(Body(".macro M a\n.byte 1\n.if \\a\n.exitm\n.endif\n.byte 2\n.endm\nM 1\nM 0\n"),
              (Bytes{1, 1, 2}));
}

TEST(Macros, AMacroMayEndItselfByACondition) {
    EXPECT_EQ(Body(".macro DOWN n\n.byte \\n\n.if \\n > 0\nDOWN \\n-1\n.endif\n.endm\nDOWN 3\n"),
              (Bytes{3, 2, 1, 0}));
}

TEST(Macros, RepeatBlocksCountFromZero) {
    EXPECT_EQ(Body(".rept 3\n.byte \\+ * 2\n.endr\n"), (Bytes{0, 2, 4}));
    EXPECT_EQ(Body(".rept 0\n.byte 1\n.endr\n.byte 2\n"), Bytes{2});
    EXPECT_EQ(Body(".rept 2\n.set i, \\+\n.rept 2\n.byte i, \\+\n.endr\n.endr\n"),
              (Bytes{0, 0, 0, 1, 1, 0, 1, 1}));
    EXPECT_EQ(Body(".rept 2\nl\\+: .byte 1\n.endr\n.word l1 - l0\n"), (Bytes{1, 1, 1, 0}));
}

TEST(Macros, RepeatBlocksStandInMacros) {
    EXPECT_EQ(Body(".macro FILL n, v\n.rept \\n\n.byte \\v + \\+\n.endr\n.endm\nFILL 2, 10\n"),
              (Bytes{10, 11}));
}

TEST(Macros, ErrorsNameTheAuthorsLineFirstAndTheBodyBehindIt) {
    EXPECT_EQ(ErrorsOf(".macro M a\n  .byte \\a\n.endm\nNOP\n M 300\n"),
              "t.mxs:5:4: error: 300 does not fit a BYTE (-128 to 255)\n"
              "   M 300\n"
              "     ^\n"
              "t.mxs:2:9: note: in macro M\n"
              "    .byte \\a\n"
              "          ^\n");
}

// The second argument of OUTER is the first of INNER.
TEST(Macros, AnErrorInAnArgumentStandsUnderItThroughSeveralMacros) {
    EXPECT_EQ(ErrorsOf(".macro INNER v\n.byte \\v\n.endm\n"
                       ".macro OUTER a, b\nINNER 1\nINNER \\b\n.endm\n"
                       "x: OUTER 2,  999 ; too much\n"),
              "t.mxs:8:14: error: 999 (0x3E7) does not fit a BYTE (-128 to 255)\n"
              "  x: OUTER 2,  999 ; too much\n"
              "               ^\n"
              "t.mxs:6:7: note: in macro OUTER\n"
              "  INNER \\b\n"
              "        ^\n"
              "t.mxs:2:7: note: in macro INNER\n"
              "  .byte \\v\n"
              "        ^\n");
}

TEST(Macros, AnErrorOfTheBodyItselfStandsUnderTheCall) {
    EXPECT_EQ(ErrorsOf(".macro M\nMOVE.L R1\n.endm\n M\n"),
              "t.mxs:4:2: error: MOVE needs another operand\n"
              "   M\n"
              "   ^\n"
              "t.mxs:2:10: note: in macro M\n"
              "  MOVE.L R1\n"
              "           ^\n");
}

TEST(Macros, AnArgumentThatIsWrongInSeveralPlacesIsOneError) {
    const AssembleResult result =
        Assemble(".macro M a\n.byte \\a\n.byte \\a\n.endm\nM 300\nM 301\n", "t.mxs");
    EXPECT_EQ(result.errors.size(), 2u);
}

TEST(Macros, OfManyCallsInOneAnotherTheFirstAndTheLastAreShown) {
    const AssembleResult result = Assemble(
        ".macro DOWN n\n.if \\n == 0\n.byte 300\n.else\nDOWN \\n-1\n.endif\n.endm\nDOWN 20\n",
        "t.mxs");
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_EQ(result.errors[0].at.line, 8u);
    ASSERT_EQ(result.errors[0].inMacros.size(), 8u);
    EXPECT_EQ(result.errors[0].inMacros[0].line, 5u);
    EXPECT_EQ(result.errors[0].inMacros[7].line, 3u);
}

TEST(Macros, AUseBeforeTheDefinitionIsToldSo) {
    EXPECT_EQ(
        ErrorsOf("f: LATER 3\nLATER 4\n.macro LATER x\n.byte \\x\n.endm\nLATER 5\n"),
        "t.mxs:1:4: error: 'LATER' is a macro that is defined later, at t.mxs:3; a macro must "
        "stand before its use\n  f: LATER 3\n     ^\n"
        "t.mxs:2:1: error: 'LATER' is a macro that is defined later, at t.mxs:3; a macro must "
        "stand before its use\n  LATER 4\n  ^\n");
}

TEST(Macros, ASecondDefinitionOfANameNamesTheAuthorsLineOfTheFirst) {
    EXPECT_NE(ErrorsOf(".macro DEF p\n\\p = 3\n.endm\nDEF foo\nNOP\nDEF foo\n")
                  .find("t.mxs:6:5: error: 'foo' is already defined at t.mxs:4"),
              std::string::npos);
}

TEST(Macros, WrongCallsAreErrors) {
    const std::string macro = ".macro M a, b\n.endm\n.macro N a\n.byte 1\n.endm\n";
    EXPECT_NE(ErrorsOf(macro + "M 1\n").find("t.mxs:6:1: error: macro M needs its argument 'b'"),
              std::string::npos);
    EXPECT_NE(ErrorsOf(macro + "N 1, 2\n").find("macro N takes 1 argument, 2 are given"),
              std::string::npos);
    EXPECT_NE(ErrorsOf(macro + ".macro M\n.endm\n").find("the macro is already defined"),
              std::string::npos);
    EXPECT_NE(ErrorsOf(".macro ADD a\n.endm\n").find("'ADD' is an instruction or a register"),
              std::string::npos);
    EXPECT_NE(ErrorsOf(".macro M a, a\n.endm\n").find("two parameters are called 'a'"),
              std::string::npos);
}

// --- Files

struct Folder {
    std::filesystem::path path;
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "mxasm-XXXXXX").string();
        path = mkdtemp(name.data());
    }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string Write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories((path / name).parent_path());
        std::ofstream(path / name, std::ios::binary) << text;
        return (path / name).string();
    }
};

TEST(Files, IncludedFilesAreFoundBesideTheIncludingOne) {
    const Folder folder;
    folder.Write("lib/a.inc", ".byte 1\n.include \"b.inc\"\n");
    folder.Write("lib/b.inc", ".byte 2\n");
    const std::string file = (folder.path / "main.mxs").string();
    const AssembleResult result = Assemble(".include \"lib/a.inc\"\n.byte 3\n", file);
    ASSERT_TRUE(result.ok) << FormatErrors(result);
    EXPECT_EQ(Bytes(result.bytes.begin() + 512, result.bytes.end()), (Bytes{1, 2, 3}));
    EXPECT_EQ(result.filesRead.size(), 2u);
}

TEST(Files, IncludeFoldersAreSearchedAfterwards) {
    const Folder folder;
    folder.Write("std/x.inc", ".byte 7\n");
    AssembleOptions options;
    options.includeFolders = {(folder.path / "std").string()};
    const AssembleResult result =
        Assemble(".include \"x.inc\"\n", (folder.path / "main.mxs").string(), options);
    ASSERT_TRUE(result.ok) << FormatErrors(result);
    EXPECT_EQ(result.bytes.back(), 7);
}

TEST(Files, IncbinTakesAWholeFileOrAPart) {
    const Folder folder;
    folder.Write("data.bin", "abcdef");
    const std::string file = (folder.path / "main.mxs").string();
    const AssembleResult result = Assemble(
        ".incbin \"data.bin\"\n.incbin \"data.bin\", 4\n.incbin \"data.bin\", 1, 2\n", file);
    ASSERT_TRUE(result.ok) << FormatErrors(result);
    EXPECT_EQ(std::string(result.bytes.begin() + 512, result.bytes.end()), "abcdefefbc");
    EXPECT_FALSE(Assemble(".incbin \"data.bin\", 5, 2\n", file).ok);
    EXPECT_FALSE(Assemble(".incbin \"data.bin\", 7\n", file).ok);
}

TEST(Files, ErrorsInAnIncludedFileNameIt) {
    const Folder folder;
    const std::string inner = folder.Write("a.inc", "NOP\nFOO\n");
    const AssembleResult result =
        Assemble(".include \"a.inc\"\nBAR\n", (folder.path / "main.mxs").string());
    ASSERT_EQ(result.errors.size(), 2u);
    EXPECT_EQ(result.errors[0].at.file, inner);
    EXPECT_EQ(result.errors[0].at.line, 2u);
    EXPECT_EQ(result.errors[1].at.line, 2u);
}

TEST(Files, AFileMayBeIncludedTwiceButNotByItself) {
    const Folder folder;
    folder.Write("twice.inc", ".byte 1\n");
    folder.Write("loop1.inc", ".include \"loop2.inc\"\n");
    folder.Write("loop2.inc", ".include \"loop1.inc\"\n");
    const std::string file = (folder.path / "main.mxs").string();
    EXPECT_TRUE(Assemble(".include \"twice.inc\"\n.include \"twice.inc\"\n", file).ok);
    const AssembleResult result = Assemble(".include \"loop1.inc\"\n", file);
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_EQ(result.errors[0].at.text, "the file 'loop1.inc' includes itself");
}

TEST(Files, WhatIsNoReadableFileIsAnError) {
    const Folder folder;
    const std::string file = (folder.path / "main.mxs").string();
    EXPECT_EQ(Assemble(".include \"none\"\n", file).errors.at(0).at.text,
              "cannot include 'none': no such file");
    EXPECT_EQ(Assemble(".include \"/\"\n", file).errors.at(0).at.text,
              "cannot include '/': is a folder");
    EXPECT_EQ(Assemble(".incbin \"/dev/zero\"\n", file).errors.at(0).at.text,
              "cannot include '/dev/zero': is not a regular file");
    EXPECT_FALSE(Assemble(".include \"a\\0b\"\n", file).ok);
}

}  // namespace

}  // namespace moxi
