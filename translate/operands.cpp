#include "translate/operands.h"

#include <algorithm>

#include "vm/machine.h"

namespace moxi {

using namespace asmjit;

namespace {

constexpr i32 kFloorOffset = offsetof(TranslatedState, floor);

// Frame operands farther from FP than this are looked at one by one.
constexpr i32 kNearFrame = 65536;

void Compare(Emission& e, const x86::Gp& address, Use use) {
    if (use == Use::Read) {
        e.a.cmp(address.r32(), kHeaderSize);
    } else {
        e.a.cmp(address.r32(), x86::dword_ptr(kStateRegister, kFloorOffset));
    }
    e.a.jb(LeaveLabel(e));
}

// The address stands in a whole register, its upper half clear.
Place MemoryAt(const x86::Gp& address) {
    Place place;
    place.kind = PlaceKind::Memory;
    place.memory = x86::ptr(kImage, address);
    return place;
}

// The offsets from FP that an instruction uses.
void AddFrameOffsets(const Instruction& in, i32& low, i32& high) {
    const auto add = [&](u32 offset) {
        const i32 signedOffset = static_cast<i32>(offset);
        if (signedOffset < -kNearFrame || signedOffset > kNearFrame) return;
        low = std::min(low, signedOffset);
        high = std::max(high, signedOffset);
    };
    const auto near = static_cast<u32>(FrameOffset(in.w));
    if (in.kind == InstructionClass::TwoOperands) {
        if (in.form.a == Mode::Frame || in.form.b == Mode::Frame) add(near);
        if (in.form.b == Mode::Frame32) add(in.words[0]);
    } else if (in.kind == InstructionClass::OneOperand && in.mode == Mode::Frame) {
        add(near);
    } else if (in.kind == InstructionClass::TestBranch &&
               static_cast<TestOperand>(TestMode(in.w)) == TestOperand::Frame32) {
        add(in.words[0]);
    }
}

// One comparison for all operands in the frame up to the end of the block or the next LINK.
void CheckFrame(Emission& e) {
    i32 low = kNearFrame;
    i32 high = -kNearFrame;
    for (u32 i = e.index; i < e.block.count; ++i) {
        const Instruction& in = e.region.instructions[e.block.first + i];
        AddFrameOffsets(in, low, high);
        if (in.kind == InstructionClass::Single && SingleOf(in.w) == Single::Link) break;
    }
    // FP + low lies at or above the floor, and FP + high does not wrap.
    const u32 room = 0xF0000000 - static_cast<u32>(high - low);
    e.a.lea(x86::eax, x86::ptr(x86::r13, low));
    e.a.sub(x86::eax, x86::dword_ptr(kStateRegister, kFloorOffset));
    e.a.cmp(x86::eax, room);
    e.a.jae(LeaveLabel(e));
    e.safeFrame = low;
}

}  // namespace

Label LeaveLabel(Emission& e) {
    if (!e.leave.isValid()) {
        e.leave = e.a.newLabel();
        e.departures.push_back({e.leave, e.in->pc, e.index});
    }
    return e.leave;
}

Place RegisterPlace(u32 number) {
    Place place;
    place.kind = PlaceKind::Register;
    place.number = number;
    return place;
}

Place AbsolutePlace(Emission& e, u32 address, const x86::Gp& scratch, Use use) {
    if (use == Use::Read && address < 0x80000000) {
        Place place;
        place.kind = PlaceKind::Memory;
        place.memory = x86::ptr(kImage, static_cast<i32>(address));
        return place;
    }
    e.a.mov(scratch.r32(), address);
    Compare(e, scratch, use);
    return MemoryAt(scratch);
}

Place PointerPlace(Emission& e, u32 number, u32 offset, const x86::Gp& scratch, Use use) {
    EmitAddress(e, Mode::Indexed, number, offset, scratch);
    Compare(e, scratch, use);
    return MemoryAt(scratch);
}

Place FramePlace(Emission& e, u32 offset, const x86::Gp& scratch, Use use) {
    const i32 signedOffset = static_cast<i32>(offset);
    if (signedOffset < -kNearFrame || signedOffset > kNearFrame) {
        e.a.lea(scratch.r32(), x86::ptr(x86::r13, signedOffset));
        Compare(e, scratch, use);
        return MemoryAt(scratch);
    }
    if (signedOffset < e.safeFrame) CheckFrame(e);
    Place place;
    place.kind = PlaceKind::Memory;
    place.memory = x86::ptr(kImage, x86::r13, 0, signedOffset);
    return place;
}

void EmitAddress(Emission& e, Mode mode, u32 number, u32 word, const x86::Gp& to) {
    const i32 offset = static_cast<i32>(word);
    switch (mode) {
        case Mode::Register: e.a.mov(to.r32(), RegisterAddress(number)); return;
        case Mode::Absolute: e.a.mov(to.r32(), word); return;
        case Mode::Frame:
        case Mode::Frame32: e.a.lea(to.r32(), x86::ptr(x86::r13, offset)); return;
        case Mode::Indexed: {
            const i32 host = hostOf[number];
            if (host != kNoHost) {
                e.a.lea(to.r32(), x86::ptr(HostRegister(host), offset));
                return;
            }
            e.a.mov(to.r32(), x86::dword_ptr(kImage, static_cast<i32>(RegisterAddress(number))));
            if (word != 0) e.a.add(to.r32(), offset);
            return;
        }
        default: e.a.mov(to.r32(), kImmediateSlot);
    }
}

bool IsHost(const Place& place) {
    return place.kind == PlaceKind::Register && hostOf[place.number] != kNoHost;
}

bool IsNarrow(const Emission& e, u32 number) {
    return (e.narrow >> number & 1) != 0;
}

x86::Gp HostRegister(i32 host) {
    return x86::gpq(kHostNumbers[static_cast<u32>(host)]);
}

x86::Gp Sized(const x86::Gp& whole, u32 size) {
    switch (size) {
        case 0: return whole.r8();
        case 1: return whole.r16();
        case 2: return whole.r32();
        default: return whole.r64();
    }
}

x86::Mem MemoryOf(const Place& place, u32 size) {
    x86::Mem memory = place.kind == PlaceKind::Register
                          ? x86::ptr(kImage, static_cast<i32>(RegisterAddress(place.number)))
                          : place.memory;
    memory.setSize(1u << size);
    return memory;
}

Operand OperandOf(const Place& place, u32 size) {
    if (IsHost(place)) return Sized(HostRegister(hostOf[place.number]), size);
    return MemoryOf(place, size);
}

void LoadValue(Emission& e, const x86::Gp& to, const Place& place, u32 size) {
    if (place.kind == PlaceKind::Constant) {
        if (size == 3) {
            e.a.mov(to.r64(), place.constant);
        } else {
            const u32 mask = size == 2 ? 0xFFFFFFFF : (1u << (8u << size)) - 1;
            e.a.mov(to.r32(), static_cast<u32>(place.constant) & mask);
        }
        return;
    }
    const Operand operand = OperandOf(place, size);
    if (size < 2) {
        e.a.emit(x86::Inst::kIdMovzx, to.r32(), operand);
    } else {
        e.a.emit(x86::Inst::kIdMov, Sized(to, size), operand);
    }
}

void LoadSigned(Emission& e, const x86::Gp& to, const Place& place, u32 size) {
    const Operand operand = OperandOf(place, size);
    if (size < 2) {
        e.a.emit(x86::Inst::kIdMovsx, to.r64(), operand);
    } else if (size == 2) {
        e.a.emit(x86::Inst::kIdMovsxd, to.r64(), operand);
    } else {
        e.a.emit(x86::Inst::kIdMov, to.r64(), operand);
    }
}

void StoreValue(Emission& e, const Place& place, const x86::Gp& from, u32 size) {
    if (!IsHost(place)) {
        e.a.mov(MemoryOf(place, size), Sized(from, size));
        return;
    }
    const x86::Gp whole = HostRegister(hostOf[place.number]);
    if (size == 2 && !IsNarrow(e, place.number)) {
        // Only the low half changes.
        e.a.xor_(from.r32(), whole.r32());
        e.a.xor_(whole, from.r64());
        return;
    }
    e.a.mov(Sized(whole, size), Sized(from, size));
}

void StoreWhole(Emission& e, const Place& place, const x86::Gp& from) {
    e.a.emit(x86::Inst::kIdMov, OperandOf(place, 3), from.r64());
}

void KeepResult(Emission& e, const x86::Gp& value, u32 size) {
    switch (size) {
        case 0:
        case 1: e.a.movsx(x86::r15, Sized(value, size)); return;
        case 2: e.a.movsxd(x86::r15, value.r32()); return;
        default: e.a.mov(x86::r15, value.r64());
    }
}

}  // namespace moxi
