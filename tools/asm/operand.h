#pragma once
// Parses the operands of an instruction as they are written.

#include "tools/asm/symbols.h"

namespace moxi {

namespace mxasm {

enum class OperandKind : u8 { Register, Indexed, Absolute, Frame, Immediate };

// The form in which the source asks for an immediate: #.I or #.Q.
enum class Forced : u8 { None, Immediate, Quick };

struct Operand {
    OperandKind kind = OperandKind::Register;
    Forced forced = Forced::None;
    bool hasValue = false;  // false: `[R3]` and `[FP]`, offset 0
    u32 reg = 0;            // of Register and Indexed
    Expression value;       // offset, address or immediate
    SourcePosition position;
};

// Parses one operand at the cursor. False when an error was reported.
bool ParseOperand(Sources& sources, SymbolTable& table, Cursor& cursor, Operand& out);

// Parses a register, `R3` or `R(expression)` with a value of at most 32 bits. Returns false without
// moving the cursor or reporting when there is none; `bad` is set when there is a wrong one.
bool ParseRegister(Sources& sources, SymbolTable& table, Cursor& cursor, u32& reg, bool& bad);

}  // namespace mxasm

}  // namespace moxi
