#include <cstddef>

#include "translate/emit_operations.h"
#include "vm/machine.h"

namespace moxi {

using namespace asmjit;

namespace {

OperandPlace PlaceOfOperand(Emission& e, const DecodedInstruction& in, Use use) {
    switch (in.mode) {
        case Mode::Register: return RegisterPlace(WideRegister(in.w));
        case Mode::Indexed: return PointerPlace(e, HighRegister(in.w), in.words[0], x86::rdx, use);
        case Mode::Absolute: return AbsolutePlace(e, in.words[0], x86::rdx, use);
        default: return FramePlace(e, static_cast<u32>(FrameOffset(in.w)), x86::rdx, use);
    }
}

// The pushed value in rax.
void EmitPush(Emission& e, u32 bytes) {
    const u32 size = bytes == 2 ? 1 : bytes == 4 ? 2 : 3;
    e.a.mov(x86::Mem(kImage, x86::r12, 0, -static_cast<i32>(bytes), bytes), Sized(x86::rax, size));
    e.a.sub(x86::r12d, bytes);
}

u32 PushedBytes(u32 size) {
    return size == 0 ? 2 : 1u << size;
}

void EmitPushOperand(Emission& e, const DecodedInstruction& in, u32 size) {
    if (in.mode == Mode::Frame && e.inRax == Emission::InFrame{FrameOffset(in.w), size}) {
        RequireRoom(e, PushedBytes(size));
        EmitPush(e, PushedBytes(size));
        return;
    }
    const OperandPlace place = PlaceOfOperand(e, in, Use::Read);
    RequireRoom(e, PushedBytes(size));
    if (IsHost(place) && size >= 2) {
        const i32 bytes = 1 << size;
        e.a.mov(x86::Mem(kImage, x86::r12, 0, -bytes, static_cast<u32>(bytes)),
                Sized(HostRegister(hostOf[place.number]), size));
        e.a.sub(x86::r12d, bytes);
        return;
    }
    LoadValue(e, x86::rax, place, size);
    EmitPush(e, PushedBytes(size));
}

void EmitPushAddress(Emission& e, const DecodedInstruction& in) {
    const u32 number = in.mode == Mode::Register ? WideRegister(in.w) : HighRegister(in.w);
    const u32 word = in.mode == Mode::Frame ? static_cast<u32>(FrameOffset(in.w)) : in.words[0];
    RequireRoom(e, 4);
    EmitAddress(e, in.mode, number, word, x86::rax);
    EmitPush(e, 4);
}

void EmitPop(Emission& e, const DecodedInstruction& in, u32 size) {
    const OperandPlace place = PlaceOfOperand(e, in, Use::Write);
    const u32 bytes = PushedBytes(size);
    RequireStack(e);
    const x86::Mem from(kImage, x86::r12, 0, 0, bytes);
    if (bytes == 2) {
        e.a.movzx(x86::eax, from);
    } else {
        e.a.mov(Sized(x86::rax, size), from);
    }
    StoreValue(e, place, x86::rax, size);
    e.a.add(x86::r12d, bytes);
}

// --- In place

void EmitNegate(Emission& e, const OperandPlace& place, u32 size) {
    LoadValue(e, x86::rax, place, size);
    e.a.neg(Sized(x86::rax, size < 2 ? 2 : size));
    StoreValue(e, place, x86::rax, size);
}

void EmitNot(Emission& e, const OperandPlace& place, u32 size) {
    LoadValue(e, x86::rax, place, size);
    e.a.not_(Sized(x86::rax, size < 2 ? 2 : size));
    KeepResult(e, x86::rax, size);
    StoreValue(e, place, x86::rax, size);
}

void EmitNegateFloat(Emission& e, const OperandPlace& place) {
    LoadValue(e, x86::rax, place, 2);
    e.a.xor_(x86::eax, 0x80000000);
    StoreValue(e, place, x86::rax, 2);
}

void ConvertSigned(Emission& e, const x86::Xmm& to, bool isDouble) {
    if (isDouble) {
        e.a.cvtsi2sd(to, x86::rax);
    } else {
        e.a.cvtsi2ss(to, x86::rax);
    }
}

// The unsigned number of 64 bits in rax. One from 2^63 on is converted as its half, whose lowest
// bit stands for the lost one, too, so that it is rounded as the whole number would be, and
// doubled.
void ConvertUnsigned(Emission& e, const x86::Xmm& to, bool isDouble) {
    const Label large = e.a.newLabel();
    const Label end = e.a.newLabel();
    e.a.test(x86::rax, x86::rax);
    e.a.js(large);
    ConvertSigned(e, to, isDouble);
    e.a.jmp(end);
    e.a.bind(large);
    e.a.mov(x86::ecx, x86::eax);
    e.a.and_(x86::ecx, 1);
    e.a.shr(x86::rax, 1);
    e.a.or_(x86::rax, x86::rcx);
    ConvertSigned(e, to, isDouble);
    if (isDouble) {
        e.a.addsd(to, to);
    } else {
        e.a.addss(to, to);
    }
    e.a.bind(end);
}

// A whole number of a size as a floating-point one; the 8 bytes are written.
void EmitToFloat(Emission& e, const OperandPlace& place, bool isSigned, bool isDouble, u32 size) {
    if (isSigned) {
        LoadSigned(e, x86::rax, place, size);
    } else {
        LoadValue(e, x86::rax, place, size);
    }
    const bool isInPlace = isDouble && IsVector(place);
    const x86::Xmm to = isInPlace ? VectorRegister(vectorOf[place.number]) : x86::xmm0;
    e.a.pxor(to, to);
    if (!isSigned && size == 3) {
        ConvertUnsigned(e, to, isDouble);
    } else {
        ConvertSigned(e, to, isDouble);
    }
    if (isInPlace) {
        return;
    }
    if (isDouble) {
        e.a.movq(x86::rax, x86::xmm0);
    } else {
        e.a.movd(x86::eax, x86::xmm0);
    }
    StoreWhole(e, place, x86::rax);
}

void LoadFloatBits(Emission& e, const OperandPlace& place, bool isDouble) {
    LoadValue(e, x86::rax, place, isDouble ? 3 : 2);
    if (isDouble) {
        e.a.movq(x86::xmm0, x86::rax);
    } else {
        e.a.movd(x86::xmm0, x86::eax);
    }
}

void EmitConversion(Emission& e, OneOperand op, const OperandPlace& place) {
    LoadFloatBits(e, place, op == OneOperand::Dtoq || op == OneOperand::Dtol);
    switch (op) {
        case OneOperand::Ftoq: e.a.cvttss2si(x86::rax, x86::xmm0); break;
        case OneOperand::Dtoq: e.a.cvttsd2si(x86::rax, x86::xmm0); break;
        case OneOperand::Ftod:
            e.a.cvtss2sd(x86::xmm0, x86::xmm0);
            e.a.movq(x86::rax, x86::xmm0);
            break;
        default:
            e.a.cvtsd2ss(x86::xmm0, x86::xmm0);
            e.a.cvttss2si(x86::rax, x86::xmm0);
            StoreValue(e, place, x86::rax, 2);
            return;
    }
    StoreWhole(e, place, x86::rax);
}

}  // namespace

void RequireRoom(Emission& e, u32 room) {
    if (e.facts.stack >= static_cast<i32>(room)) {
        return;
    }
    if (room <= kFloorRoom) {
        e.a.cmp(x86::r12d, x86::dword_ptr(kStateRegister, offsetof(TranslatedState, pushFloor)));
    } else {
        e.a.mov(x86::ecx, x86::r12d);
        e.a.sub(x86::ecx, room);
        e.a.jb(LeaveLabel(e));
        e.a.cmp(x86::ecx, x86::dword_ptr(kStateRegister, offsetof(TranslatedState, floor)));
    }
    e.a.jb(LeaveLabel(e));
}

void RequireStack(Emission& e) {
    if (e.facts.stack >= 0) {
        return;
    }
    e.a.cmp(x86::r12d, kHeaderSize);
    e.a.jb(LeaveLabel(e));
}

void EmitOneOperand(Emission& e, const DecodedInstruction& in) {
    const OneOperand op = OneOperandOf(in);
    const u32 size = SizeOf(in);
    switch (op) {
        case OneOperand::Push: EmitPushOperand(e, in, size); return;
        case OneOperand::Pea: EmitPushAddress(e, in); return;
        case OneOperand::Pop: EmitPop(e, in, size); return;
        default: break;
    }
    const OperandPlace place =
        PlaceOfOperand(e, in, op == OneOperand::Tst ? Use::Read : Use::Write);
    switch (op) {
        case OneOperand::Fneg: EmitNegateFloat(e, place); break;
        case OneOperand::Neg: EmitNegate(e, place, size); break;
        case OneOperand::Not: EmitNot(e, place, size); break;
        case OneOperand::Tst: LoadSigned(e, x86::r15, place, size); break;
        case OneOperand::Extz:
            LoadValue(e, x86::rax, place, size);
            StoreWhole(e, place, x86::rax);
            break;
        case OneOperand::Exts:
            LoadSigned(e, x86::rax, place, size);
            StoreWhole(e, place, x86::rax);
            break;
        case OneOperand::Utof: EmitToFloat(e, place, false, false, size); break;
        case OneOperand::Stof: EmitToFloat(e, place, true, false, size); break;
        case OneOperand::Utod: EmitToFloat(e, place, false, true, size); break;
        case OneOperand::Stod: EmitToFloat(e, place, true, true, size); break;
        default: EmitConversion(e, op, place); break;
    }
}

void EmitPushConstant(Emission& e, const DecodedInstruction& in) {
    u32 bytes = 4;
    u64 value = static_cast<u64>(i64{static_cast<i32>(in.w) >> 10});
    switch (SingleOf(in.w)) {
        case Single::PushWordExt:
        case Single::PushWordExt2:
            bytes = 2;
            value = in.words[0];
            break;
        case Single::PushWord:
        case Single::PushWord2:
            bytes = 2;
            value = in.w >> 10;
            break;
        case Single::PushLongExt: value = in.words[0]; break;
        case Single::PushQuadExt:
            bytes = 8;
            value = in.words[0] | u64{in.words[1]} << 32;
            break;
        case Single::PushQuad: bytes = 8; break;
        default: break;
    }
    RequireRoom(e, bytes);
    if (bytes == 8) {
        e.a.mov(x86::rax, value);
    } else {
        e.a.mov(x86::eax, static_cast<u32>(value));
    }
    EmitPush(e, bytes);
}

}  // namespace moxi
