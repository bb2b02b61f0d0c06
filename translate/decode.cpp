#include "translate/decode.h"

#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kLastRegister = 15;

bool IsFloatOperation(TwoOperand op) {
    return op >= TwoOperand::Fadd && op <= TwoOperand::Fcmp;
}

// An absolute operand in the header may see or change the machine's state. The count of block
// moves is nothing but memory.
bool IsInHeader(Mode mode, u32 word) {
    return mode == Mode::Absolute && word < kHeaderSize && word != kHeaderBlockCount;
}

// The same for an operand of so many bytes that is only read: the registers may be.
bool IsReadInHeader(Mode mode, u32 word, u32 bytes) {
    const bool isInRegisters = word >= kHeaderRegisters && word + bytes <= kHeaderPC;
    return IsInHeader(mode, word) && !isInRegisters;
}

bool IsInMemory(Mode mode) {
    return mode == Mode::Indexed || mode == Mode::Absolute || mode == Mode::Frame ||
           mode == Mode::Frame32;
}

bool HasWord(Mode mode) {
    return mode == Mode::Indexed || mode == Mode::Absolute || mode == Mode::Frame32 ||
           mode == Mode::Immediate;
}

void DecodeTwoOperands(DecodedInstruction& in) {
    in.form = FindForm(in.w);
    const u32 number = TwoOperandNumber(in.w);
    const u32 size = number & 3;
    in.length = in.form.length + (in.form.b == Mode::Immediate && size == 3 ? 4 : 0);
    const TwoOperand op = TwoOperandOf(in);
    const bool isBlockMove =
        op == TwoOperand::Blockmove && IsInMemory(in.form.a) && IsInMemory(in.form.b);
    const bool known = IsFloatOperation(op)
                           ? size >= 2
                           : op <= TwoOperand::Movez || op == TwoOperand::Lea || isBlockMove;
    const u32 wordOfB = HasWord(in.form.a) ? in.words[1] : in.words[0];
    const bool readsA = op == TwoOperand::Cmp || op == TwoOperand::Test || op == TwoOperand::Fcmp;
    const bool seesHeader =
        (readsA ? IsReadInHeader(in.form.a, in.words[0], 1u << size)
                : IsInHeader(in.form.a, in.words[0])) ||
        (op != TwoOperand::Lea && IsReadInHeader(in.form.b, wordOfB, 1u << size));
    if (known && !seesHeader) {
        in.flow = Flow::Next;
    } else {
        in.flow = IsLegalTwoOperand(in.w) ? Flow::Interpreter : Flow::End;
    }
}

void DecodeOneOperand(DecodedInstruction& in) {
    const OneOperandForm& form = FindOneOperandForm(in.w);
    in.mode = form.mode;
    in.length = form.length;
    const u32 number = OneOperandNumber(in.w);
    const OneOperand op = OneOperandOf(in);
    const u32 size = number & 3;
    bool known = op <= OneOperand::Pea || (op >= OneOperand::Utof && op <= OneOperand::Dtol);
    if (number < 4) {
        known = op == OneOperand::Fneg;
    }
    if (op == OneOperand::Extz || op == OneOperand::Exts) {
        known = size != 3;
    }
    if (in.mode == Mode::Register && WideRegister(in.w) > kLastRegister) {
        known = false;
    }
    const bool reads = op == OneOperand::Tst || op == OneOperand::Push;
    if (reads && IsReadInHeader(in.mode, in.words[0], 1u << size)) {
        known = false;
    }
    if (!reads && op != OneOperand::Pea && IsInHeader(in.mode, in.words[0])) {
        known = false;
    }
    const bool isLegal = IsLegalOneOperand(in.w);
    in.flow = known ? Flow::Next : isLegal ? Flow::Interpreter : Flow::End;
}

void DecodeTestBranch(DecodedInstruction& in) {
    in.length = 8;
    in.target = BranchTarget(in.w);
    const auto mode = static_cast<TestOperand>(TestMode(in.w));
    const bool needsRegister = mode == TestOperand::Register || mode == TestOperand::Indirect;
    const bool known = needsRegister
                           ? in.words[0] <= kLastRegister
                           : mode == TestOperand::Frame32 ||
                                 !IsReadInHeader(Mode::Absolute, in.words[0], 1u << TestSize(in.w));
    in.flow = known ? Flow::Branch : Flow::Interpreter;
}

void DecodeSingle(DecodedInstruction& in) {
    in.length = FindSingle(in.w).length;
    switch (SingleOf(in.w)) {
        case Single::Jmp:
            in.target = BranchTarget(in.w);
            in.flow = Flow::Jump;
            break;
        case Single::Call:
            in.target = in.words[0];
            in.flow = Flow::Call;
            break;
        case Single::Callr: in.flow = Flow::CallThrough; break;
        case Single::Return: in.flow = SavedRegisters(in.w) < 15 ? Flow::Away : Flow::End; break;
        case Single::Link:
            in.flow = SavedRegisters(in.w) < 15 ? Flow::Next : Flow::Interpreter;
            break;
        case Single::Stop: in.flow = Flow::End; break;
        case Single::Sys:
        case Single::Debuglog:
        case Single::Modal:
        case Single::ModalNotify:
        case Single::Emod: in.flow = Flow::Interpreter; break;
        default: in.flow = Flow::Next; break;
    }
}

}  // namespace

DecodedInstruction DecodeInstruction(u32 pc) {
    DecodedInstruction in;
    in.pc = pc;
    in.w = Load<u32>(pc);
    in.words[0] = Load<u32>(pc + 4);
    in.words[1] = Load<u32>(pc + 8);
    in.kind = ClassOf(in.w);
    switch (in.kind) {
        case InstructionClass::TwoOperands: DecodeTwoOperands(in); break;
        case InstructionClass::OneOperand: DecodeOneOperand(in); break;
        case InstructionClass::TestBranch: DecodeTestBranch(in); break;
        case InstructionClass::FlagBranch:
            in.target = BranchTarget(in.w);
            in.flow = Flow::Branch;
            break;
        case InstructionClass::TableJump: in.flow = Flow::Away; break;
        case InstructionClass::Single: DecodeSingle(in); break;
        case InstructionClass::NoOperation: in.flow = Flow::Next; break;
        default: in.flow = Flow::End;
    }
    return in;
}

}  // namespace moxi
