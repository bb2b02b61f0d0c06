#pragma once
// The instruction set, written down once. The interpreter, the disassembler, the assembler and
// the generated reference page all come from the tables in this file.
//
// An instruction is one 32-bit little-endian word w, followed by zero, one or two 32-bit
// extension words. Its low ten bits select the class:
//
//   31                    16 15          9 8      5 4       0
//  +------------------------+-------------+--------+---------+
//  | frame offset, B register| operation   | A reg. | form    |   two operands
//  | or quick value          |       size  |        |         |   (the size is bits 9..10)
//  +------------------------+-------------+--------+---------+
//
//   31                    16 15 14       8 7                 0
//  +------------------------+--+----------+-------------------+
//  | register, frame offset |  | operation| 108 172 212 236   |   one operand
//  +------------------------+--+----------+-------------------+   (the size is bits 8..9)
//
//   31                         10 9     7 6    5 4    3 2     0
//  +-----------------------------+-------+------+------+-------+
//  | target / 4                  | cond. | size | mode | 0 0 0 |   test and branch
//  +-----------------------------+-------+------+------+-------+
//  | target / 4                  | cond. | 0 1 1 0 1 0 0       |   branch on flags (52)
//  +-----------------------------+-------+---------------------+
//  | table / 4                   | register (6..9) | 0 0 1 1 0 0 |  jump through memory (12)
//  +-----------------------------+-----------------+-----------+
//  | immediate, target / 4, ...  | one of twenty exact values  |   single instructions
//  +-----------------------------+-----------------------------+

#include <array>
#include <cstddef>

#include "base/types.h"

