#include "translate/operands.h"

#include <algorithm>

#include "translate/code_memory.h"
#include "vm/machine.h"

namespace moxi {

using namespace asmjit;

namespace {

constexpr i32 kFloorOffset = offsetof(TranslatedState, floor);

void Compare(Emission& e, const x86::Gp& address, Use use) {
    if (use == Use::Read) {
        e.a.cmp(address.r32(), kHeaderSize);
        e.a.jb(LeaveLabel(e));
        return;
    }
    const Emission::LowWrite low = {e.a.newLabel(), e.a.newLabel(), LeaveLabel(e), address,
                                    PlaceNumber(e)};
    e.a.cmp(address.r32(), x86::dword_ptr(kStateRegister, kFloorOffset));
    e.a.jb(low.label);
    e.a.bind(low.back);
    e.lowWrites.push_back(low);
}

// The memory at an address that stands in `address`, all 64 bits of it, the upper half clear.
OperandPlace MemoryAt(const x86::Gp& address) {
    OperandPlace place;
    place.kind = PlaceKind::Memory;
    place.memory = x86::ptr(kImage, address);
    return place;
}

// One comparison for all operands in the frame up to the end of the block or the next LINK.
void CheckFrame(Emission& e) {
    const i32 low = UseOf(e).from.low;
    CompareFrame(e, low, x86::eax);
    e.a.jae(LeaveLabel(e));
    e.facts.frame = low;
}

// Sign-extends a value of a size to 64 bits.
void KeepExtended(Emission& e, const x86::Gp& to, const x86::Gp& value, u32 size) {
    if (size < 2) {
        e.a.movsx(to.r64(), Sized(value, size));
    } else if (size == 2) {
        e.a.movsxd(to.r64(), value.r32());
    } else if (to.id() != value.id()) {
        e.a.mov(to.r64(), value.r64());
    }
}

// Replaces the lower bytes of the vector register and leaves the others. rdx may be used, since an
// operand in a register has no address.
void StoreInVector(Emission& e, const x86::Xmm& to, const x86::Gp& from, u32 size) {
    switch (size) {
        case 0:
            e.a.movq(x86::rdx, to);
            e.a.mov(x86::dl, from.r8());
            e.a.movq(to, x86::rdx);
            return;
        case 1: e.a.pinsrw(to, from.r32(), 0); return;
        case 2:
            e.a.movd(x86::xmm0, from.r32());
            e.a.movss(to, x86::xmm0);
            return;
        default: e.a.movq(to, from.r64());
    }
}

// Memory has been reached through the register at an offset not far below this one. An access has
// succeeded there, so the image does not end before; and up to here the address does not wrap.
bool WasReached(const Emission& e, u32 number, u32 offset, Use use) {
    // What is written has to lie within what was found free of translated code.
    const u32 near = use == Use::Read ? 65536 : kCoverWindow - 3 - 8;
    return std::any_of(e.reached.begin(), e.reached.end(), [&](const Emission::Reach& reach) {
        return reach.number == number && offset - reach.offset <= near &&
               (use == Use::Read || reach.use == Use::Write);
    });
}

}  // namespace

void KeepReached(Emission& e, const DecodedInstruction& in) {
    e.reached.insert(e.reached.end(), e.reaching.begin(), e.reaching.end());
    e.reaching.clear();
    u32 written = 16;
    if (in.kind == InstructionClass::TwoOperands && in.form.a == Mode::Register) {
        written = LowRegister(in.w);
    } else if (in.kind == InstructionClass::OneOperand && in.mode == Mode::Register) {
        written = WideRegister(in.w);
    }
    std::erase_if(e.reached, [&](const Emission::Reach& reach) { return reach.number == written; });
}

x86::Mem StateField(size_t offset, u32 size) {
    return x86::Mem(kStateRegister, static_cast<i32>(offset), size);
}

void JumpUntracked(x86::Assembler& a, const Operand& to) {
    a.db(0x3E);
    a.emit(x86::Inst::kIdJmp, to);
}

std::vector<u8> CodeOf(CodeHolder& holder, u8* base) {
    holder.flatten();
    holder.resolveUnresolvedLinks();
    holder.relocateToBase(reinterpret_cast<u64>(base));
    std::vector<u8> bytes(holder.codeSize());
    holder.copyFlattenedData(bytes.data(), bytes.size());
    return bytes;
}

void CompareFrame(Emission& e, i32 low, const x86::Gp& scratch) {
    // FP + low lies at or above the floor, and FP + kNearFrame does not wrap.
    const u32 room = 0xF0000000 - static_cast<u32>(kNearFrame - low);
    e.a.lea(scratch, x86::ptr(x86::r13, low));
    e.a.sub(scratch, x86::dword_ptr(kStateRegister, kFloorOffset));
    e.a.cmp(scratch, room);
}

Label LeaveLabel(Emission& e) {
    if (!e.leave.isValid()) {
        e.leave = e.a.newLabel();
        e.departures.push_back({e.leave, e.in->pc, e.index, PlaceNumber(e)});
    }
    return e.leave;
}

OperandPlace RegisterPlace(u32 number) {
    OperandPlace place;
    place.kind = PlaceKind::Register;
    place.number = number;
    return place;
}

// An operand that reads the module's registers by their address in the header is read from memory,
// so those that live in the processor are stored there first. It may span two of them.
void StoreRegistersAt(Emission& e, u32 address) {
    const u32 first = (address - kHeaderRegisters) / 8;
    for (u32 number = first; number < std::min(first + 2, 16u); ++number) {
        const x86::Mem slot = x86::qword_ptr(kImage, static_cast<i32>(RegisterAddress(number)));
        if (hostOf[number] != kNoHost) {
            e.a.mov(slot, HostRegister(hostOf[number]));
        }
        if (vectorOf[number] != kNoHost) {
            e.a.movq(slot, VectorRegister(vectorOf[number]));
        }
        if (address % 8 == 0) {
            return;
        }
    }
}

OperandPlace AbsolutePlace(Emission& e, u32 address, const x86::Gp& scratch, Use use) {
    if (address < kHeaderPC) {
        StoreRegistersAt(e, address);
    }
    // Stored without a check; if code there is translated later, the region is given up.
    const bool isFree = use == Use::Write && (!IsCovered(address) || address == kHeaderBlockCount);
    if (isFree) {
        e.out.writes.push_back(address);
    }
    if ((use == Use::Read || isFree) && address < 0x80000000) {
        OperandPlace place;
        place.kind = PlaceKind::Memory;
        place.memory = x86::ptr(kImage, static_cast<i32>(address));
        return place;
    }
    e.a.mov(scratch.r32(), address);
    Compare(e, scratch, use);
    return MemoryAt(scratch);
}

OperandPlace PointerPlace(Emission& e, u32 number, u32 offset, const x86::Gp& scratch, Use use) {
    const bool wasReached = WasReached(e, number, offset, use);
    // A sum that wrapped would lie below the offset and so in the header, which has been ruled out
    // by the comparison, now or when memory was reached before. So it is the processor's address.
    const bool isDirect = hostOf[number] != kNoHost && IsNarrow(number) && offset <= kHeaderSize;
    if (!wasReached || !isDirect) {
        EmitAddress(e, Mode::Indexed, number, offset, scratch);
    }
    if (!wasReached) {
        Compare(e, scratch, use);
        e.reaching.push_back({number, offset, use});
    }
    if (!isDirect) {
        return MemoryAt(scratch);
    }
    OperandPlace place;
    place.kind = PlaceKind::Memory;
    place.memory = x86::ptr(kImage, HostRegister(hostOf[number]), 0, static_cast<i32>(offset));
    return place;
}

OperandPlace FramePlace(Emission& e, u32 offset, const x86::Gp& scratch, Use use) {
    const i32 signedOffset = static_cast<i32>(offset);
    if (signedOffset < -kNearFrame || signedOffset > kNearFrame) {
        e.a.lea(scratch.r32(), x86::ptr(x86::r13, signedOffset));
        Compare(e, scratch, use);
        return MemoryAt(scratch);
    }
    if (signedOffset < e.facts.frame) {
        CheckFrame(e);
    }
    OperandPlace place;
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
            LoadValue(e, to, RegisterPlace(number), 2);
            if (word != 0) {
                e.a.add(to.r32(), offset);
            }
            return;
        }
        default: e.a.mov(to.r32(), kImmediateSlot);
    }
}

