#include "translate/emit.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "translate/emit_operations.h"
#include "translate/operands.h"
#include "vm/machine.h"
#include "vm/threaded.h"

namespace moxi {

using namespace asmjit;

namespace {

// --- Where blocks go on

// Goes to a block whose note is in the log already, so to the code behind its own note.
void GoToNoted(Emission& e, u32 target) {
    const int block = BlockAt(e.region, target);
    if (block >= 0) {
        e.a.jmp(e.bodies[static_cast<size_t>(block)]);
    } else {
        e.a.mov(x86::eax, target);
        e.a.jmp(reinterpret_cast<u64>(e.shared.jump));
    }
}

void GoTo(Emission& e, u32 target) {
    const int block = BlockAt(e.region, target);
    if (NeedsSlot(e, target)) {
        StoreSlot(e);
    }
    if (block >= 0) {
        e.a.jmp(e.labels[static_cast<size_t>(block)]);
    } else {
        e.a.mov(x86::eax, target);
        e.a.jmp(reinterpret_cast<u64>(e.shared.jump));
    }
}

// Notes in the log what follows, of which `place` tells.
void EmitNote(Emission& e, BlockPlace place) {
    place.offset = static_cast<u32>(e.a.offset());
    e.out.blocks.push_back(place);
    e.a.mov(x86::dword_ptr(kStateRegister, x86::r14, 2,
                           static_cast<i32>(offsetof(TranslatedState, log))),
            static_cast<u32>(e.base - translatedState.codeMemory) + place.offset);
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

// Goes to the target when the newest result fulfils the condition. Where the processor's flags come
// from that result they are used as they are, except for conditions that involve OVERFLOW: the
// machine has no such flag, and the processor's may be set.
void EmitBranch(Emission& e, const DecodedInstruction& in) {
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
    if (block >= 0 && isLast && !NeedsSlot(e, in.target)) {
        e.a.j(CodeOf(condition), e.labels[static_cast<size_t>(block)]);
        return;
    }
    const Label side = e.a.newLabel();
    e.a.j(CodeOf(condition), side);
    e.sideExits.push_back({side, in.target, e.index + 1, e.fillsSlot, e.slot, PlaceNumber(e)});
    e.flagsFit = !isParity;
}

void EmitTestBranch(Emission& e, const DecodedInstruction& in) {
    const u32 x = in.words[0];
    OperandPlace place;
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

void EmitTableJump(Emission& e, const DecodedInstruction& in) {
    const OperandPlace entry =
        PointerPlace(e, TableRegister(in.w), BranchTarget(in.w), x86::rdx, Use::Read);
    e.a.mov(x86::eax, MemoryOf(entry, 2));
    StoreSlot(e);
    e.a.jmp(reinterpret_cast<u64>(e.shared.jump));
}

// --- Calls and returns

x86::Mem InStack(const x86::Gp& pointer, i32 offset, u32 size) {
    return x86::Mem(kImage, pointer, 0, offset, size);
}

// The code that a RETURN comes back to; EmitReturn says what it finds in rax, edx and r13. FP and
// SP could simply be taken from the module's stack, but everything behind would then wait for those
// loads. FP is foretold instead, from FP of the called code or from the processor's stack, SP
// follows from the CALL, and what the module's stack says is only compared.
void EmitReturned(Emission& e, const DecodedInstruction& in, u64 returned) {
    const Label wanted = e.a.newLabel();
    e.returns.push_back({wanted, returned});
    e.a.cmp(x86::rax, x86::qword_ptr(wanted));
    const i32 arguments = static_cast<i32>(ArgumentBytes(in.w));
    if (IsNearFrame(e.facts)) {
        e.a.jne(reinterpret_cast<u64>(e.shared.strayReturn));
        const Emission::OtherFrame other = {e.a.newLabel(), 12 + e.facts.depth, PlaceNumber(e)};
        e.otherFrames.push_back(other);
        e.a.add(x86::r13d, other.distance);
        e.a.cmp(x86::edx, x86::r13d);
        e.a.jne(other.label);
        e.a.lea(x86::r12d, x86::ptr(x86::r13, arguments - e.facts.depth));
        return;
    }
    e.a.jne(reinterpret_cast<u64>(e.shared.strayFrame));
    e.a.pop(x86::rcx);
    e.a.cmp(x86::edx, x86::ecx);
    e.a.jne(reinterpret_cast<u64>(e.shared.strayReturn));
    e.a.lea(x86::r12d, x86::ptr(x86::r13, 12 + arguments));
    e.a.mov(x86::r13d, x86::ecx);
}

// Goes where a CALL goes: into its block, or to the address in eax.
void GoToCalled(Emission& e, int block) {
    if (block >= 0) {
        e.a.jmp(e.labels[static_cast<size_t>(block)]);
    } else {
        e.a.jmp(reinterpret_cast<u64>(e.shared.jump));
    }
}

void EmitCall(Emission& e, const DecodedInstruction& in) {
    RequireRoom(e, 8);
    const bool isThrough = in.flow == Flow::CallThrough;
    if (isThrough) {
        LoadValue(e, x86::rax, RegisterPlace(CallRegister(in.w)), 2);
    }
    const int block = isThrough ? -1 : BlockAt(e.region, in.target);
    if (isThrough || NeedsSlot(e, in.target)) {
        StoreSlot(e);
    }
    const u32 next = in.pc + in.length;
    const u64 returned = next | u64{ArgumentBytes(in.w)} << 32;
    if (block < 0 && !isThrough) {
        e.a.mov(x86::eax, in.target);
    }
    e.a.mov(x86::rcx, returned);
    if (in.length == 8) {
        e.a.movd(kBehindCall, x86::ecx);
    } else {
        e.a.mov(x86::edx, in.pc + 8);
        e.a.movd(kBehindCall, x86::edx);
    }
    e.a.mov(InStack(x86::r12, -8, 8), x86::rcx);
    e.a.sub(x86::r12d, 8);
    const Emission::FullStack full = {e.a.newLabel(), e.a.newLabel(), block, PlaceNumber(e)};
    e.fullStacks.push_back(full);
    e.a.cmp(x86::rsp, StateField(offsetof(TranslatedState, hostStackLimit), 8));
    e.a.jbe(full.label);
    e.a.bind(full.back);
    if (!IsNearFrame(e.facts)) {
        e.a.push(x86::r13);
    }
    if (block >= 0) {
        e.a.call(e.labels[static_cast<size_t>(block)]);
    } else {
        e.a.call(reinterpret_cast<u64>(e.shared.jump));
    }
    EmitReturned(e, in, returned);
}

void EmitLink(Emission& e, const DecodedInstruction& in) {
    const u32 count = SavedRegisters(in.w);
    const u32 room = UseOf(e).pushed;
    RequireRoom(e, room);
    e.a.mov(InStack(x86::r12, -4, 4), x86::r13d);
    for (u32 i = 0; i < count; ++i) {
        const u32 number = 14 - count + i;
        const x86::Mem to = InStack(x86::r12, static_cast<i32>(8 * i - room), 8);
        if (hostOf[number] != kNoHost) {
            e.a.mov(to, HostRegister(hostOf[number]));
        } else if (vectorOf[number] != kNoHost) {
            e.a.movq(to, VectorRegister(vectorOf[number]));
        } else {
            e.a.mov(x86::rax, MemoryOf(RegisterPlace(number), 3));
            e.a.mov(to, x86::rax);
        }
    }
    e.a.lea(x86::r13d, x86::ptr(x86::r12, -4));
    e.a.sub(x86::r12d, room);
}

// Leaves to the interpreter when RETURN would restore more than 32 bits into a narrow register.
void RequireNarrowReturn(Emission& e, u32 count) {
    bool isFirst = true;
    for (u32 i = 0; i < count; ++i) {
        if (!IsNarrow(14 - count + i)) {
            continue;
        }
        const x86::Mem upper = InStack(x86::r12, static_cast<i32>(8 * i + 4), 4);
        if (isFirst) {
            e.a.mov(x86::ecx, upper);
        } else {
            e.a.or_(x86::ecx, upper);
        }
        isFirst = false;
    }
    if (isFirst) {
        return;
    }
    e.a.test(x86::ecx, x86::ecx);
    e.a.jnz(LeaveLabel(e));
}

// The code behind the CALL gets in rax the return address, with the number of argument bytes in the
// upper half, in edx the caller's FP, and in r13 still that of the code that returns. Where a
// RETURN turns out to be one for the interpreter only then, it can still be left to it: what has
// been restored would be restored again.
void EmitReturn(Emission& e, const DecodedInstruction& in) {
    const u32 count = SavedRegisters(in.w);
    if (count != 0) {
        RequireStack(e);
    }
    const OperandPlace frame = FramePlace(e, 0, x86::rdx, Use::Read);
    e.a.mov(x86::rax, InStack(x86::r13, 4, 8));
    // All that may fault comes before the first change, the highest address first.
    RequireNarrowReturn(e, count);
    e.a.mov(x86::edx, MemoryOf(frame, 2));
    for (u32 i = count; i-- > 0;) {
        const u32 number = 14 - count + i;
        const x86::Mem saved = InStack(x86::r12, static_cast<i32>(8 * i), 8);
        if (hostOf[number] != kNoHost) {
            e.a.mov(HostRegister(hostOf[number]), saved);
        } else if (vectorOf[number] != kNoHost) {
            e.a.movq(VectorRegister(vectorOf[number]), saved);
        } else {
            e.a.mov(x86::rcx, saved);
            e.a.mov(MemoryOf(RegisterPlace(number), 3), x86::rcx);
        }
    }
    StoreSlot(e);
    // To the code behind the newest CALL, which compares rax with the address that it expects.
    e.a.ret();
}

// --- Instructions

void EmitSingle(Emission& e, const DecodedInstruction& in) {
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

void EmitInstruction(Emission& e, const DecodedInstruction& in) {
    if (in.kind != InstructionClass::FlagBranch) {
        e.flagsFit = false;
        e.inRax = std::exchange(e.leftInRax, std::nullopt);
    }
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
    e.facts = e.known.before[number];
    e.fillsSlot = false;
    e.reached.clear();
    e.leftInRax.reset();
    e.a.bind(e.labels[number]);
    e.firstPlaces.push_back(static_cast<u32>(e.out.places.size()));
    EmitNote(e, {0, e.firstPlaces.back(), static_cast<u16>(e.block.count)});
    e.a.bind(e.bodies[number]);
    for (e.index = 0; e.index < e.block.count; ++e.index) {
        const DecodedInstruction& in = e.region.instructions[e.block.first + e.index];
        e.in = &in;
        e.leave.reset();
        const Facts after = FactsAfter(UseOf(e), e.facts);
        CodePlace place = {static_cast<u32>(e.a.offset()), in.pc};
        place.index = static_cast<u16>(e.index);
        e.out.places.push_back(place);
        EmitInstruction(e, in);
        e.out.places.back().fillsSlot = e.fillsSlot;
        e.out.places.back().slot = e.slot;
        e.facts = after;
        KeepReached(e, in);
    }
    const DecodedInstruction& last = *e.in;
    // Behind a call the slot holds what the called code has put there.
    if (last.flow == Flow::Call || last.flow == Flow::CallThrough) {
        e.fillsSlot = false;
    }
    if (last.flow == Flow::Jump || last.flow == Flow::Away || last.flow == Flow::Interpreter ||
        last.flow == Flow::End) {
        return;
    }
    const u32 next = last.pc + last.length;
    const bool follows = BlockAt(e.region, next) == static_cast<int>(number + 1);
    if (!follows) {
        GoTo(e, next);
    } else if (NeedsSlot(e, next)) {
        StoreSlot(e);
    }
}

void BeginAside(Emission& e, u32 place, bool isBehindNote = false) {
    e.out.asides.push_back({static_cast<u32>(e.a.offset()), place, isBehindNote});
}

// Branches out of the middle of a block: their note in the log says how much of it was executed.
void EmitSideExits(Emission& e) {
    for (const Emission::SideExit& side : e.sideExits) {
        e.a.bind(side.label);
        BeginAside(e, side.place);
        BlockPlace place;
        place.executedBefore = static_cast<u16>(side.executed);
        const int block = BlockAt(e.region, side.target);
        if (block >= 0) {
            place.firstPlace = e.firstPlaces[static_cast<size_t>(block)];
            place.count = static_cast<u16>(e.region.blocks[static_cast<size_t>(block)].count);
        }
        EmitNote(e, place);
        BeginAside(e, side.place, true);
        e.fillsSlot = side.fillsSlot;
        e.slot = side.slot;
        if (NeedsSlot(e, side.target)) {
            StoreSlot(e);
        }
        GoToNoted(e, side.target);
    }
}

void EmitFullStacks(Emission& e) {
    for (const Emission::FullStack& full : e.fullStacks) {
        e.a.bind(full.label);
        BeginAside(e, full.place);
        e.a.call(reinterpret_cast<u64>(e.shared.emptyStack));
        e.a.jbe(full.back);
        GoToCalled(e, full.block);
    }
}

void EmitOtherFrames(Emission& e) {
    for (const Emission::OtherFrame& other : e.otherFrames) {
        e.a.bind(other.label);
        BeginAside(e, other.place);
        e.a.sub(x86::r13d, other.distance);
        e.a.jmp(reinterpret_cast<u64>(e.shared.strayReturn));
    }
}

// What returns are compared with.
void EmitReturns(Emission& e) {
    e.a.align(AlignMode::kData, 8);
    for (const Emission::Return& expected : e.returns) {
        e.a.bind(expected.label);
        e.a.embedUInt64(expected.value);
    }
}

void EmitLowWrites(Emission& e) {
    static_assert(kCoverWindow == 64);
    for (const Emission::LowWrite& low : e.lowWrites) {
        e.a.bind(low.label);
        BeginAside(e, low.place);
        e.a.mov(x86::eax, low.address.r32());
        e.a.shr(x86::eax, 2);
        e.a.add(x86::rax, StateField(offsetof(TranslatedState, covered), 8));
        e.a.cmp(x86::qword_ptr(x86::rax), 0);
        e.a.jne(low.leave);
        e.a.cmp(x86::qword_ptr(x86::rax, 8), 0);
        e.a.je(low.back);
        e.a.jmp(low.leave);
    }
}

void EmitDepartures(Emission& e) {
    for (const Emission::Departure& departure : e.departures) {
        e.a.bind(departure.label);
        BeginAside(e, departure.place);
        e.a.mov(x86::eax, departure.pc);
        e.a.mov(x86::edx, departure.executed);
        e.a.jmp(reinterpret_cast<u64>(e.shared.leave));
    }
}

// --- The entries of a region

// Where code outside the region enters it: rdx holds the block's code and eax its address in the
// module. The run is sent back when the region has not been compared with the module's code since
// the interpreter ran, or when a fact that the block relies on does not hold.
void EmitEntryCheck(Emission& e, const Label& check, const Facts& facts, const u32* generation) {
    e.a.bind(check);
    e.a.mov(x86::rcx, reinterpret_cast<u64>(generation));
    e.a.mov(x86::ecx, x86::dword_ptr(x86::rcx));
    e.a.cmp(x86::ecx, StateField(offsetof(TranslatedState, generation), 4));
    e.a.jb(reinterpret_cast<u64>(e.shared.arrive));
    if (facts.frame != kNoFrame) {
        CompareFrame(e, facts.frame, x86::ecx);
        e.a.jae(reinterpret_cast<u64>(e.shared.leaveAfter));
    }
    if (facts.stack != kNoStack) {
        e.a.cmp(x86::r12d, StateField(offsetof(TranslatedState, pushFloor), 4));
        e.a.jb(reinterpret_cast<u64>(e.shared.leaveAfter));
    }
    JumpUntracked(e.a, x86::rdx);
}

void EmitEntries(Emission& e, const u32* generation) {
    struct Check {
        Facts facts;
        Label label;
    };
    std::vector<Check> checks;
    BeginAside(e, Aside::kBetween);
    for (size_t i = 0; i < e.region.blocks.size(); ++i) {
        const u32 pc = e.region.instructions[e.region.blocks[i].first].pc;
        e.out.entries.push_back({pc, static_cast<u32>(e.a.offset())});
        Facts facts = e.known.before[i];
        facts.depth = kNoDepth;
        if (facts.stack != kNoStack) {
            facts.stack = kFloorRoom;
        }
        auto check = std::find_if(checks.begin(), checks.end(),
                                  [&facts](const Check& at) { return at.facts == facts; });
        if (check == checks.end()) {
            checks.push_back({facts, e.a.newLabel()});
            check = checks.end() - 1;
        }
        e.a.lea(x86::rdx, x86::ptr(e.labels[i]));
        e.a.jmp(check->label);
    }
    for (const Check& check : checks) {
        EmitEntryCheck(e, check.label, check.facts, generation);
    }
}

// Which blocks fill the immediate slot before they can be left.
std::vector<bool> StartWithSlot(const Region& region) {
    std::vector<bool> start;
    for (const Block& block : region.blocks) {
        bool fills = false;
        for (u32 i = 0; i < block.count && !fills; ++i) {
            const DecodedInstruction& in = region.instructions[block.first + i];
            if (in.flow != Flow::Next) {
                break;
            }
            fills = in.kind == InstructionClass::TwoOperands &&
                    (in.form.b == Mode::Quick || in.form.b == Mode::Immediate);
        }
        start.push_back(fills);
    }
    return start;
}

// --- Which registers stay narrow

bool WritesWholeRegister(const DecodedInstruction& in, u32& number) {
    if (in.flow == Flow::Interpreter || in.flow == Flow::End) {
        return false;
    }
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

}  // namespace

u16 WideRegisters(const Region& region) {
    u16 wide = 0;
    for (const DecodedInstruction& in : region.instructions) {
        u32 number = 0;
        if (WritesWholeRegister(in, number)) {
            wide = static_cast<u16>(wide | 1u << number);
        }
    }
    return wide;
}

Translation EmitRegion(const Region& region, u8* base, const SharedCode& shared,
                       const u32* generation) {
    Translation out;
    // Static, so that its memory is used again for the next region.
    static CodeHolder holder;
    holder.reset();
    holder.init(Environment::host(), reinterpret_cast<u64>(base));
    constexpr size_t kOrdinarySize = 32768;
    holder.reserveBuffer(&holder.textSection()->buffer(), kOrdinarySize);
    x86::Assembler a(&holder);
    Emission e(a, region, shared, out, base);
    e.known = FindFacts(region);
    e.startWithSlot = StartWithSlot(region);
    out.places.reserve(region.instructions.size());
    for (auto* labels : {&e.labels, &e.bodies}) {
        labels->reserve(region.blocks.size());
    }
    for (size_t i = 0; i < region.blocks.size(); ++i) {
        e.labels.push_back(a.newLabel());
        e.bodies.push_back(a.newLabel());
    }
    for (size_t i = 0; i < region.blocks.size(); ++i) {
        EmitBlock(e, i);
    }
    EmitSideExits(e);
    EmitFullStacks(e);
    EmitOtherFrames(e);
    EmitLowWrites(e);
    EmitDepartures(e);
    EmitEntries(e, generation);
    EmitReturns(e);
    out.code = CodeOf(holder, base);
    return out;
}

}  // namespace moxi