namespace moxi {

// ---------------------------------------------------------------------------------------------
// Field helpers

constexpr u32 TwoOperandForm(u32 w) {
    return w & 31;
}
constexpr u32 TwoOperandNumber(u32 w) {
    return (w >> 9) & 127;
}
constexpr u32 OneOperandFormCode(u32 w) {
    return w & 255;
}
constexpr u32 OneOperandNumber(u32 w) {
    return (w >> 8) & 127;
}
// The register of a one-operand instruction in register form: all of the upper half, not masked
// (note 1).
constexpr u32 WideRegister(u32 w) {
    return w >> 16;
}
constexpr u32 LowRegister(u32 w) {
    return (w >> 5) & 15;
}  // the A-register field
constexpr u32 HighRegister(u32 w) {
    return (w >> 16) & 15;
}  // the B-register field
// Signed four-bit quick values: -8..7.
constexpr i32 LowQuick(u32 w) {
    return static_cast<i32>(w << 23) >> 28;
}
constexpr i32 HighQuick(u32 w) {
    return static_cast<i32>(w << 12) >> 28;
}
constexpr i32 FrameOffset(u32 w) {
    return static_cast<i16>(w >> 16);
}
constexpr u32 BranchTarget(u32 w) {
    return (w >> 10) * 4;
}
constexpr u32 BranchCondition(u32 w) {
    return (w >> 7) & 7;
}
constexpr u32 TestMode(u32 w) {
    return (w >> 3) & 3;
}
constexpr u32 TestSize(u32 w) {
    return (w >> 5) & 3;
}
constexpr u32 TableRegister(u32 w) {
    return (w >> 6) & 15;
}
constexpr u32 CallRegister(u32 w) {
    return (w >> 12) & 15;
}
constexpr u32 ArgumentBytes(u32 w) {
    return w >> 16;
}  // of both calls
constexpr u32 SavedRegisters(u32 w) {
    return (w >> 10) & 15;
}  // of LINK and RETURN
constexpr u32 LocalBytes(u32 w) {
    return w >> 14;
}  // of LINK

constexpr u32 kImmediateSlot = 256;

// ---------------------------------------------------------------------------------------------
// Operand forms

enum class Mode : u8 {
    Register,   // 8 + 8 * r
    Indexed,    // extension word + low 32 bits of register r
    Absolute,   // extension word
    Frame,      // FP + signed bits 16..31
    Frame32,    // FP + extension word
    Quick,      // the immediate slot, which receives a signed four-bit value
    Immediate,  // the immediate slot, which receives one extension word, two for QUAD
};

// Where a register number or a quick value stands in the word.
enum class Field : u8 { None, Low, High };  // bits 5..8, bits 16..19

struct OperandForm {
    u8 code;  // low five bits of w
    Mode a;   // destination and first operand
    Field aField;
    Mode b;  // source
    Field bField;
    u8 length;  // bytes; a QUAD immediate adds 4
};

// The form in which PUSHBLOCK takes its count from the instruction itself (note 3).
constexpr u8 kCountInWordForm = 5;

// Extension words follow in the order A's, then B's. Every pair of an A and a B mode has exactly
// one form; a source in the frame is Frame32 only where bits 16..31 already hold A's offset.
inline constexpr std::array<OperandForm, 24> kTwoOperandForms = {{
    {1, Mode::Indexed, Field::Low, Mode::Quick, Field::High, 8},
    {2, Mode::Indexed, Field::Low, Mode::Register, Field::High, 8},
    {3, Mode::Absolute, Field::None, Mode::Frame, Field::None, 8},
    {kCountInWordForm, Mode::Absolute, Field::None, Mode::Indexed, Field::Low, 12},
    {6, Mode::Indexed, Field::Low, Mode::Absolute, Field::None, 12},
    {7, Mode::Frame, Field::None, Mode::Immediate, Field::None, 8},
    {9, Mode::Indexed, Field::Low, Mode::Frame, Field::None, 8},
    {10, Mode::Indexed, Field::Low, Mode::Indexed, Field::High, 12},
    {11, Mode::Frame, Field::None, Mode::Indexed, Field::Low, 8},
    {13, Mode::Absolute, Field::None, Mode::Immediate, Field::None, 12},
    {14, Mode::Indexed, Field::Low, Mode::Immediate, Field::None, 12},
    {15, Mode::Frame, Field::None, Mode::Frame32, Field::None, 8},
    {17, Mode::Register, Field::Low, Mode::Frame, Field::None, 4},
    {18, Mode::Register, Field::Low, Mode::Indexed, Field::High, 8},
    {19, Mode::Frame, Field::None, Mode::Register, Field::Low, 4},
    {21, Mode::Absolute, Field::None, Mode::Absolute, Field::None, 12},
    {22, Mode::Register, Field::Low, Mode::Immediate, Field::None, 8},
    {23, Mode::Frame, Field::None, Mode::Quick, Field::Low, 4},
    {25, Mode::Absolute, Field::None, Mode::Register, Field::Low, 8},
    {26, Mode::Register, Field::Low, Mode::Absolute, Field::None, 8},
    {27, Mode::Frame, Field::None, Mode::Absolute, Field::None, 8},
    {28, Mode::Register, Field::Low, Mode::Register, Field::High, 4},
    {29, Mode::Absolute, Field::None, Mode::Quick, Field::Low, 8},
    {30, Mode::Register, Field::Low, Mode::Quick, Field::High, 4},
}};

struct OneOperandForm {
    u8 code;  // low eight bits of w
    Mode mode;
    u8 length;
};

constexpr u8 kIndexedForm = 108;  // register in bits 16..19
constexpr u8 kFrameForm = 172;
constexpr u8 kRegisterForm = 212;  // register in bits 16..31
constexpr u8 kAbsoluteForm = 236;

inline constexpr std::array<OneOperandForm, 4> kOneOperandForms = {{
    {kIndexedForm, Mode::Indexed, 8},
    {kFrameForm, Mode::Frame, 4},
    {kRegisterForm, Mode::Register, 4},
    {kAbsoluteForm, Mode::Absolute, 8},
}};

// ---------------------------------------------------------------------------------------------
// Sizes

// The four sizes of an integer operation, and of a floating-point one where 0 and 1 are illegal.
enum class OperandSize : u8 { Byte, Word, Long, Quad };

// Which numbers of an operation's group of four exist, and how the assembler names them.
enum class Sizes : u8 {
    Integer,     // .B .W .L .Q
    Float,       // .F (size 2), .D (size 3); 0 and 1 are the illegal sizes
    Any,         // four numbers with one effect; the suffix .B .W .L .Q may choose one, .B is usual
    ByteToLong,  // .B .W .L; the fourth number does nothing
    Single,      // one number, no suffix
};

// ---------------------------------------------------------------------------------------------
// Two-operand operations. X(enumerator, mnemonic, first number, sizes, flags set, effect)
// Numbers 96..119 are illegal. "Flags set" says whether the three flags come from the result.

#define MX_TWO_OPERAND_OPERATIONS(X)                                                            \
    X(Divs, "DIVS", 0, Integer, false, "A = A / B, signed, truncating toward zero")             \
    X(Mods, "MODS", 4, Integer, false, "A = remainder of signed A / B, sign of the dividend")   \
    X(Asr, "ASR", 8, Integer, true,                                                             \
      "A = A shifted right arithmetically by (byte at B) & 31 (QUAD: & 63)")                    \
    X(Divu, "DIVU", 12, Integer, false, "A = A / B, unsigned")                                  \
    X(Modu, "MODU", 16, Integer, false, "A = A mod B, unsigned")                                \
    X(Lsr, "LSR", 20, Integer, true,                                                            \
      "A = A shifted right logically by (byte at B) & 31 (QUAD: & 63)")                         \
    X(Add, "ADD", 24, Integer, false, "A = A + B, wrapping")                                    \
    X(Sub, "SUB", 28, Integer, true, "A = A - B, wrapping")                                     \
    X(Cmp, "CMP", 32, Integer, true, "flags from A - B, wrapped; A unchanged")                  \
    X(Mul, "MUL", 36, Integer, false, "A = low bits of A * B")                                  \
    X(Test, "TEST", 40, Integer, true, "flags from A AND B; A unchanged")                       \
    X(Lsl, "LSL", 44, Integer, true, "A = A shifted left by (byte at B) & 31 (QUAD: & 63)")     \
    X(And, "AND", 48, Integer, true, "A = A AND B")                                             \
    X(Or, "OR", 52, Integer, false, "A = A OR B")                                               \
    X(Xor, "XOR", 56, Integer, true, "A = A XOR B")                                             \
    X(Move, "MOVE", 60, Integer, false, "A = B")                                                \
    X(Movez, "MOVEZ", 64, Integer, false, "the 8 bytes at A = B, zero-extended from its size")  \
    X(Fadd, "FADD", 68, Float, false, "A = A + B")                                              \
    X(Fsub, "FSUB", 72, Float, false, "A = A - B; flags unchanged (note 2)")                    \
    X(Fmul, "FMUL", 76, Float, false, "A = A * B")                                              \
    X(Fdiv, "FDIV", 80, Float, false, "A = A / B")                                              \
    X(Fcmp, "FCMP", 84, Float, false, "no effect (note 2)")                                     \
    X(Lea, "LEA", 88, Any, false, "the LONG at A = the address B")                              \
    X(Blockmove, "BLOCKMOVE", 92, Integer, false,                                               \
      "copy (block count * size) bytes from B to A, overlap allowed; the count is the LONG at " \
      "184")                                                                                    \
    X(Pushblock, "PUSHBLOCK", 120, Integer, false,                                              \
      "push n bytes from B; n = the BYTE (.B) or WORD (.W .L .Q) at A (notes 3, 7)")            \
    X(Peekblock, "PEEKBLOCK", 124, Integer, false,                                              \
      "copy n bytes from SP to B; n = the BYTE (.B) or WORD (.W .L .Q) at A (note 7)")

// ---------------------------------------------------------------------------------------------
// One-operand operations, same columns. Numbers 0 and 1 are the illegal sizes of FNEG; 28..31 and
// 72..127 are illegal.

#define MX_ONE_OPERAND_OPERATIONS(X)                                                              \
    X(Fneg, "FNEG", 2, Single, false, "FLOAT: flip bit 31")                                       \
    X(Dneg, "DNEG", 3, Single, false, "DOUBLE: E is left unchanged (note 4)")                     \
    X(Neg, "NEG", 4, Integer, false, "E = two's complement of E")                                 \
    X(Not, "NOT", 8, Integer, true, "E = one's complement of E")                                  \
    X(Tst, "TST", 12, Integer, true, "flags from E")                                              \
    X(Push, "PUSH", 16, Integer, false, "push E; a BYTE is pushed as a zero-extended WORD")       \
    X(Pop, "POP", 20, Integer, false, "pop into E; a BYTE is the low byte of the WORD at SP")     \
    X(Pea, "PEA", 24, Any, false, "push the address E as a LONG")                                 \
    X(Extz, "EXTZ", 32, ByteToLong, false, "zero-extend to QUAD in place")                        \
    X(Exts, "EXTS", 36, ByteToLong, false, "sign-extend to QUAD in place")                        \
    X(Utof, "UTOF", 40, Integer, false, "unsigned to FLOAT in place; the upper 4 bytes become 0") \
    X(Stof, "STOF", 44, Integer, false, "signed to FLOAT in place; the upper 4 bytes become 0")   \
    X(Utod, "UTOD", 48, Integer, false, "unsigned to DOUBLE in place")                            \
    X(Stod, "STOD", 52, Integer, false, "signed to DOUBLE in place")                              \
    X(Ftoq, "FTOQ", 56, Any, false, "FLOAT to QUAD, truncating toward zero (note 5)")             \
    X(Dtoq, "DTOQ", 60, Any, false, "DOUBLE to QUAD, truncating toward zero (note 5)")            \
    X(Ftod, "FTOD", 64, Any, false, "FLOAT to DOUBLE in place")                                   \
    X(Dtol, "DTOL", 68, Any, false,                                                               \
      "DOUBLE rounded to FLOAT, truncated to a LONG in the low 4 bytes (note 5)")

// ---------------------------------------------------------------------------------------------
// Single instructions. X(enumerator, mnemonic, low ten bits, operands, length, effect)

enum class SingleOperands : u8 {
    None,
    Target,        // bits 10..31: target / 4
    CallTarget,    // bits 16..31: argument byte count; extension word: target
    CallRegister,  // bits 16..31: argument byte count; bits 12..15: register
    Link,          // bits 10..13: registers; bits 14..31: bytes of locals
    Return,        // bits 10..13: registers
    Word32,        // extension word, low 16 bits used
    Short16,       // bits 10..31, low 16 bits used
    Long32,        // extension word
    Short22,       // bits 10..31, sign-extended
    Quad64,        // two extension words, low word first
};

#define MX_SINGLE_INSTRUCTIONS(X)                                                                  \
    X(Debuglog, "DEBUGLOG", 20, None, 4, "append the string at R15 to debug.log")                  \
    X(Jmp, "JMP", 44, Target, 4, "PC = target")                                                    \
    X(Call, "CALL", 84, CallTarget, 8, "push argument byte count and return address; PC = target") \
    X(PushWordExt, "PUSH.W", 116, Word32, 8, "push a WORD")                                        \
    X(ModalNotify, "MODAL.N", 148, None, 4, "MODAL that also asks for MSG_PRESENTED")              \
    X(PushWord, "PUSH.W", 244, Short16, 4, "push a WORD")                                          \
    X(Sys, "SYS", 276, None, 4, "call the service whose block is at R15")                          \
    X(Link, "LINK", 340, Link, 4, "push FP; FP = SP; room for locals; save registers")             \
    X(PushWordExt2, "PUSH.W", 372, Word32, 8, "push a WORD")                                       \
    X(Nop, "NOP", 404, None, 4, "nothing")                                                         \
    X(PushWord2, "PUSH.W", 500, Short16, 4, "push a WORD")                                         \
    X(Stop, "STOP", 532, None, 4, "end the program")                                               \
    X(Return, "RETURN", 596, Return, 4, "restore registers, drop the frame, return (note 6)")      \
    X(PushLongExt, "PUSH.L", 628, Long32, 8, "push a LONG")                                        \
    X(PushLong, "PUSH.L", 756, Short22, 4, "push a LONG")                                          \
    X(Modal, "MODAL", 788, None, 4, "save the context and end the message (note 8)")               \
    X(Callr, "CALLR", 852, CallRegister, 4, "CALL through a register")                             \
    X(PushQuadExt, "PUSH.Q", 884, Quad64, 12, "push a QUAD")                                       \
    X(Emod, "EMOD", 916, None, 4, "resume after the latest MODAL (note 8)")                        \
    X(PushQuad, "PUSH.Q", 1012, Short22, 4, "push a QUAD")

// ---------------------------------------------------------------------------------------------
// Branches

constexpr u16 kTableJumpCode = 12;   // low six bits of w
constexpr u16 kFlagBranchCode = 52;  // low seven bits

// Conditions. X(enumerator, suffix, number, meaning)

#define MX_CONDITIONS(X)                   \
    X(Eq, "EQ", 0, "ZERO")                 \
    X(Ne, "NE", 1, "not ZERO")             \
    X(Ge, "GE", 2, "not NEG")              \
    X(Gt, "GT", 3, "neither ZERO nor NEG") \
    X(Le, "LE", 4, "ZERO or NEG")          \
    X(Lt, "LT", 5, "NEG")                  \
    X(Ev, "EV", 6, "not ODD")              \
    X(Od, "OD", 7, "ODD")

// Operand of test-and-branch, with the extension word x. X(enumerator, number, meaning)
#define MX_TEST_MODES(X)                             \
    X(Register, 0, "register x (address 8 + 8 * x)") \
    X(Absolute, 1, "absolute x")                     \
    X(Indirect, 2, "the address held in register x") \
    X(Frame32, 3, "FP + x")

// Notes on intended oddities, numbered from 1 as the tables refer to them.
inline constexpr const char* kInstructionNotes[] = {
    "`PUSH` of register number 16 pushes the PC word at 136: in the register form of the "
    "one-operand class the number is all of bits 16..31 and is not masked.",
    "`FSUB` and `FCMP` compute ZERO and NEG, but the write-back of the cached flags at the end of "
    "the instruction replaces them, so the flags keep their previous value.",
    "In form 5 (absolute, indexed) `PUSHBLOCK` takes n from the first extension word itself "
    "instead "
    "of from memory, all 32 bits of it at any size; `PEEKBLOCK` does not.",
    "`DNEG` stores back only the low 32 bits of the negated value, which are the old ones.",
    "Out of range and not-a-number give 0x8000000000000000, and `DTOL` its low half.",
    "`RETURN` to address 0 ends the run.",
    "`PUSHBLOCK` keeps 100 bytes above the stack limit (the LONG at 152) free, and `PEEKBLOCK` "
    "reads "
    "nothing at or above the stack top (the LONG at 144). Otherwise the message \"Stack overflow "
    "at "
    "0x%8.8X. Terminating. So sorry.\" ends the program, with MSG_END. They are the only "
    "instructions "
    "that look at the stack's bounds.",
    "Without a context `EMOD` shows \"Illegal EMOD at 0x%8.8X\" and ends the message; its frame "
    "stays "
    "on the stack, and the program goes on with the next message. Neither `MODAL` nor `EMOD` saves "
    "or "
    "restores the flags.",
};

// ---------------------------------------------------------------------------------------------
// Enumerations made from the tables

enum class TwoOperand : u8 {
#define X(name, mnemonic, first, sizes, flags, effect) name = first,
    MX_TWO_OPERAND_OPERATIONS(X)
#undef X
};

enum class OneOperand : u8 {
#define X(name, mnemonic, first, sizes, flags, effect) name = first,
    MX_ONE_OPERAND_OPERATIONS(X)
#undef X
};

enum class Single : u16 {
#define X(name, mnemonic, code, operands, length, effect) name = code,
    MX_SINGLE_INSTRUCTIONS(X)
#undef X
};

enum class Condition : u8 {
#define X(name, suffix, number, meaning) name = number,
    MX_CONDITIONS(X)
#undef X
};

enum class TestOperand : u8 {
#define X(name, number, meaning) name = number,
    MX_TEST_MODES(X)
#undef X
};

struct Operation {
    const char* mnemonic;
    u8 first;  // number of the first size
    Sizes sizes;
    bool setsFlags;
    const char* effect;
};

inline constexpr Operation kTwoOperandOperations[] = {
#define X(name, mnemonic, first, sizes, flags, effect) \
    {mnemonic, first, Sizes::sizes, flags, effect},
    MX_TWO_OPERAND_OPERATIONS(X)
#undef X
};

inline constexpr Operation kOneOperandOperations[] = {
#define X(name, mnemonic, first, sizes, flags, effect) \
    {mnemonic, first, Sizes::sizes, flags, effect},
    MX_ONE_OPERAND_OPERATIONS(X)
#undef X
};

struct SingleInstruction {
    const char* mnemonic;
    u16 code;  // low ten bits of w
    SingleOperands operands;
    u8 length;
    const char* effect;
};

inline constexpr SingleInstruction kSingleInstructions[] = {
#define X(name, mnemonic, code, operands, length, effect) \
    {mnemonic, code, SingleOperands::operands, length, effect},
    MX_SINGLE_INSTRUCTIONS(X)
#undef X
};

struct ConditionName {
    const char* suffix;  // as in BEQ and TBEQ
    const char* meaning;
};

inline constexpr ConditionName kConditions[] = {
#define X(name, suffix, number, meaning) {suffix, meaning},
    MX_CONDITIONS(X)
#undef X
};

// ---------------------------------------------------------------------------------------------
// The dispatch table: which class each value of the low ten bits belongs to

enum class InstructionClass : u8 {
    None,
    TwoOperands,
    OneOperand,
    TestBranch,
    FlagBranch,
    TableJump,
    Single,
    NoOperation,
    Illegal,
};

struct ClassRow {
    u16 mask;
    u16 bits;
    InstructionClass kind;
};

inline constexpr ClassRow kClassRows[] = {
    {7, 0, InstructionClass::TestBranch},
    {31, 4, InstructionClass::Illegal},
    {31, 31, InstructionClass::NoOperation},
    {63, kTableJumpCode, InstructionClass::TableJump},
    {127, kFlagBranchCode, InstructionClass::FlagBranch},
    {1023, 300, InstructionClass::NoOperation},
    {1023, 556, InstructionClass::NoOperation},
    {1023, 660, InstructionClass::NoOperation},
    {1023, 812, InstructionClass::NoOperation},
    {1023, 1023, InstructionClass::NoOperation},  // also claimed by the row of 31
};

namespace opcode_tables {

struct ClassTable {
    std::array<InstructionClass, 1024> kinds{};
    std::array<u8, 1024> claims{};

