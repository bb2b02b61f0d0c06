#include "translate/emit.h"

#include <cstddef>
#include <cstring>

#include "translate/emit_operations.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/threaded.h"

namespace moxi {

using namespace asmjit;

namespace {

// The variables of the machine that translated code reaches by their distance from the state.
template <class T>
i32 DistanceOf(const T& variable) {
    return static_cast<i32>(reinterpret_cast<intptr_t>(&variable) -
                            reinterpret_cast<intptr_t>(&translatedState));
}

x86::Mem StateField(size_t offset, u32 size) {
    return x86::Mem(kStateRegister, static_cast<i32>(offset), size);
}

// --- Where blocks go on

void GoTo(Emission& e, u32 target) {
    const int block = BlockAt(e.region, target);
    if (block >= 0) {
        e.a.jmp(e.labels[static_cast<size_t>(block)]);
    } else {
        e.a.mov(x86::eax, target);
        e.a.jmp(reinterpret_cast<u64>(e.shared.jump));
    }
}

x86::Mem LogPlace() {
    return x86::dword_ptr(kStateRegister, x86::r14, 2,
                          static_cast<i32>(offsetof(TranslatedState, log)));
}

// Notes the block in the log of blocks.
void EmitNote(Emission& e, size_t number) {
    const u32 offset =
        static_cast<u32>(e.base - translatedState.codeMemory) + static_cast<u32>(e.a.offset());
    e.out.blocks.push_back({static_cast<u32>(e.a.offset()), static_cast<u32>(e.out.places.size()),
                            e.region.blocks[number].count});
    e.firstPlace = static_cast<u32>(e.out.places.size());
    e.a.mov(LogPlace(), offset);
    e.a.inc(x86::r14b);
}

// --- Branches

x86::CondCode CodeOf(Condition condition) {
    switch (condition) {
        case Condition::Eq:
        case Condition::Ev: return x86::CondCode::kZ;
        case Condition::Ge: return x86::CondCode::kNS;
        case Condition::Gt: return x86::CondCode::kSignedGT;
        case Condition::Le: return x86::CondCode::kSignedLE;
        case Condition::Lt: return x86::CondCode::kS;
        default: return x86::CondCode::kNZ;
    }
}

// Goes to the target when the newest result fulfils the condition. The processor's own flags serve
// where they are that result's, but for conditions that would look at OVERFLOW.
void EmitBranch(Emission& e, const Instruction& in) {
    const auto condition = static_cast<Condition>(BranchCondition(in.w));
    const bool isParity = condition == Condition::Ev || condition == Condition::Od;
    const bool looksAtOverflow = condition == Condition::Gt || condition == Condition::Le;
    if (isParity) {
        e.a.test(x86::r15b, 1);
    } else if (!e.flagsFit || looksAtOverflow) {
        e.a.test(x86::r15, x86::r15);
    }
    const int block = BlockAt(e.region, in.target);
    const bool isLast = e.index + 1 == e.block.count;
    if (block >= 0 && isLast) {
        e.a.j(CodeOf(condition), e.labels[static_cast<size_t>(block)]);
        return;
    }
    const Label side = e.a.newLabel();
    e.a.j(CodeOf(condition), side);
    e.sideExits.push_back({side, in.target, e.firstPlace, e.index + 1});
    e.flagsFit = !isParity;
}

void EmitTestBranch(Emission& e, const Instruction& in) {
    const u32 x = in.words[0];
    Place place;
    switch (static_cast<TestOperand>(TestMode(in.w))) {
        case TestOperand::Register: place = RegisterPlace(x); break;
        case TestOperand::Absolute: place = AbsolutePlace(e, x, x86::rdx, Use::Read); break;
        case TestOperand::Indirect: place = PointerPlace(e, x, 0, x86::rdx, Use::Read); break;
        default: place = FramePlace(e, x, x86::rdx, Use::Read); break;
    }
    LoadSigned(e, x86::r15, place, TestSize(in.w));
    e.flagsFit = false;
    EmitBranch(e, in);
}

void EmitTableJump(Emission& e, const Instruction& in) {
    const Place entry =
        PointerPlace(e, TableRegister(in.w), BranchTarget(in.w), x86::rdx, Use::Read);
    e.a.mov(x86::eax, MemoryOf(entry, 2));
    e.a.jmp(reinterpret_cast<u64>(e.shared.jump));
}

// --- Calls and returns

x86::Mem InStack(const x86::Gp& pointer, i32 offset, u32 size) {
    return x86::Mem(kImage, pointer, 0, offset, size);
}

// Leaves when a narrow register is not; the block has been executed.
void RequireNarrow(Emission& e) {
    bool isFirst = true;
    for (u32 number = 0; number < 16; ++number) {
        if (!IsNarrow(e, number)) continue;
        const x86::Gp host = HostRegister(hostOf[number]);
        if (isFirst) {
            e.a.mov(x86::rcx, host);
        } else {
            e.a.or_(x86::rcx, host);
        }
        isFirst = false;
    }
    if (isFirst) return;
    e.a.shr(x86::rcx, 32);
    e.a.jnz(reinterpret_cast<u64>(e.shared.leaveAfter));
}

// Where a RETURN comes back to, with the address that it found in eax.
void EmitReturned(Emission& e, u32 next) {
    e.a.cmp(x86::eax, next);
    e.a.jne(reinterpret_cast<u64>(e.shared.jump));
    RequireNarrow(e);
    GoTo(e, next);
}

void EmitCall(Emission& e, const Instruction& in) {
    RequireStack(e, x86::r12d, 8, Use::Write);
    const bool isThrough = in.flow == Flow::CallThrough;
    if (isThrough) LoadValue(e, x86::rax, RegisterPlace(CallRegister(in.w)), 2);
    e.a.mov(StateField(static_cast<size_t>(DistanceOf(pcPreJsr)), 4), in.pc + 4);
    e.a.mov(InStack(x86::r12, -4, 4), ArgumentBytes(in.w));
    e.a.mov(InStack(x86::r12, -8, 4), in.pc + in.length);
    e.a.sub(x86::r12d, 8);
    const Label hasRoom = e.a.newLabel();
    e.a.cmp(x86::rsp, StateField(offsetof(TranslatedState, hostStackLimit), 8));
    e.a.ja(hasRoom);
    e.a.call(reinterpret_cast<u64>(e.shared.emptyStack));
    e.a.bind(hasRoom);
    const int block = isThrough ? -1 : BlockAt(e.region, in.target);
    if (block >= 0) {
        e.a.call(e.labels[static_cast<size_t>(block)]);
    } else {
        if (!isThrough) e.a.mov(x86::eax, in.target);
        e.a.call(reinterpret_cast<u64>(e.shared.jump));
    }
    EmitReturned(e, in.pc + in.length);
}

void EmitLink(Emission& e, const Instruction& in) {
    const u32 count = SavedRegisters(in.w);
    const u32 room = 4 + LocalBytes(in.w) + 8 * count;
    RequireStack(e, x86::r12d, room, Use::Write);
    e.a.mov(InStack(x86::r12, -4, 4), x86::r13d);
    for (u32 i = 0; i < count; ++i) {
        const u32 number = 14 - count + i;
        const x86::Mem to = InStack(x86::r12, static_cast<i32>(8 * i - room), 8);
        if (hostOf[number] != kNoHost) {
            e.a.mov(to, HostRegister(hostOf[number]));
        } else {
            e.a.mov(x86::rax, MemoryOf(RegisterPlace(number), 3));
            e.a.mov(to, x86::rax);
        }
    }
    e.a.lea(x86::r13, x86::ptr(x86::r12, -4));
    e.a.sub(x86::r12d, room);
    // What was stored at the new SP - and FP, as nothing lies beyond the image - is above all code,
    // and so is what lies between.
    e.safeFrame = 4 - static_cast<i32>(room);
}

void EmitReturn(Emission& e, const Instruction& in) {
    const u32 count = SavedRegisters(in.w);
    RequireStack(e, x86::r13d, 0, Use::Read);
    const i32& locked = heapListHeads[static_cast<u32>(HeapList::Locked)];
    e.a.cmp(StateField(static_cast<size_t>(DistanceOf(locked)), 4), 0);
    e.a.jge(LeaveLabel(e));
    if (count != 0) RequireStack(e, x86::r12d, 0, Use::Read);
    e.a.mov(x86::eax, InStack(x86::r13, 4, 4));
    e.a.cmp(x86::eax, kHeaderSize);
    e.a.jb(LeaveLabel(e));
    // What cannot be read is found out before anything has changed.
    e.a.mov(x86::ecx, InStack(x86::r13, 8, 4));
    if (count != 0) e.a.cmp(InStack(x86::r12, static_cast<i32>(8 * count - 1), 1), 0);
    e.a.mov(x86::edx, InStack(x86::r13, 0, 4));
    for (u32 i = 0; i < count; ++i) {
        const u32 number = 14 - count + i;
        const x86::Mem saved = InStack(x86::r12, static_cast<i32>(8 * i), 8);
        if (hostOf[number] != kNoHost) {
            e.a.mov(HostRegister(hostOf[number]), saved);
        } else {
            e.a.movq(x86::xmm0, saved);
            e.a.movq(MemoryOf(RegisterPlace(number), 3), x86::xmm0);
        }
    }
    e.a.lea(x86::r12d, x86::ptr(x86::r13, x86::rcx, 0, 12));
    e.a.mov(x86::r13d, x86::edx);
    // Calls have left on the processor's stack where they go on, if eax is what they expect.
    e.a.ret();
}

// --- Instructions

void EmitSingle(Emission& e, const Instruction& in) {
    switch (SingleOf(in.w)) {
        case Single::Nop: return;
        case Single::Jmp: GoTo(e, in.target); return;
        case Single::Call:
        case Single::Callr: EmitCall(e, in); return;
        case Single::Link: EmitLink(e, in); return;
        case Single::Return: EmitReturn(e, in); return;
        default: EmitPushConstant(e, in); return;
    }
}

void EmitInstruction(Emission& e, const Instruction& in) {
    if (in.kind != InstructionClass::FlagBranch) e.flagsFit = false;
    if (in.flow == Flow::Interpreter || in.flow == Flow::End) {
        e.a.jmp(LeaveLabel(e));
        return;
    }
    switch (in.kind) {
        case InstructionClass::TwoOperands: EmitTwoOperands(e, in); return;
        case InstructionClass::OneOperand: EmitOneOperand(e, in); return;
        case InstructionClass::TestBranch: EmitTestBranch(e, in); return;
        case InstructionClass::FlagBranch: EmitBranch(e, in); return;
        case InstructionClass::TableJump: EmitTableJump(e, in); return;
        case InstructionClass::Single: EmitSingle(e, in); return;
        default: return;  // no operation
    }
}

void EmitBlock(Emission& e, size_t number) {
    e.block = e.region.blocks[number];
    e.flagsFit = false;
    e.safeFrame = kNoSafeFrame;
    e.a.bind(e.labels[number]);
    EmitNote(e, number);
    for (e.index = 0; e.index < e.block.count; ++e.index) {
        const Instruction& in = e.region.instructions[e.block.first + e.index];
        e.in = &in;
        e.leave.reset();
        e.out.places.push_back({static_cast<u32>(e.a.offset()), in.pc, e.index});
        EmitInstruction(e, in);
    }
    const Instruction& last = *e.in;
    const bool goesOn = last.flow == Flow::Next || last.flow == Flow::Branch;
    if (!goesOn) return;
    const u32 next = last.pc + last.length;
    const bool follows = number + 1 < e.region.blocks.size() &&
                         BlockAt(e.region, next) == static_cast<int>(number + 1);
    if (!follows) GoTo(e, next);
}

// The log is told how much of its block was executed.
void EmitSideExits(Emission& e) {
    for (const Emission::SideExit& side : e.sideExits) {
        e.a.bind(side.label);
        const u32 offset = static_cast<u32>(e.a.offset());
        e.out.blocks.push_back({offset, side.firstPlace, side.executed});
        e.a.dec(x86::r14b);
        e.a.mov(LogPlace(), static_cast<u32>(e.base - translatedState.codeMemory) + offset);
        e.a.inc(x86::r14b);
        GoTo(e, side.target);
    }
}

void EmitDepartures(Emission& e) {
    for (const Emission::Departure& departure : e.departures) {
        e.a.bind(departure.label);
        e.a.mov(x86::eax, departure.pc);
        e.a.mov(x86::edx, departure.executed);
        e.a.jmp(reinterpret_cast<u64>(e.shared.leave));
    }
}

// --- The entries of a region

// Where other code comes in: rdx the block, eax its address. Regions that were not compared with
// the module's code since the interpreter ran are left, and those whose narrow registers are not
// narrow.
void EmitEntryCheck(Emission& e, const Label& check, const u32* generation) {
    e.a.bind(check);
    e.a.mov(x86::rcx, reinterpret_cast<u64>(generation));
    e.a.mov(x86::ecx, x86::dword_ptr(x86::rcx));
    e.a.cmp(x86::ecx, StateField(offsetof(TranslatedState, generation), 4));
    e.a.jne(reinterpret_cast<u64>(e.shared.arrive));
    RequireNarrow(e);
    e.a.jmp(x86::rdx);
}

void EmitEntries(Emission& e, const u32* generation) {
    const Label check = e.a.newLabel();
    for (size_t i = 0; i < e.region.blocks.size(); ++i) {
        const u32 pc = e.region.instructions[e.region.blocks[i].first].pc;
        e.out.entries.push_back({pc, static_cast<u32>(e.a.offset())});
        e.a.lea(x86::rdx, x86::ptr(e.labels[i]));
        e.a.jmp(check);
    }
    EmitEntryCheck(e, check, generation);
}

// --- Which registers stay narrow

bool WritesWholeRegister(const Instruction& in, u32& number) {
    if (in.flow == Flow::Interpreter || in.flow == Flow::End) return false;
    if (in.kind == InstructionClass::TwoOperands && in.form.a == Mode::Register) {
        number = LowRegister(in.w);
        const TwoOperand op = TwoOperandOf(in);
        const bool writes =
            op != TwoOperand::Cmp && op != TwoOperand::Test && op != TwoOperand::Fcmp;
        return writes && op != TwoOperand::Lea && SizeOf(in) == 3;
    }
    if (in.kind == InstructionClass::OneOperand && in.mode == Mode::Register) {
        number = WideRegister(in.w);
        const OneOperand op = OneOperandOf(in);
        switch (op) {
            case OneOperand::Neg:
            case OneOperand::Not:
            case OneOperand::Pop: return SizeOf(in) == 3;
            case OneOperand::Exts:
            case OneOperand::Utod:
            case OneOperand::Stod:
            case OneOperand::Ftoq:
            case OneOperand::Dtoq:
            case OneOperand::Ftod: return true;
            default: return false;
        }
    }
    return false;
}

// A bit for each register that an operand may name.
u16 UsedRegisters(const Instruction& in) {
    u32 used = 0;
    if (in.kind == InstructionClass::TwoOperands) {
        used = 1u << LowRegister(in.w) | 1u << HighRegister(in.w);
    } else if (in.kind == InstructionClass::OneOperand) {
        used = 1u << HighRegister(in.w);
    } else if (in.kind == InstructionClass::TestBranch) {
        used = 1u << (in.words[0] & 15);
    }
    return static_cast<u16>(used);
}

u16 NarrowRegisters(const Region& region) {
    u16 used = 0;
    for (const Instruction& in : region.instructions) {
        used = static_cast<u16>(used | UsedRegisters(in));
    }
    u16 narrow = 0;
    for (u32 number = 0; number < 16; ++number) {
        const bool isHere = hostOf[number] != kNoHost && (used >> number & 1) != 0;
        if (isHere) narrow = static_cast<u16>(narrow | 1u << number);
    }
    for (const Instruction& in : region.instructions) {
        u32 number = 0;
        if (WritesWholeRegister(in, number)) narrow = static_cast<u16>(narrow & ~(1u << number));
    }
    return narrow;
}

std::vector<u8> CodeOf(CodeHolder& holder, u8* base) {
    holder.flatten();
    holder.resolveUnresolvedLinks();
    holder.relocateToBase(reinterpret_cast<u64>(base));
    std::vector<u8> bytes(holder.codeSize());
    holder.copyFlattenedData(bytes.data(), bytes.size());
    return bytes;
}

constexpr x86::Gp kKept[] = {x86::rbx, x86::rbp, x86::r12, x86::r13, x86::r14, x86::r15};

// Into or out of the header's registers.
void MoveHostRegisters(x86::Assembler& a, bool isLoad) {
    for (u32 number = 0; number < 16; ++number) {
        if (hostOf[number] == kNoHost) continue;
        const x86::Gp host = HostRegister(hostOf[number]);
        const x86::Mem slot = x86::qword_ptr(kImage, static_cast<i32>(RegisterAddress(number)));
        if (isLoad) {
            a.mov(host, slot);
        } else {
            a.mov(slot, host);
        }
    }
}

// A handler: base, pc, sp, fp, trace, w in rdi, rsi, rdx, rcx, r8, r9d.
void EmitEnter(x86::Assembler& a, const Label& jump, const Label& emptyStack) {
    for (const x86::Gp& kept : kKept) a.push(kept);
    a.sub(x86::rsp, 8);
    a.mov(kImage, x86::rdi);
    a.mov(x86::eax, x86::esi);
    a.mov(x86::r12d, x86::edx);
    a.mov(x86::r13d, x86::ecx);
    a.mov(kStateRegister, reinterpret_cast<u64>(&translatedState));
    // The run's number goes on from here when it leaves; an unused last place says that the log has
    // not come round.
    a.mov(StateField(offsetof(TranslatedState, numberAtEntry), 8), x86::r8);
    a.xor_(x86::r14d, x86::r14d);
    a.mov(StateField(offsetof(TranslatedState, log) + size_t{4} * (kLogSize - 1), 4), 0);
    a.mov(x86::r15, StateField(static_cast<size_t>(DistanceOf(lastThreadedResult)), 8));
    MoveHostRegisters(a, true);
    a.mov(StateField(offsetof(TranslatedState, hostStack), 8), x86::rsp);
    a.lea(x86::rax, x86::ptr(x86::rsp, -kHostStackSize));
    a.mov(StateField(offsetof(TranslatedState, hostStackLimit), 8), x86::rax);
    const Label underflow = a.newLabel();
    const Label begin = a.newLabel();
    a.jmp(begin);
    // A RETURN of a call that the interpreter made, or that was forgotten.
    a.bind(underflow);
    a.lea(x86::rcx, x86::ptr(underflow));
    a.push(x86::rcx);
    a.jmp(jump);
    // Forgets all calls, but for the return to whom called this.
    a.bind(emptyStack);
    a.pop(x86::rcx);
    a.mov(x86::rsp, StateField(offsetof(TranslatedState, hostStack), 8));
    a.lea(x86::rdx, x86::ptr(underflow));
    a.push(x86::rdx);
    a.jmp(x86::rcx);
    a.bind(begin);
    a.lea(x86::rcx, x86::ptr(underflow));
    a.push(x86::rcx);
    a.jmp(StateField(offsetof(TranslatedState, entered), 8));
}

void EmitLeave(x86::Assembler& a, const void* leaveHandler) {
    MoveHostRegisters(a, false);
    a.mov(x86::r9d, x86::edx);
    a.mov(StateField(static_cast<size_t>(DistanceOf(lastThreadedResult)), 8), x86::r15);
    a.mov(x86::dword_ptr(kImage, kHeaderSP), x86::r12d);
    a.mov(x86::dword_ptr(kImage, kHeaderFP), x86::r13d);
    a.mov(x86::rdi, kImage);
    a.mov(x86::esi, x86::eax);
    a.mov(x86::edx, x86::r12d);
    a.mov(x86::ecx, x86::r13d);
    a.mov(x86::r8d, x86::r14d);
    a.mov(x86::rsp, StateField(offsetof(TranslatedState, hostStack), 8));
    a.add(x86::rsp, 8);
    for (size_t i = std::size(kKept); i-- > 0;) a.pop(kKept[i]);
    a.mov(x86::rax, reinterpret_cast<u64>(leaveHandler));
    a.jmp(x86::rax);
}

void EmitJump(x86::Assembler& a, const Label& leave) {
    a.test(x86::al, 3);
    a.jnz(leave);
    a.cmp(x86::rax, StateField(offsetof(TranslatedState, entriesSize), 8));
    a.jae(leave);
    a.mov(x86::rcx, StateField(offsetof(TranslatedState, entries), 8));
    a.mov(x86::ecx, x86::dword_ptr(x86::rcx, x86::rax));
    a.test(x86::ecx, x86::ecx);
    a.jz(leave);
    a.add(x86::rcx, StateField(offsetof(TranslatedState, codeMemory), 8));
    a.jmp(x86::rcx);
}

}  // namespace

std::vector<u8> EmitSharedCode(u8* base, const void* leaveHandler, const void* arrivalHandler,
                               SharedCode& shared) {
    CodeHolder holder;
    holder.init(Environment::host(), reinterpret_cast<u64>(base));
    x86::Assembler a(&holder);
    const Label leave = a.newLabel();
    shared.enter = base + a.offset();
    const Label jump = a.newLabel();
    const Label emptyStack = a.newLabel();
    EmitEnter(a, jump, emptyStack);
    shared.leaveAfter = base + a.offset();
    a.bind(leave);
    a.mov(x86::edx, -1);
    shared.leave = base + a.offset();
    EmitLeave(a, leaveHandler);
    shared.arrive = base + a.offset();
    a.mov(x86::edx, -1);
    EmitLeave(a, arrivalHandler);
    shared.jump = base + a.offset();
    a.bind(jump);
    EmitJump(a, leave);
    shared.emptyStack = base + holder.labelOffset(emptyStack);
    return CodeOf(holder, base);
}

Translation EmitRegion(const Region& region, u8* base, const SharedCode& shared,
                       const u32* generation) {
    Translation out;
    CodeHolder holder;
    holder.init(Environment::host(), reinterpret_cast<u64>(base));
    x86::Assembler a(&holder);
    out.narrow = NarrowRegisters(region);
    Emission e(a, region, shared, out, base);
    e.narrow = out.narrow;
    for (size_t i = 0; i < region.blocks.size(); ++i) e.labels.push_back(a.newLabel());
    for (size_t i = 0; i < region.blocks.size(); ++i) EmitBlock(e, i);
    EmitSideExits(e);
    EmitDepartures(e);
    EmitEntries(e, generation);
    out.code = CodeOf(holder, base);
    return out;
}

}  // namespace moxi
