// Instructions to words and back.

#include <gtest/gtest.h>

#include "tests/tools/encoding_rows.h"
#include "tools/asm/assembler.h"
#include "vm/disassemble.h"

namespace moxi {

namespace {

// The text with runs of blanks made one.
std::string Squeezed(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c != ' ' || (!out.empty() && out.back() != ' ')) {
            out += c;
        }
    }
    return out;
}

template <size_t kCount>
void CheckAssembling(const EncodingRow (&rows)[kCount]) {
    for (const EncodingRow& row : rows) {
        EXPECT_EQ(AssembleInstruction(row.text), row.words) << row.text;
    }
}

template <size_t kCount>
void CheckDisassembling(const EncodingRow (&rows)[kCount]) {
    for (const EncodingRow& row : rows) {
        EXPECT_EQ(Squeezed(Disassemble(row.words)), row.text);
        EXPECT_EQ(InstructionLength(row.words[0]), row.words.size() * 4) << row.text;
    }
}

TEST(Encoding, EveryTwoOperandOperationAtEverySize) {
    CheckAssembling(kTwoOperandOperationsRows);
    CheckDisassembling(kTwoOperandOperationsRows);
}

TEST(Encoding, EveryOperandFormWithQuickAndImmediateValues) {
    CheckAssembling(kOperandFormsRows);
    CheckDisassembling(kOperandFormsRows);
}

TEST(Encoding, EveryOneOperandOperationInEveryForm) {
    CheckAssembling(kOneOperandOperationsRows);
    CheckDisassembling(kOneOperandOperationsRows);
}

TEST(Encoding, EveryConditionOnFlagsAndWithATest) {
    CheckAssembling(kBranchesRows);
    CheckDisassembling(kBranchesRows);
}

TEST(Encoding, EverySingleInstruction) {
    CheckAssembling(kSinglesRows);
    CheckDisassembling(kSinglesRows);
}

using Words = std::vector<u32>;

TEST(Encoding, MnemonicsSizesAndRegistersAreNotCaseSensitive) {
    EXPECT_EQ(AssembleInstruction("move.l r11, [fp-4]"), Words{0xFFFC7D71});
    EXPECT_EQ(AssembleInstruction("Modal.n"), Words{148});
}

TEST(Encoding, LeftOutOperandsAreZero) {
    EXPECT_EQ(AssembleInstruction("LINK"), Words{340});
    EXPECT_EQ(AssembleInstruction("LINK 8"), Words{0x20154});
    EXPECT_EQ(AssembleInstruction("RETURN"), Words{596});
    EXPECT_EQ(AssembleInstruction("CALLR R1"), Words{0x1354});
    EXPECT_EQ(AssembleInstruction("CALL 0x400"), (Words{84, 0x400}));
}

TEST(Encoding, AnUnsignedLongWithAllBitsSetIsQuickMinusOne) {
    EXPECT_EQ(AssembleInstruction("MOVE.L R0, #0xFFFFFFFF"), Words{0x000F7C1E});
    EXPECT_EQ(AssembleInstruction("MOVE.Q R0, #0xFFFFFFFF"), (Words{0x7E16, 0xFFFFFFFF, 0}));
}

TEST(Encoding, MoveTakesFloatingPointSuffixes) {
    EXPECT_EQ(AssembleInstruction("MOVE.F R0, #1.5"), (Words{0x7C16, 0x3FC00000}));
    EXPECT_EQ(AssembleInstruction("MOVE.D R0, #1"), (Words{0x7E16, 0, 0x3FF00000}));
    EXPECT_EQ(AssembleInstruction("MOVE.D R0, #0"), Words{0x7E1E});
    EXPECT_EQ(AssembleInstruction("PUSH.D #1"), (Words{884, 0, 0x3FF00000}));
    EXPECT_EQ(AssembleInstruction("POP.D R1"), Words{0x117D4});
}

TEST(Encoding, ForcedQuickMustReach) {
    EXPECT_EQ(AssembleInstruction("MOVE.L R0, #.Q 7"), Words{0x00077C1E});
    EXPECT_TRUE(AssembleInstruction("MOVE.L R0, #.Q 8").empty());
}

TEST(Encoding, RangesOfImmediatesFollowTheSize) {
    EXPECT_EQ(AssembleInstruction("MOVE.B R0, #255"), (Words{0x7816, 255}));
    EXPECT_EQ(AssembleInstruction("MOVE.B R0, #-128"), (Words{0x7816, 0xFFFFFF80}));
    EXPECT_TRUE(AssembleInstruction("MOVE.B R0, #256").empty());
    EXPECT_TRUE(AssembleInstruction("MOVE.W R0, #-32769").empty());
    EXPECT_TRUE(AssembleInstruction("MOVE.L R0, #0x100000000").empty());
}

TEST(Encoding, BranchTargetsAreMultiplesOf4Below16Megabytes) {
    EXPECT_TRUE(AssembleInstruction("BEQ 0x202").empty());
    EXPECT_TRUE(AssembleInstruction("JMP 0x1000000").empty());
    EXPECT_TRUE(AssembleInstruction("TBEQ.L R1, -4").empty());
    EXPECT_TRUE(AssembleInstruction("CALL 0x202").empty());
    EXPECT_TRUE(AssembleInstruction("JMP [R1+2]").empty());
}

