#include "tests/support/plain_executor.h"

#include <cmath>
#include <cstring>

#include "tests/support/plain_machine.h"

namespace moxi {

namespace plain {
namespace {

// ---------------------------------------------------------------------------------------------
// Two-operand operations

// Bits 11..15 of a two-operand instruction.
enum Group : u32 {
    kDivs = 0,
    kMods = 1,
    kAsr = 2,
    kDivu = 3,
    kModu = 4,
    kLsr = 5,
    kAdd = 6,
    kSub = 7,
    kCmp = 8,
    kMul = 9,
    kTest = 10,
    kLsl = 11,
    kAnd = 12,
    kOr = 13,
    kXor = 14,
    kMove = 15,
    kMovez = 16,
    kFadd = 17,
    kFsub = 18,
    kFmul = 19,
    kFdiv = 20,
    kFcmp = 21,
    kLea = 22,
    kBlockmove = 23,
    kPushblock = 30,
    kPeekblock = 31
};

enum class Division { SignedQuotient, SignedRemainder, UnsignedQuotient, UnsignedRemainder };

u64 Divide(Division kind, u64 a, u64 b, u32 size) {
    if (b == 0) {
        throw Halt{Outcome::DivisionError};
    }
    if (kind == Division::UnsignedQuotient) {
        return a / b;
    }
    if (kind == Division::UnsignedRemainder) {
        return a % b;
    }
    const i64 sa = Signed(a, size);
    const i64 sb = Signed(b, size);
    const i64 lowest = Signed(u64{1} << (BitsOf(size) - 1), size);
    if (sa == lowest && sb == -1) {
        throw Halt{Outcome::DivisionError};
    }
    return static_cast<u64>(kind == Division::SignedQuotient ? sa / sb : sa % sb);
}

template <class Real>
Real Arithmetic(State& run, u32 group, Real a, Real b) {
    if (std::isnan(a) && std::isnan(b)) {
        run.m.nansMet = true;
    }
    switch (group) {
        case kFadd: return a + b;
        case kFsub: return a - b;
        case kFmul: return a * b;
        default: return a / b;
    }
}

// FADD, FSUB, FMUL, FDIV and FCMP. None leaves a trace in the flags.
void FloatingPoint(State& run, u32 group, u32 size, Operands o) {
    if (size < 2) {
        IllegalFloatSize(run);
        return;
    }
    const u64 a = Read(run.m, o.a, BytesOf(size));
    const u64 b = Read(run.m, o.b, BytesOf(size));
    if (group == kFcmp) {
        return;  // it looks at its operands, and that is all
    }
    const u64 result = size == 2 ? BitsOfFloat(Arithmetic(run, group, FloatOf(a), FloatOf(b)))
                                 : BitsOfDouble(Arithmetic(run, group, DoubleOf(a), DoubleOf(b)));
    Write(run.m, o.a, result, BytesOf(size));
}

void PushBlock(State& run, u32 w, u32 size, Operands o) {
    u32 n = o.a;
    if ((w & 31) != 5) {
        n = static_cast<u32>(Read(run.m, o.a, size == 0 ? 1 : 2));
    }
    const u64 lowest = u64{Read32(run.m, kStackLimit)} + 100;
    if (n > run.sp || run.sp - n < lowest) {
        StackOverflow(run);
    }
    CopyBlock(run.m, run.sp - n, o.b, n);
    run.sp -= n;
}

void PeekBlock(State& run, u32 size, Operands o) {
    const u32 n = static_cast<u32>(Read(run.m, o.a, size == 0 ? 1 : 2));
    if (Read32(run.m, kStackTop) < u64{run.sp} + n) {
        StackOverflow(run);
    }
    CopyBlock(run.m, o.b, run.sp, n);
}

void TwoOperandInstruction(State& run, u32 w) {
    Machine& m = run.m;
    const u32 number = (w >> 9) & 127;
    const u32 group = number >> 2;
    const u32 size = number & 3;
    const u32 bytes = BytesOf(size);
    const Operands o = TwoOperands(run, w, size);

    const auto a = [&] { return Read(m, o.a, bytes); };
    const auto b = [&] { return Read(m, o.b, bytes); };
    const auto count = [&] { return Read(m, o.b, 1) & (size == 3 ? 63 : 31); };
    const auto store = [&](u64 value) { Write(m, o.a, value, bytes); };
    const auto storeWithFlags = [&](u64 value) {
        Write(m, o.a, value, bytes);
        run.flags = FlagsOf(value, size);
    };

    switch (group) {
        case kDivs: store(Divide(Division::SignedQuotient, a(), b(), size)); return;
        case kMods: store(Divide(Division::SignedRemainder, a(), b(), size)); return;
        case kAsr: {
            const i64 value = Signed(a(), size);
            storeWithFlags(static_cast<u64>(value >> count()));
            return;
        }
        case kDivu: store(Divide(Division::UnsignedQuotient, a(), b(), size)); return;
        case kModu: store(Divide(Division::UnsignedRemainder, a(), b(), size)); return;
        case kLsr: storeWithFlags(a() >> count()); return;
        case kAdd: store(a() + b()); return;
        case kSub: storeWithFlags(a() - b()); return;
        case kCmp: run.flags = FlagsOf(a() - b(), size); return;
        case kMul: store(a() * b()); return;
        case kTest: run.flags = FlagsOf(a() & b(), size); return;
        case kLsl: storeWithFlags(a() << count()); return;
        case kAnd: storeWithFlags(a() & b()); return;
        case kOr: store(a() | b()); return;
        case kXor: storeWithFlags(a() ^ b()); return;
        case kMove: store(b()); return;
        case kMovez: Write(m, o.a, b(), 8); return;
        case kFadd:
        case kFsub:
        case kFmul:
        case kFdiv:
        case kFcmp: FloatingPoint(run, group, size, o); return;
        case kLea: Write(m, o.a, o.b, 4); return;
        case kBlockmove: CopyBlock(m, o.a, o.b, u64{Read32(m, kBlockCount)} * bytes); return;
        case kPushblock: PushBlock(run, w, size, o); return;
        case kPeekblock: PeekBlock(run, size, o); return;
        default: IllegalOpcode(run);
    }
}

// ---------------------------------------------------------------------------------------------
// One-operand operations

u32 OneOperand(State& run, u32 w) {
    switch (w & 255) {
        case 108: return Indexed(run, NextExtensionWord(run), (w >> 16) & 15);
        case 172: return FrameAddress(run, w);
        case 212: return RegisterSlot(w >> 16);
        default:  // 236
            return NextExtensionWord(run);
    }
}

// Bits 10..14 of a one-operand instruction.
enum OneOperandGroup : u32 {
    kENeg = 1,
    kENot = 2,
    kETst = 3,
    kEPush = 4,
    kEPop = 5,
    kEPea = 6,
    kEExtz = 8,
    kEExts = 9,
    kEUtof = 10,
    kEStof = 11,
    kEUtod = 12,
    kEStod = 13,
    kEFtoq = 14,
    kEDtoq = 15,
    kEFtod = 16,
    kEDtol = 17
};

void OneOperandInstruction(State& run, u32 w) {
    Machine& m = run.m;
    const u32 number = (w >> 8) & 127;
    const u32 size = number & 3;
    const u32 bytes = BytesOf(size);
    const u32 e = OneOperand(run, w);
    const auto value = [&] { return Read(m, e, bytes); };

    switch (number >> 2) {
        case 0:
            if (size < 2) {
                IllegalFloatSize(run);
            } else if (size == 2) {  // FNEG
                Write(m, e, Read(m, e, 4) ^ 0x80000000u, 4);
            } else {  // DNEG: the low half of the result is the low half of the value
                Write(m, e, Read(m, e, 8), 4);
            }
            return;
        case kENeg: Write(m, e, 0 - value(), bytes); return;
        case kENot: {
            const u64 result = ~value();
            Write(m, e, result, bytes);
            run.flags = FlagsOf(result, size);
            return;
        }
        case kETst: run.flags = FlagsOf(value(), size); return;
        case kEPush: Push(run, value(), size == 0 ? 2 : bytes); return;
        case kEPop: {
            const u64 popped = Read(m, run.sp, size == 0 ? 2 : bytes);
            Write(m, e, popped, bytes);
            run.sp += size == 0 ? 2 : bytes;
            return;
        }
        case kEPea: Push(run, e, 4); return;
        case kEExtz:
            if (size < 3) {
                Write(m, e, value(), 8);
            }
            return;
        case kEExts:
            if (size < 3) {
                Write(m, e, static_cast<u64>(Signed(value(), size)), 8);
            }
            return;
        case kEUtof: Write(m, e, BitsOfFloat(static_cast<f32>(value())), 8); return;
        case kEStof: Write(m, e, BitsOfFloat(static_cast<f32>(Signed(value(), size))), 8); return;
        case kEUtod: Write(m, e, BitsOfDouble(static_cast<f64>(value())), 8); return;
        case kEStod: Write(m, e, BitsOfDouble(static_cast<f64>(Signed(value(), size))), 8); return;
        case kEFtoq: Write(m, e, TruncateToQuad(f64{FloatOf(Read(m, e, 4))}), 8); return;
        case kEDtoq: Write(m, e, TruncateToQuad(DoubleOf(Read(m, e, 8))), 8); return;
        case kEFtod: Write(m, e, BitsOfDouble(f64{FloatOf(Read(m, e, 4))}), 8); return;
        case kEDtol: {
            const f32 rounded = static_cast<f32>(DoubleOf(Read(m, e, 8)));
            Write(m, e, TruncateToQuad(f64{rounded}), 4);
            return;
        }
        default: IllegalOpcode(run);
    }
}

// ---------------------------------------------------------------------------------------------
// Branches

bool Holds(u32 condition, u8 flags) {
    const bool odd = (flags & kOddFlag) != 0;
    const bool zero = (flags & kZeroFlag) != 0;
    const bool neg = (flags & kNegFlag) != 0;
    switch (condition) {
        case 0: return zero;
        case 1: return !zero;
        case 2: return !neg;
        case 3: return !zero && !neg;
        case 4: return zero || neg;
        case 5: return neg;
        case 6: return !odd;
        default: return odd;
    }
}

void BranchIf(State& run, u32 w) {
    if (Holds((w >> 7) & 7, run.flags)) {
        run.next = (w >> 10) * 4;
    }
}

void TestAndBranch(State& run, u32 w) {
    const u32 x = NextExtensionWord(run);
    u32 address = 0;
    switch ((w >> 3) & 3) {
        case 0: address = RegisterSlot(x); break;
        case 1: address = x; break;
        case 2: address = Read32(run.m, RegisterSlot(x)); break;
        default: address = run.fp + x; break;
    }
    const u32 size = (w >> 5) & 3;
    run.flags = FlagsOf(Read(run.m, address, BytesOf(size)), size);
    BranchIf(run, w);
}

void JumpThroughMemory(State& run, u32 w) {
    const u32 table = (w >> 10) * 4;
    run.next = Read32(run.m, Indexed(run, table, (w >> 6) & 15));
}

// ---------------------------------------------------------------------------------------------
// Calls and run control

void Call(State& run, u32 target, u32 argumentBytes) {
    run.m.pcPreJsr = run.pc + 4;
    Push(run, argumentBytes, 4);
    Push(run, run.next, 4);
    run.next = target;
}

void Link(State& run, u32 w) {
    const u32 n = (w >> 10) & 15;
    Push(run, run.fp, 4);
    run.fp = run.sp;
    run.sp = run.fp - ((w >> 14) + 8 * n);
    CopyBlock(run.m, run.sp, 8 + 8 * (14 - n), u64{8} * n);
}

void Return(State& run, u32 w) {
    const u32 n = (w >> 10) & 15;
    CopyBlock(run.m, 8 + 8 * (14 - n), run.sp, u64{8} * n);
    const u32 oldFP = Read32(run.m, run.fp);
    const u32 returnAddress = Read32(run.m, run.fp + 4);
    const u32 argumentBytes = Read32(run.m, run.fp + 8);
    run.sp = run.fp + 12 + argumentBytes;
    run.m.releaseFrameLocks(run.sp);
    run.fp = oldFP;
    run.next = returnAddress;
    if (returnAddress == 0) {
        throw Halt{Outcome::Returned};
    }
}

// The context is gathered before any of it is stored: previous chain, FP, PC, R0 .. R15.
[[noreturn]] void Modal(State& run) {
    Machine& m = run.m;
    const u32 words[3] = {Read32(m, kModalChain), run.fp, run.next};
    const std::vector<u8> registers(&m.memory[RegisterSlot(0)], &m.memory[RegisterSlot(16)]);
    run.sp -= 140;
    u8* const context = Range(m, run.sp, 140);
    std::memcpy(context, words, 12);
    std::memcpy(context + 12, registers.data(), 128);
    Write(m, kModalChain, run.sp, 4);
    ++m.modalDepth;
    throw Halt{Outcome::Modal};
}

void Emod(State& run) {
    Machine& m = run.m;
    if (m.modalDepth < 1) {
        m.messages.push_back(WithAddress("Illegal EMOD at 0x%8.8X", run.pc));
        run.next = run.pc;
        throw Halt{Outcome::BadEmod};
    }
    --m.modalDepth;
    const u32 c = Read32(m, kModalChain);
    const u8* const start = Range(m, c, 140);
    const std::vector<u8> context(start, start + 140);
    std::memcpy(&run.fp, &context[4], 4);
    std::memcpy(&run.next, &context[8], 4);
    std::memcpy(&m.memory[kModalChain], &context[0], 4);
    std::memcpy(&m.memory[RegisterSlot(0)], &context[12], 128);
    run.sp = c + 140;
}

void AppendDebugString(State& run) {
    u32 address = Read32(run.m, kR15);
    std::string text;
    while (const u64 c = Read(run.m, address, 1)) {
        text += static_cast<char>(c);
        ++address;
    }
    run.m.debugLog += text;
}

// ---------------------------------------------------------------------------------------------
// One instruction

// True where the low ten bits name one of the twenty single instructions; it has been performed.
bool SingleInstruction(State& run, u32 w) {
    const u64 shortValue = static_cast<u64>(i64{static_cast<i32>(w) >> 10});
    switch (w & 1023) {
        case 20: AppendDebugString(run); return true;
        case 44:  // JMP
            run.next = (w >> 10) * 4;
            return true;
        case 84: {
            const u32 target = NextExtensionWord(run);
            Call(run, target, w >> 16);
            return true;
        }
        case 116:
        case 372: Push(run, NextExtensionWord(run), 2); return true;
        case 148: run.m.presentNotify = true; Modal(run);
        case 244:
        case 500: Push(run, w >> 10, 2); return true;
        case 276: run.m.sys(run.m); return true;
        case 340: Link(run, w); return true;
        case 404:  // NOP
            return true;
        case 532:  // STOP
            run.m.runState |= 1;
            run.next = run.pc;
            throw Halt{Outcome::Stopped};
        case 596: Return(run, w); return true;
        case 628: Push(run, NextExtensionWord(run), 4); return true;
        case 756: Push(run, shortValue, 4); return true;
        case 788: Modal(run);
        case 852:  // CALLR
            Call(run, Read32(run.m, RegisterSlot((w >> 12) & 15)), w >> 16);
            return true;
        case 884: {
            const u64 low = NextExtensionWord(run);
            const u64 high = NextExtensionWord(run);
            Push(run, high << 32 | low, 8);
            return true;
        }
        case 916: Emod(run); return true;
        case 1012: Push(run, shortValue, 8); return true;
        default: return false;
    }
}

void Execute(State& run, u32 w) {
    if ((w & 7) == 0) {
        TestAndBranch(run, w);
    } else if ((w & 31) == 4) {
        IllegalOpcode(run);
    } else if ((w & 31) == 31) {
        return;
    } else if ((w & 31) != 12 && (w & 31) != 20) {
        TwoOperandInstruction(run, w);
    } else if ((w & 63) == 12) {
        JumpThroughMemory(run, w);
    } else if ((w & 127) == 52) {
        BranchIf(run, w);
    } else if ((w & 255) == 108 || (w & 255) == 172 || (w & 255) == 212 || (w & 255) == 236) {
        OneOperandInstruction(run, w);
    } else {
        // What is no single instruction does nothing: 300, 556, 660 and 812.
        SingleInstruction(run, w);
    }
}

void WriteBack(State& run) {
    Write(run.m, kFlags, run.flags, 1);
    Write(run.m, kPC, run.next, 4);
    Write(run.m, kSP, run.sp, 4);
    Write(run.m, kFP, run.fp, 4);
}

// Faults leave the header as the instruction left it, and say what happened.
void ReportFault(Machine& m, Outcome outcome) {
    std::string line = "PC trace:";
    const size_t count = m.trace.size();
    for (size_t i = count < 16 ? 0 : count - 16; i < count; ++i) {
        line += WithAddress(" 0x%8.8X", m.trace[i]);
    }
    m.debugLog += line + "\n";
    const char* format = outcome == Outcome::MemoryFault
                             ? "Memory fault at 0x%8.8X. Terminating. So sorry."
                             : "Division error at 0x%8.8X. Terminating. So sorry.";
    m.messages.push_back(WithAddress(format, Read32(m, kPC)));
}

}  // namespace

const char* OutcomeName(Outcome outcome) {
    switch (outcome) {
        case Outcome::Returned: return "returned";
        case Outcome::Stopped: return "stopped";
        case Outcome::Modal: return "modal";
        case Outcome::IllegalOpcode: return "illegal opcode";
        case Outcome::StackOverflow: return "stack overflow";
        case Outcome::BadEmod: return "bad EMOD";
        case Outcome::MemoryFault: return "memory fault";
        case Outcome::DivisionError: return "division error";
        case Outcome::BudgetSpent: return "budget spent";
    }
    return "?";
}

Machine MakeMachine(const std::vector<u8>& image) {
    Machine m;
    m.memory = image;
    m.memory.resize((image.size() + 63) / 64 * 64);
    return m;
}

Outcome Run(Machine& m, u64 budget) {
    State run{m,
              0,
              Read32(m, kPC),
              Read32(m, kSP),
              Read32(m, kFP),
              static_cast<u8>(Read(m, kFlags, 1) & 7)};
    for (u64 done = 0; done < budget; ++done) {
        run.pc = run.next;
        m.trace.push_back(run.pc);
        try {
            const u32 w = Read32(m, run.pc);
            run.next = run.pc + 4;
            Execute(run, w);
        } catch (const Halt& halt) {
            if (halt.outcome == Outcome::MemoryFault || halt.outcome == Outcome::DivisionError) {
                ReportFault(m, halt.outcome);
            } else {
                WriteBack(run);
            }
            return halt.outcome;
        }
        WriteBack(run);
    }
    return Outcome::BudgetSpent;
}

}  // namespace plain

}  // namespace moxi
