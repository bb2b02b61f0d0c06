#pragma once
// Instructions as the translator sees them: what they are, how long, where they may go on.

#include "base/types.h"
#include "vm/opcodes.h"

namespace moxi {

enum class Flow : u8 {
    Next,         // goes on behind itself
    Branch,       // to `target` or behind itself
    Jump,         // to `target`
    Call,         // to `target`, and later behind itself
    CallThrough,  // to where a register points, and later behind itself
    Away,         // to where memory says: RETURN and the jump through memory
    Interpreter,  // the interpreter executes it, and what is behind it begins anew
    End,          // the interpreter executes it; what is behind it is not code for certain
};

struct DecodedInstruction {
    u32 pc = 0;
    u32 w = 0;
    u32 words[2] = {};  // the extension words
    u32 length = 4;     // bytes
    u32 target = 0;
    InstructionClass kind = InstructionClass::None;
    Flow flow = Flow::Interpreter;
    // Of two operands.
    OperandForm form = {};
    // Of one operand.
    Mode mode = Mode::Register;
};

// Decodes the instruction at `pc`, where at least 12 bytes of the image lie.
DecodedInstruction DecodeInstruction(u32 pc);

constexpr TwoOperand TwoOperandOf(const DecodedInstruction& instruction) {
    return static_cast<TwoOperand>(TwoOperandNumber(instruction.w) & ~3u);
}
constexpr OneOperand OneOperandOf(const DecodedInstruction& instruction) {
    const u32 number = OneOperandNumber(instruction.w);
    return static_cast<OneOperand>(number < 4 ? number : number & ~3u);
}

// The size, 0 to 3, of an instruction with one or two operands.
constexpr u32 SizeOf(const DecodedInstruction& instruction) {
    return instruction.kind == InstructionClass::TwoOperands ? TwoOperandNumber(instruction.w) & 3
                                                             : OneOperandNumber(instruction.w) & 3;
}

}  // namespace moxi
