#include "wasm/code.h"

namespace moxi {

namespace {

bool IsOneOf(TwoOperand op, TwoOperand a, TwoOperand b) {
    return op == a || op == b;
}

Roles RolesOfTwo(const Instruction& instruction) {
    const auto op = static_cast<TwoOperand>(instruction.operation);
    Roles roles;
    roles.readsB = instruction.b.place == Place::Register;
    if (instruction.a.place != Place::Register) {
        return roles;
    }
    roles.readsA = true;
    roles.writesA = !IsOneOf(op, TwoOperand::Cmp, TwoOperand::Test);
    // What a shorter size leaves of the register counts as read. LEA is used only where nobody
    // looks at the upper half.
    const bool isWhole = op == TwoOperand::Movez || op == TwoOperand::Lea ||
                         (op == TwoOperand::Move && instruction.size == OperandSize::Quad);
    if (isWhole) {
        roles.readsA = false;
    }
    return roles;
}

Roles RolesOfOne(const Instruction& instruction) {
    const auto op = static_cast<OneOperand>(instruction.operation);
    Roles roles;
    if (instruction.a.place != Place::Register) {
        return roles;
    }
    roles.readsA = op != OneOperand::Pop;
    roles.writesA = op != OneOperand::Tst && op != OneOperand::Push && op != OneOperand::Pea;
    return roles;
}

}  // namespace

Roles RolesOf(const Instruction& instruction) {
    Roles roles;
    switch (instruction.kind) {
        case Kind::Two: return RolesOfTwo(instruction);
        case Kind::One: return RolesOfOne(instruction);
        case Kind::TestBranch:
        case Kind::CallRegister:
        case Kind::TableJump: roles.readsA = instruction.a.place == Place::Register; return roles;
        default: return roles;
    }
}

bool SetsFlags(const Instruction& instruction) {
    if (instruction.kind == Kind::TestBranch) {
        return true;
    }
    if (instruction.kind == Kind::One) {
        const auto op = static_cast<OneOperand>(instruction.operation);
        return op == OneOperand::Not || op == OneOperand::Tst;
    }
    if (instruction.kind != Kind::Two) {
        return false;
    }
    switch (static_cast<TwoOperand>(instruction.operation)) {
        case TwoOperand::Asr:
        case TwoOperand::Lsr:
        case TwoOperand::Lsl:
        case TwoOperand::Sub:
        case TwoOperand::Cmp:
        case TwoOperand::Test:
        case TwoOperand::And:
        case TwoOperand::Xor: return true;
        default: return false;
    }
}

bool IsPure(const Instruction& instruction) {
    if (instruction.a.place != Place::Register) {
        return false;
    }
    if (instruction.kind == Kind::Two) {
        switch (static_cast<TwoOperand>(instruction.operation)) {
            case TwoOperand::Divs:
            case TwoOperand::Divu:
            case TwoOperand::Mods:
            case TwoOperand::Modu: {
                // A constant divisor cannot fault unless it is 0, or -1, by which the lowest number
                // cannot be divided; 0xFFFFFFFF is -1 in 32 bits.
                const Operand& by = instruction.b;
                return by.place == Place::Immediate && by.value != 0 && by.value != -1 &&
                       by.value != 0xFFFFFFFF;
            }
            case TwoOperand::Cmp:
            case TwoOperand::Test:
            case TwoOperand::Blockmove:
            case TwoOperand::Pushblock:
            case TwoOperand::Peekblock: return false;
            default: return true;
        }
    }
    if (instruction.kind != Kind::One) {
        return false;
    }
    const auto op = static_cast<OneOperand>(instruction.operation);
    return op != OneOperand::Push && op != OneOperand::Pop && op != OneOperand::Pea &&
           op != OneOperand::Tst;
}

}  // namespace moxi