bool IsHost(const OperandPlace& place) {
    return place.kind == PlaceKind::Register && hostOf[place.number] != kNoHost;
}

bool IsNarrow(u32 number) {
    return (narrowRegisters >> number & 1) != 0;
}

x86::Gp HostRegister(i32 host) {
    return x86::gpq(kHostNumbers[static_cast<u32>(host)]);
}

bool IsVector(const OperandPlace& place) {
    return place.kind == PlaceKind::Register && vectorOf[place.number] != kNoHost;
}

x86::Xmm VectorRegister(i32 vector) {
    return x86::xmm(kFirstVector + static_cast<u32>(vector));
}

x86::Gp Sized(const x86::Gp& whole, u32 size) {
    switch (size) {
        case 0: return whole.r8();
        case 1: return whole.r16();
        case 2: return whole.r32();
        default: return whole.r64();
    }
}

x86::Mem MemoryOf(const OperandPlace& place, u32 size) {
    x86::Mem memory = place.kind == PlaceKind::Register
                          ? x86::ptr(kImage, static_cast<i32>(RegisterAddress(place.number)))
                          : place.memory;
    memory.setSize(1u << size);
    return memory;
}

Operand OperandOf(const OperandPlace& place, u32 size) {
    if (IsHost(place)) {
        return Sized(HostRegister(hostOf[place.number]), size);
    }
    return MemoryOf(place, size);
}

