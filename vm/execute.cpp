#include "vm/execute.h"

#include <cstring>

#include "vm/alu.h"
#include "vm/diagnostics.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/opcodes.h"
#include "vm/slots.h"

namespace moxi {

namespace {

constexpr u32 kBlockReserve = 100;  // PUSHBLOCK keeps this much of the stack free
constexpr u32 kModalContextSize = 140;
constexpr u32 kRegisterFileSize = 128;
constexpr u32 kFirstSavedRegisterEnd = RegisterAddress(14);  // LINK saves R(14-n)..R13

u32 RegisterLow(u32 r) {
    return Load<u32>(RegisterAddress(r));
}

template <class T>
void Push(Cpu& cpu, T value) {
    cpu.sp -= u32{sizeof(T)};
    Store<T>(cpu.sp, value);
}

template <class T>
T Pop(Cpu& cpu) {
    const T value = Load<T>(cpu.sp);
    cpu.sp += u32{sizeof(T)};
    return value;
}

// --- Ways a run ends. They and the modal waits below stay out of line: their texts and arrays
// would bring a guard on the stack to every instruction.

[[gnu::cold, gnu::noinline]] Outcome IllegalOpcode(u32 at) {
    ShowFatalMessage(
        FormatText("Illegal opcode at 0x%8.8X\nTerminating program. So terribly sorry.", at));
    runState |= kRunStop;
    return Outcome::Leave;
}

[[gnu::cold, gnu::noinline]] Outcome StackOverflow(u32 at) {
    ShowFatalMessage(FormatText("Stack overflow at 0x%8.8X. Terminating. So sorry.", at));
    runState |= kRunStop;
    return Outcome::Leave;
}

[[gnu::cold, gnu::noinline]] void ReportIllegalSize(u32 at) {
    ShowFatalMessage(FormatText("BYTE/WORD size illegal for FLOAT/DOUBLE at 0x%8.8X", at));
}

// --- Operand addresses

void FillQuick(u32 size, i32 value) {
    if (size == static_cast<u32>(OperandSize::Quad)) {
        Store<u64>(kImmediateSlot, static_cast<u64>(i64{value}));
    } else {
        Store<u32>(kImmediateSlot, static_cast<u32>(value));
    }
}

struct Operands {
    u32 a;
    u32 b;
    u32 next;  // address after the instruction
};

// Takes the extension words in order and computes both addresses; an immediate or quick source
// goes into the immediate slot.
struct Decoder {
    u32 w;
    u32 fp;
    u32 next;