TEST(Encoding, OperandsThatDoNotExistAreRefused) {
    for (const char* text : {"ADD.L R16, R1",
                             "ADD.L #1, R1",
                             "ADD.L R1",
                             "ADD R1, R2",
                             "ADD.F R1, R2",
                             "FADD.L R1, R2",
                             "EXTZ.Q R1",
                             "FNEG.L R1",
                             "NEG.L #1",
                             "PUSH.B #1",
                             "TBEQ.L [R1+4], 0x200",
                             "TBEQ.L #1, 0x200",
                             "JMP [0x200]",
                             "CALLR 0x200",
                             "CALL R1",
                             "LINK 262144, 0",
                             "LINK 0, 16",
                             "MOVE.L R0, [FP+32768]",
                             "MOVE.L R0, [FP-32769]",
                             "MOVE.L [-1], R0",
                             "MOVE.L R0, R1, R2",
                             "MOVE.L R(16), R1",
                             "POP.L R(65536)",
                             "PEEKBLOCK.B #1, [R1]",
                             "PUSHBLOCK.B #1, R1",
                             "NOP.L",
                             "BEQ.L 0x200",
                             "MOVE.L R0, #1.5",
                             "MOVE.F R0, #1e39"}) {
        EXPECT_TRUE(AssembleInstruction(text).empty()) << text;
    }
}

TEST(Disassembly, WordsThatAreNoInstructionBecomeLong) {
    EXPECT_EQ(Disassemble(Words{4}), ".long    0x00000004  ; illegal opcode");
    EXPECT_EQ(Disassemble(Words{31}), ".long    0x0000001F  ; no operation");
    EXPECT_EQ(Disassemble(Words{1023}), ".long    0x000003FF  ; no operation");
    // Operation 96 of the form register, register; operation 28 of one operand.
    EXPECT_EQ(Disassemble(Words{0x0000C01C}), ".long    0x0000C01C  ; illegal opcode");
    EXPECT_EQ(Disassemble(Words{0x00001CD4}), ".long    0x00001CD4  ; illegal opcode");
    EXPECT_EQ(Disassemble(Words{0x0000881A, 0x200}),
              ".long    0x0000881A, 0x00000200  ; floating point of an illegal size");
}

TEST(Disassembly, InstructionsThatAreCutOffBecomeLong) {
    EXPECT_EQ(Disassemble(Words{84}), ".long    0x00000054  ; cut off");
    EXPECT_EQ(Disassemble(Words{}), "; nothing is here");
}

TEST(Disassembly, BitsWithoutMeaningAreNotShown) {
    EXPECT_EQ(Disassemble(Words{0xFFFF0154 & 0x3FFF}), "LINK     0, 0");
    EXPECT_EQ(Disassemble(Words{0xFFF0001Cu | 30 << 9}), "SUB.L    R0, R0");
    EXPECT_EQ(Disassemble(Words{372, 9}), "PUSH.W   #.I 9");
}

TEST(Disassembly, ReadsNothingOutsideOfTheMemory) {
    const u8 memory[10] = {84, 0, 0, 0, 0, 2, 0, 0, 148, 1};
    const std::span<const u8> all(memory);
    EXPECT_EQ(DisassembleAt(all, 0).text, "CALL     0x200, 0");
    EXPECT_EQ(DisassembleAt(all, 0).length, 8u);
    EXPECT_EQ(DisassembleAt(all.first(7), 0).text, ".long    0x00000054  ; cut off");
    EXPECT_EQ(DisassembleAt(all.first(7), 0).length, 4u);
    EXPECT_EQ(DisassembleAt(all, 8).length, 2u);
    EXPECT_EQ(DisassembleAt(all, 10).length, 0u);
    EXPECT_EQ(DisassembleAt(all, 0xFFFFFFFF).length, 0u);
}

TEST(Disassembly, EveryPatternOfTheLowSixteenBitsHasATextAndALength) {
    for (u32 w = 0; w < 65536; ++w) {
        const Words words = {w | 0x00050000, 0x200, 0x300, 0x400};
        EXPECT_FALSE(Disassemble(words).empty());
        const u32 length = InstructionLength(words[0]);
        EXPECT_TRUE(length % 4 == 0 && length >= 4 && length <= 16);
    }
}

TEST(Disassembly, NamesTakeThePlaceOfAddresses) {
    const AddressNamer namer = [](u32 address, AddressUse) {
        return address == 0x400 ? std::string("table") : std::string();
    };
    EXPECT_EQ(Disassemble(Words{0x0004018C}, namer), "JMP      [R6+table]");
    EXPECT_EQ(Disassemble(Words{84, 0x400}, namer), "CALL     table, 0");
    EXPECT_EQ(Disassemble(Words{0x0000B1FA, 0x404}, namer), "LEA      R15, [0x404]");
}

}  // namespace

}  // namespace moxi