    constexpr void Claim(u32 mask, u32 bits, InstructionClass kind) {
        for (u32 slot = 0; slot < 1024; ++slot) {
            if ((slot & mask) == bits) {
                kinds[slot] = kind;
                ++claims[slot];
            }
        }
    }
};

constexpr ClassTable BuildClassTable() {
    ClassTable table;
    for (const ClassRow& row : kClassRows) {
        table.Claim(row.mask, row.bits, row.kind);
    }
    for (const OperandForm& form : kTwoOperandForms) {
        table.Claim(31, form.code, InstructionClass::TwoOperands);
    }
    for (const OneOperandForm& form : kOneOperandForms) {
        table.Claim(255, form.code, InstructionClass::OneOperand);
    }
    for (const SingleInstruction& single : kSingleInstructions) {
        table.Claim(1023, single.code, InstructionClass::Single);
    }
    return table;
}

inline constexpr ClassTable kClassTable = BuildClassTable();

constexpr bool EverySlotIsClaimedOnce() {
    for (u32 slot = 0; slot < 1024; ++slot) {
        const u32 expected = slot == 1023 ? 2 : 1;
        if (kClassTable.claims[slot] != expected) {
            return false;
        }
    }
    return true;
}
static_assert(EverySlotIsClaimedOnce(), "a dispatch slot is empty or claimed twice");

constexpr std::array<OperandForm, 32> BuildFormTable() {
    std::array<OperandForm, 32> table{};
    for (const OperandForm& form : kTwoOperandForms) {
        table[form.code] = form;
    }
    return table;
}

inline constexpr std::array<OperandForm, 32> kFormTable = BuildFormTable();

}  // namespace opcode_tables

constexpr InstructionClass ClassOf(u32 w) {
    return opcode_tables::kClassTable.kinds[w & 1023];
}

// ---------------------------------------------------------------------------------------------
// Rows of the tables, for a word of their class

constexpr const OperandForm& FindForm(u32 w) {
    return opcode_tables::kFormTable[TwoOperandForm(w)];
}

// The form of a pair of modes, or null: two operands cannot both be immediate, for instance.
constexpr const OperandForm* FindForm(Mode a, Mode b) {
    for (const OperandForm& form : kTwoOperandForms) {
        if (form.a == a && form.b == b) {
            return &form;
        }
    }
    return nullptr;
}

constexpr const OneOperandForm& FindOneOperandForm(u32 w) {
    for (const OneOperandForm& form : kOneOperandForms) {
        if (form.code == OneOperandFormCode(w)) {
            return form;
        }
    }
    return kOneOperandForms[0];
}

// The code of a mode that one-operand instructions have.
constexpr u8 OneOperandCode(Mode mode) {
    for (const OneOperandForm& form : kOneOperandForms) {
        if (form.mode == mode) {
            return form.code;
        }
    }
    return 0;
}

// The row whose group of numbers holds `number`; null for an illegal one. A group goes up to the
// next multiple of 4.
template <std::size_t kCount>
constexpr const Operation* FindOperation(const Operation (&rows)[kCount], u32 number) {
    for (const Operation& row : rows) {
        const u32 end = row.sizes == Sizes::Single ? row.first + 1u : (row.first & ~3u) + 4;
        if (number >= row.first && number < end) {
            return &row;
        }
    }
    return nullptr;
}

constexpr bool IsLegalTwoOperand(u32 w) {
    return FindOperation(kTwoOperandOperations, TwoOperandNumber(w)) != nullptr;
}

// Numbers below FNEG's are its illegal sizes: they report that and go on.
constexpr bool IsLegalOneOperand(u32 w) {
    const u32 number = OneOperandNumber(w);
    return number < static_cast<u32>(OneOperand::Fneg) ||
           FindOperation(kOneOperandOperations, number) != nullptr;
}

constexpr Single SingleOf(u32 w) {
    return static_cast<Single>(w & 1023);
}

constexpr const SingleInstruction& FindSingle(u32 w) {
    for (const SingleInstruction& row : kSingleInstructions) {
        if (row.code == (w & 1023)) {
            return row;
        }
    }
    return kSingleInstructions[0];
}

}  // namespace moxi