    u32 Extension() {
        const u32 value = Load<u32>(next);
        next += 4;
        return value;
    }
    u32 FieldValue(Field field) const {
        return field == Field::High ? HighRegister(w) : LowRegister(w);
    }
    u32 Address(Mode mode, Field field) {
        switch (mode) {
            case Mode::Register: return RegisterAddress(FieldValue(field));
            case Mode::Indexed: {
                const u32 base = RegisterLow(FieldValue(field));
                return Extension() + base;
            }
            case Mode::Absolute: return Extension();
            case Mode::Frame: return fp + static_cast<u32>(FrameOffset(w));
            case Mode::Frame32: return fp + Extension();
            case Mode::Quick:
                FillQuick(TwoOperandNumber(w) & 3,
                          field == Field::High ? HighQuick(w) : LowQuick(w));
                return kImmediateSlot;
            case Mode::Immediate: break;
        }
        const u32 low = Extension();
        if ((TwoOperandNumber(w) & 3) == static_cast<u32>(OperandSize::Quad)) {
            Store<u64>(kImmediateSlot, low | u64{Extension()} << 32);
        } else {
            Store<u32>(kImmediateSlot, low);
        }
        return kImmediateSlot;
    }
};

Operands DecodeTwoOperands(u32 w, const Cpu& cpu) {
    const OperandForm& form = FindForm(w);
    Decoder decoder{w, cpu.fp, cpu.pc + 4};
    const u32 a = decoder.Address(form.a, form.aField);
    const u32 b = decoder.Address(form.b, form.bField);
    return {a, b, decoder.next};
}

// --- Two-operand operations

template <class T, T (*operation)(T, T)>
void Combine(const Operands& at) {
    Store<T>(at.a, operation(Load<T>(at.a), Load<T>(at.b)));
}

template <class T>
void StoreWithFlags(Cpu& cpu, u32 address, T value) {
    Store<T>(address, value);
    cpu.flags = FlagsOf(value);
}

// Operations that exist at all four integer sizes. `op` is the number of the BYTE size.
template <class T>
void IntegerOperation(TwoOperand op, const Operands& at, Cpu& cpu) {
    switch (op) {
        case TwoOperand::Divs: Combine<T, DivideSigned<T>>(at); return;
        case TwoOperand::Mods: Combine<T, RemainderSigned<T>>(at); return;
        case TwoOperand::Divu: Combine<T, Divide<T>>(at); return;
        case TwoOperand::Modu: Combine<T, Remainder<T>>(at); return;
        case TwoOperand::Mul: Combine<T, Multiply<T>>(at); return;
        case TwoOperand::Asr:
            StoreWithFlags(cpu, at.a, ShiftRightSigned(Load<T>(at.a), Load<u8>(at.b)));
            return;
        case TwoOperand::Lsr:
            StoreWithFlags(cpu, at.a, ShiftRight(Load<T>(at.a), Load<u8>(at.b)));
            return;
        case TwoOperand::Lsl:
            StoreWithFlags(cpu, at.a, ShiftLeft(Load<T>(at.a), Load<u8>(at.b)));
            return;
        case TwoOperand::Add: Store<T>(at.a, static_cast<T>(Load<T>(at.a) + Load<T>(at.b))); return;
        case TwoOperand::Sub:
            StoreWithFlags(cpu, at.a, static_cast<T>(Load<T>(at.a) - Load<T>(at.b)));
            return;
        case TwoOperand::Cmp:
            cpu.flags = FlagsOf(static_cast<T>(Load<T>(at.a) - Load<T>(at.b)));
            return;
        case TwoOperand::Test:
            cpu.flags = FlagsOf(static_cast<T>(Load<T>(at.a) & Load<T>(at.b)));
            return;
        case TwoOperand::And:
            StoreWithFlags(cpu, at.a, static_cast<T>(Load<T>(at.a) & Load<T>(at.b)));
            return;
        case TwoOperand::Or: Store<T>(at.a, static_cast<T>(Load<T>(at.a) | Load<T>(at.b))); return;
        case TwoOperand::Xor:
            StoreWithFlags(cpu, at.a, static_cast<T>(Load<T>(at.a) ^ Load<T>(at.b)));
            return;
        case TwoOperand::Move: Store<T>(at.a, Load<T>(at.b)); return;
        case TwoOperand::Movez: Store<u64>(at.a, Load<T>(at.b)); return;
        default: return;
    }
}

template <class Float>
using IntegerOfFloat = std::conditional_t<sizeof(Float) == 4, u32, u64>;

template <class T>
void FloatOperation(TwoOperand op, const Operands& at) {
    switch (op) {
        case TwoOperand::Fadd: Store<T>(at.a, Load<T>(at.a) + Load<T>(at.b)); return;
        case TwoOperand::Fsub: Store<T>(at.a, Load<T>(at.a) - Load<T>(at.b)); return;
        case TwoOperand::Fmul: Store<T>(at.a, Load<T>(at.a) * Load<T>(at.b)); return;
        case TwoOperand::Fdiv: Store<T>(at.a, Load<T>(at.a) / Load<T>(at.b)); return;
        case TwoOperand::Fcmp:
            // Reads both and changes nothing: its flags would be lost to the write-back.
            KeepLoad(std::bit_cast<IntegerOfFloat<T>>(Load<T>(at.a)));
            KeepLoad(std::bit_cast<IntegerOfFloat<T>>(Load<T>(at.b)));
            return;
        default: return;
    }
}

void BlockMove(const Operands& at, u32 size) {
    const u64 bytes = u64{Load<u32>(kHeaderBlockCount)} << size;
    const u8* const source = CheckedRange(at.b, bytes);
    u8* const destination = CheckedRange(at.a, bytes);
    if (bytes != 0) {
        std::memmove(destination, source, bytes);
    }
}

u32 BlockLength(const Operands& at, u32 size) {
    return size == 0 ? Load<u8>(at.a) : Load<u16>(at.a);
}

Outcome PushBlock(u32 w, const Operands& at, Cpu& cpu) {
    const u32 n = TwoOperandForm(w) == kCountInWordForm ? at.a  // the first extension word itself
                                                        : BlockLength(at, TwoOperandNumber(w) & 3);
    if (u64{n} + Load<u32>(kHeaderStackLimit) + kBlockReserve > cpu.sp) {
        return StackOverflow(cpu.pc);
    }
    const u8* const source = CheckedRange(at.b, n);
    u8* const destination = CheckedRange(cpu.sp - n, n);
    if (n != 0) {
        std::memmove(destination, source, n);
    }
    cpu.sp -= n;
    return Outcome::Continue;
}

Outcome PeekBlock(u32 w, const Operands& at, const Cpu& cpu) {
    const u32 n = BlockLength(at, TwoOperandNumber(w) & 3);
    if (u64{cpu.sp} + n > Load<u32>(kHeaderStackTop)) {
        return StackOverflow(cpu.pc);
    }
    const u8* const source = CheckedRange(cpu.sp, n);
    u8* const destination = CheckedRange(at.b, n);
    if (n != 0) {
        std::memmove(destination, source, n);
    }
    return Outcome::Continue;
}

Outcome TwoOperands(u32 w, Cpu& cpu) {
    const Operands at = DecodeTwoOperands(w, cpu);
    const u32 number = TwoOperandNumber(w);
    const u32 size = number & 3;
    const auto op = static_cast<TwoOperand>(number & ~3u);
    if (op <= TwoOperand::Movez) {
        switch (static_cast<OperandSize>(size)) {
            case OperandSize::Byte: IntegerOperation<u8>(op, at, cpu); break;
            case OperandSize::Word: IntegerOperation<u16>(op, at, cpu); break;
            case OperandSize::Long: IntegerOperation<u32>(op, at, cpu); break;
            case OperandSize::Quad: IntegerOperation<u64>(op, at, cpu); break;
        }
    } else if (op <= TwoOperand::Fcmp) {
        switch (static_cast<OperandSize>(size)) {
            case OperandSize::Long: FloatOperation<f32>(op, at); break;
            case OperandSize::Quad: FloatOperation<f64>(op, at); break;
            default: ReportIllegalSize(cpu.pc);
        }
    } else {
        Outcome outcome = Outcome::Continue;
        switch (op) {
            case TwoOperand::Lea: Store<u32>(at.a, at.b); break;
            case TwoOperand::Blockmove: BlockMove(at, size); break;
            case TwoOperand::Pushblock: outcome = PushBlock(w, at, cpu); break;
            case TwoOperand::Peekblock: outcome = PeekBlock(w, at, cpu); break;
            default: outcome = IllegalOpcode(cpu.pc);
        }
        if (outcome == Outcome::Leave) {
            return outcome;
        }
    }
    cpu.pc = at.next;
    return Outcome::Continue;
}

// --- One-operand operations

template <class T>
void IntegerOperation(OneOperand op, u32 e, Cpu& cpu) {
    using PushedAs = std::conditional_t<sizeof(T) == 1, u16, T>;
    switch (op) {
        case OneOperand::Neg: Store<T>(e, static_cast<T>(0 - Load<T>(e))); return;
        case OneOperand::Not: StoreWithFlags(cpu, e, static_cast<T>(~Load<T>(e))); return;
        case OneOperand::Tst: cpu.flags = FlagsOf(Load<T>(e)); return;
        case OneOperand::Push: Push<PushedAs>(cpu, Load<T>(e)); return;
        case OneOperand::Pop: Store<T>(e, static_cast<T>(KeepLoad(Pop<PushedAs>(cpu)))); return;
        case OneOperand::Utof:
            Store<u64>(e, std::bit_cast<u32>(static_cast<f32>(Load<T>(e))));
            return;
        case OneOperand::Stof:
            Store<u64>(e,
                       std::bit_cast<u32>(static_cast<f32>(static_cast<SignedOf<T>>(Load<T>(e)))));
            return;
        case OneOperand::Utod: Store<f64>(e, static_cast<f64>(Load<T>(e))); return;
        case OneOperand::Stod:
            Store<f64>(e, static_cast<f64>(static_cast<SignedOf<T>>(Load<T>(e))));
            return;
        default: return;
    }
}

template <class T>
void Extend(OneOperand op, u32 e) {
    const T value = Load<T>(e);
    Store<u64>(e, op == OneOperand::Extz ? u64{value}
                                         : static_cast<u64>(i64{static_cast<SignedOf<T>>(value)}));
}

void ExtendBySize(OneOperand op, u32 size, u32 e) {
    switch (static_cast<OperandSize>(size)) {
        case OperandSize::Byte: Extend<u8>(op, e); return;
        case OperandSize::Word: Extend<u16>(op, e); return;
        case OperandSize::Long: Extend<u32>(op, e); return;
        case OperandSize::Quad: return;  // the fourth number does nothing
    }
}

void NegateFloat(u32 number, u32 at, u32 e) {
    constexpr u32 kSignBit = 0x80000000;
    switch (number) {
        case static_cast<u32>(OneOperand::Fneg): Store<u32>(e, Load<u32>(e) ^ kSignBit); return;
        case static_cast<u32>(OneOperand::Dneg):
            // Only the low half of the negated value is stored, and that half did not change.
            KeepLoad(Load<u64>(e));
            return;
        default: ReportIllegalSize(at);
    }
}

Outcome ApplyOneOperand(u32 number, u32 e, Cpu& cpu) {
    const u32 size = number & 3;
    const auto op = static_cast<OneOperand>(number & ~3u);
    if (number < static_cast<u32>(OneOperand::Neg)) {
        NegateFloat(number, cpu.pc, e);
        return Outcome::Continue;
    }
    switch (op) {
        case OneOperand::Neg:
        case OneOperand::Not:
        case OneOperand::Tst:
        case OneOperand::Push:
        case OneOperand::Pop:
        case OneOperand::Utof:
        case OneOperand::Stof:
        case OneOperand::Utod:
        case OneOperand::Stod:
            switch (static_cast<OperandSize>(size)) {
                case OperandSize::Byte: IntegerOperation<u8>(op, e, cpu); break;
                case OperandSize::Word: IntegerOperation<u16>(op, e, cpu); break;
                case OperandSize::Long: IntegerOperation<u32>(op, e, cpu); break;
                case OperandSize::Quad: IntegerOperation<u64>(op, e, cpu); break;
            }
            break;
        case OneOperand::Pea: Push<u32>(cpu, e); break;
        case OneOperand::Extz:
        case OneOperand::Exts: ExtendBySize(op, size, e); break;
        case OneOperand::Ftoq: Store<u64>(e, TruncateToQuad(Load<f32>(e))); break;
        case OneOperand::Dtoq: Store<u64>(e, TruncateToQuad(Load<f64>(e))); break;
        case OneOperand::Ftod: Store<f64>(e, static_cast<f64>(Load<f32>(e))); break;
        case OneOperand::Dtol:
            Store<u32>(e, static_cast<u32>(TruncateToQuad(static_cast<f32>(Load<f64>(e)))));
            break;
        default: return IllegalOpcode(cpu.pc);
    }
    return Outcome::Continue;
}

Outcome OneOperandInstruction(u32 w, Cpu& cpu) {
    u32 next = cpu.pc + 4;
    u32 e = 0;
    switch (OneOperandFormCode(w)) {
        case kIndexedForm: e = Load<u32>(next) + RegisterLow(HighRegister(w)), next += 4; break;
        case kFrameForm: e = cpu.fp + static_cast<u32>(FrameOffset(w)); break;
        case kRegisterForm: e = RegisterAddress(WideRegister(w)); break;
        default: e = Load<u32>(next), next += 4;
    }
    if (ApplyOneOperand(OneOperandNumber(w), e, cpu) == Outcome::Leave) {
        return Outcome::Leave;
    }
    cpu.pc = next;
    return Outcome::Continue;
}

// --- Branches

// Whether a branch is taken, for each condition (entries) and each value of the flag byte (bits).
constexpr u8 TakenMask(Condition condition) {
    u8 mask = 0;
    for (u32 flags = 0; flags < 8; ++flags) {
        if (Holds(condition, static_cast<u8>(flags))) {
            mask = static_cast<u8>(mask | 1u << flags);
        }
    }
    return mask;
}

constexpr u8 kTakenMasks[8] = {
    TakenMask(Condition::Eq), TakenMask(Condition::Ne), TakenMask(Condition::Ge),
    TakenMask(Condition::Gt), TakenMask(Condition::Le), TakenMask(Condition::Lt),
    TakenMask(Condition::Ev), TakenMask(Condition::Od),
};

bool IsTaken(u32 w, u8 flags) {
    return (kTakenMasks[BranchCondition(w)] >> (flags & 7) & 1) != 0;
}

void TestAndBranch(u32 w, Cpu& cpu) {
    const u32 x = Load<u32>(cpu.pc + 4);
    u32 e = x;
    switch (static_cast<TestOperand>(TestMode(w))) {
        case TestOperand::Register: e = RegisterAddress(x); break;
        case TestOperand::Absolute: break;
        case TestOperand::Indirect: e = RegisterLow(x); break;
        case TestOperand::Frame32: e = cpu.fp + x; break;
    }
    switch (static_cast<OperandSize>(TestSize(w))) {
        case OperandSize::Byte: cpu.flags = FlagsOf(Load<u8>(e)); break;
        case OperandSize::Word: cpu.flags = FlagsOf(Load<u16>(e)); break;
        case OperandSize::Long: cpu.flags = FlagsOf(Load<u32>(e)); break;
        case OperandSize::Quad: cpu.flags = FlagsOf(Load<u64>(e)); break;
    }
    cpu.pc = IsTaken(w, cpu.flags) ? BranchTarget(w) : cpu.pc + 8;
}

// --- Calls, returns and modal waits

void Call(u32 w, u32 target, u32 length, Cpu& cpu) {
    pcPreJsr = cpu.pc + 4;
    Push<u32>(cpu, ArgumentBytes(w));
    Push<u32>(cpu, cpu.pc + length);
    cpu.pc = target;
}

void Link(u32 w, Cpu& cpu) {
    const u32 savedSize = 8 * SavedRegisters(w);
    Push<u32>(cpu, cpu.fp);
    cpu.fp = cpu.sp;
    cpu.sp = cpu.fp - (LocalBytes(w) + savedSize);
    std::memmove(CheckedRange(cpu.sp, savedSize), image + kFirstSavedRegisterEnd - savedSize,
                 savedSize);
    cpu.pc += 4;
}

Outcome Return(u32 w, Cpu& cpu) {
    const u32 savedSize = 8 * SavedRegisters(w);
    std::memmove(image + kFirstSavedRegisterEnd - savedSize, CheckedRange(cpu.sp, savedSize),
                 savedSize);
    const u32 oldFP = Load<u32>(cpu.fp);
    const u32 returnAddress = Load<u32>(cpu.fp + 4);
    const u32 argumentBytes = Load<u32>(cpu.fp + 8);
    cpu.sp = cpu.fp + 12 + argumentBytes;
    ReleaseFrameLocks(cpu.sp);
    cpu.fp = oldFP;
    cpu.pc = returnAddress;
    return returnAddress == 0 ? Outcome::Leave : Outcome::Continue;
}

[[gnu::noinline]] Outcome EnterModal(Cpu& cpu) {
    u8 context[kModalContextSize];
    const u32 words[] = {Load<u32>(kHeaderModalChain), cpu.fp, cpu.pc + 4};
    std::memcpy(context, words, sizeof words);
    std::memcpy(context + sizeof words, image + kHeaderRegisters, kRegisterFileSize);
    cpu.sp -= kModalContextSize;
    std::memcpy(CheckedRange(cpu.sp, kModalContextSize), context, kModalContextSize);
    Store<u32>(kHeaderModalChain, cpu.sp);
    ++modalDepth;
    cpu.pc += 4;
    return Outcome::Leave;
}

[[gnu::noinline]] Outcome LeaveModal(Cpu& cpu) {
    if (modalDepth < 1) {
        ShowFatalMessage(FormatText("Illegal EMOD at 0x%8.8X", cpu.pc));
        return Outcome::Leave;
    }
    --modalDepth;
    const u32 at = Load<u32>(kHeaderModalChain);
    u8 context[kModalContextSize];
    std::memcpy(context, CheckedRange(at, kModalContextSize), kModalContextSize);
    u32 words[3];
    std::memcpy(words, context, sizeof words);
    Store<u32>(kHeaderModalChain, words[0]);
    cpu.fp = words[1];
    cpu.pc = words[2];
    std::memcpy(image + kHeaderRegisters, context + sizeof words, kRegisterFileSize);
    cpu.sp = at + kModalContextSize;
    return Outcome::Continue;
}

Outcome SingleInstructionAt(u32 w, Cpu& cpu) {
    const u32 at = cpu.pc;
    switch (SingleOf(w)) {
        case Single::Debuglog:
            AppendDebugLog(CheckedString(Load<u32>(kHeaderR15)));
            cpu.pc += 4;
            break;
        case Single::Jmp: cpu.pc = BranchTarget(w); break;
        case Single::Call: Call(w, Load<u32>(at + 4), 8, cpu); break;
        case Single::Callr: Call(w, RegisterLow(CallRegister(w)), 4, cpu); break;
        case Single::PushWordExt:
        case Single::PushWordExt2:
            Push<u16>(cpu, static_cast<u16>(KeepLoad(Load<u32>(at + 4))));
            cpu.pc += 8;
            break;
        case Single::PushWord:
        case Single::PushWord2:
            Push<u16>(cpu, static_cast<u16>(w >> 10));
            cpu.pc += 4;
            break;
        case Single::PushLongExt:
            Push<u32>(cpu, Load<u32>(at + 4));
            cpu.pc += 8;
            break;
        case Single::PushLong:
            Push<u32>(cpu, static_cast<u32>(static_cast<i32>(w) >> 10));
            cpu.pc += 4;
            break;
        case Single::PushQuadExt:
            Push<u64>(cpu, Load<u32>(at + 4) | u64{Load<u32>(at + 8)} << 32);
            cpu.pc += 12;
            break;
        case Single::PushQuad:
            Push<u64>(cpu, static_cast<u64>(i64{static_cast<i32>(w) >> 10}));
            cpu.pc += 4;
            break;
        case Single::Sys:
            // The header holds this instruction's PC, and the current SP, FP and flags.
            vmSlots.sysDispatch();
            cpu.pc += 4;
            break;
        case Single::Link: Link(w, cpu); break;
        case Single::Return: return Return(w, cpu);
        case Single::Nop: cpu.pc += 4; break;
        case Single::Stop: runState |= kRunStop; return Outcome::Leave;
        case Single::ModalNotify: presentNotify = true; return EnterModal(cpu);
        case Single::Modal: return EnterModal(cpu);
        case Single::Emod: return LeaveModal(cpu);
    }
    return Outcome::Continue;
}

}  // namespace

Cpu ReadCpu() {
    return {Load<u32>(kHeaderPC), Load<u32>(kHeaderSP), Load<u32>(kHeaderFP),
            static_cast<u8>(Load<u8>(kHeaderFlags) & (kOdd | kZero | kNeg))};
}

void WriteBack(const Cpu& cpu) {
    Store<u8>(kHeaderFlags, cpu.flags);
    Store<u32>(kHeaderPC, cpu.pc);
    Store<u32>(kHeaderSP, cpu.sp);
    Store<u32>(kHeaderFP, cpu.fp);
}

Outcome Execute(u32 w, Cpu& cpu) {
    switch (ClassOf(w)) {
        case InstructionClass::TwoOperands: return TwoOperands(w, cpu);
        case InstructionClass::OneOperand: return OneOperandInstruction(w, cpu);
        case InstructionClass::TestBranch: TestAndBranch(w, cpu); return Outcome::Continue;
        case InstructionClass::FlagBranch:
            cpu.pc = IsTaken(w, cpu.flags) ? BranchTarget(w) : cpu.pc + 4;
            return Outcome::Continue;
        case InstructionClass::TableJump:
            cpu.pc = Load<u32>(BranchTarget(w) + RegisterLow(TableRegister(w)));
            return Outcome::Continue;
        case InstructionClass::Single: return SingleInstructionAt(w, cpu);
        case InstructionClass::NoOperation: cpu.pc += 4; return Outcome::Continue;
        case InstructionClass::Illegal:
        case InstructionClass::None: break;
    }
    return IllegalOpcode(cpu.pc);
}

}  // namespace moxi