void LoadValue(Emission& e, const x86::Gp& to, const OperandPlace& place, u32 size) {
    if (place.kind == PlaceKind::Constant) {
        if (size == 3) {
            e.a.mov(to.r64(), place.constant);
        } else {
            const u32 mask = size == 2 ? 0xFFFFFFFF : (1u << (8u << size)) - 1;
            e.a.mov(to.r32(), static_cast<u32>(place.constant) & mask);
        }
        return;
    }
    if (IsVector(place)) {
        const x86::Xmm from = VectorRegister(vectorOf[place.number]);
        if (size == 3) {
            e.a.movq(to.r64(), from);
        } else {
            e.a.movd(to.r32(), from);
        }
        if (size < 2) {
            e.a.movzx(to.r32(), Sized(to, size));
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

void LoadSigned(Emission& e, const x86::Gp& to, const OperandPlace& place, u32 size) {
    if (IsVector(place)) {
        LoadValue(e, to, place, size);
        KeepExtended(e, to, to, size);
        return;
    }
    const Operand operand = OperandOf(place, size);
    if (size < 2) {
        e.a.emit(x86::Inst::kIdMovsx, to.r64(), operand);
    } else if (size == 2) {
        e.a.emit(x86::Inst::kIdMovsxd, to.r64(), operand);
    } else {
        e.a.emit(x86::Inst::kIdMov, to.r64(), operand);
    }
}

void StoreValue(Emission& e, const OperandPlace& place, const x86::Gp& from, u32 size) {
    if (IsVector(place)) {
        StoreInVector(e, VectorRegister(vectorOf[place.number]), from, size);
        return;
    }
    if (!IsHost(place)) {
        e.a.mov(MemoryOf(place, size), Sized(from, size));
        return;
    }
    const x86::Gp whole = HostRegister(hostOf[place.number]);
    if (size == 2 && !IsNarrow(place.number)) {
        // Only the low half changes.
        e.a.xor_(from.r32(), whole.r32());
        e.a.xor_(whole, from.r64());
        return;
    }
    e.a.mov(Sized(whole, size), Sized(from, size));
}

void StoreWhole(Emission& e, const OperandPlace& place, const x86::Gp& from) {
    if (IsVector(place)) {
        e.a.movq(VectorRegister(vectorOf[place.number]), from.r64());
        return;
    }
    e.a.emit(x86::Inst::kIdMov, OperandOf(place, 3), from.r64());
}

void FillSlot(Emission& e, u64 value, u32 size) {
    if (size == 3) {
        e.a.mov(x86::dword_ptr(kImage, kImmediateSlot + 4), static_cast<u32>(value >> 32));
    }
    e.fillsSlot = true;
    e.slot = static_cast<u32>(value);
}

bool NeedsSlot(const Emission& e, u32 target) {
    if (!e.fillsSlot) {
        return false;
    }
    const int block = BlockAt(e.region, target);
    return block < 0 || !e.startWithSlot[static_cast<size_t>(block)];
}

void StoreSlot(Emission& e) {
    if (e.fillsSlot) {
        e.a.mov(x86::dword_ptr(kImage, kImmediateSlot), e.slot);
    }
}

void KeepResult(Emission& e, const x86::Gp& value, u32 size) {
    KeepExtended(e, x86::r15, value, size);
}

}  // namespace moxi
