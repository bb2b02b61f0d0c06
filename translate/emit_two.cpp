#include <cstddef>
#include <limits>

#include "translate/emit_operations.h"
#include "vm/machine.h"

namespace moxi {

using namespace asmjit;

namespace {

bool SetsFlags(TwoOperand op) {
    for (const Operation& operation : kTwoOperandOperations) {
        if (operation.first == static_cast<u8>(op)) {
            return operation.setsFlags;
        }
    }
    return false;
}

bool WritesA(TwoOperand op) {
    return op != TwoOperand::Cmp && op != TwoOperand::Test && op != TwoOperand::Fcmp;
}

bool IsDivision(TwoOperand op) {
    return op == TwoOperand::Divs || op == TwoOperand::Mods || op == TwoOperand::Divu ||
           op == TwoOperand::Modu;
}

bool IsShift(TwoOperand op) {
    return op == TwoOperand::Asr || op == TwoOperand::Lsr || op == TwoOperand::Lsl;
}

bool HasWord(Mode mode) {
    return mode == Mode::Indexed || mode == Mode::Absolute || mode == Mode::Frame32 ||
           mode == Mode::Immediate;
}

u32 NumberIn(const DecodedInstruction& in, Field field) {
    return field == Field::High ? HighRegister(in.w) : LowRegister(in.w);
}

u32 WordOfB(const DecodedInstruction& in) {
    return HasWord(in.form.a) ? in.words[1] : in.words[0];
}

u32 OffsetOf(const DecodedInstruction& in, Mode mode, u32 word) {
    return mode == Mode::Frame ? static_cast<u32>(FrameOffset(in.w)) : word;
}

OperandPlace PlaceFor(Emission& e, Mode mode, u32 number, u32 word, const x86::Gp& scratch,
                      Use use) {
    switch (mode) {
        case Mode::Register: return RegisterPlace(number);
        case Mode::Indexed: return PointerPlace(e, number, word, scratch, use);
        case Mode::Absolute: return AbsolutePlace(e, word, scratch, use);
        default: return FramePlace(e, word, scratch, use);
    }
}

bool IsConstant(Mode mode) {
    return mode == Mode::Quick || mode == Mode::Immediate;
}

bool FitsSigned32(u64 value) {
    return static_cast<u64>(static_cast<i64>(static_cast<i32>(value))) == value;
}

u64 ConstantOf(const DecodedInstruction& in, u32 size) {
    if (in.form.b == Mode::Quick) {
        const i32 quick = in.form.bField == Field::High ? HighQuick(in.w) : LowQuick(in.w);
        return static_cast<u64>(i64{quick});
    }
    if (size != 3) {
        return WordOfB(in);
    }
    // A quad's words follow those of A.
    const u32 first = in.length - 8;
    return Load<u64>(in.pc + first);
}

// The value of a quick or immediate source, which the immediate slot gets as well.
OperandPlace ConstantPlace(Emission& e, const DecodedInstruction& in, u32 size) {
    OperandPlace place;
    place.kind = PlaceKind::Constant;
    place.constant = ConstantOf(in, size);
    FillSlot(e, place.constant, size);
    return place;
}

// --- Arithmetic of the processor

u32 SimpleInstruction(TwoOperand op) {
    switch (op) {
        case TwoOperand::Add: return x86::Inst::kIdAdd;
        case TwoOperand::Sub: return x86::Inst::kIdSub;
        case TwoOperand::Cmp: return x86::Inst::kIdCmp;
        case TwoOperand::And: return x86::Inst::kIdAnd;
        case TwoOperand::Test: return x86::Inst::kIdTest;
        case TwoOperand::Or: return x86::Inst::kIdOr;
        case TwoOperand::Xor: return x86::Inst::kIdXor;
        case TwoOperand::Mul: return x86::Inst::kIdImul;
        default: return 0;
    }
}

// A source for an instruction whose other operand is a register of the size, 2 or 3.
Operand Source(Emission& e, const OperandPlace& b, u32 size) {
    if (IsVector(b)) {
        LoadValue(e, x86::rcx, b, size);
        return Sized(x86::rcx, size);
    }
    if (b.kind != PlaceKind::Constant) {
        return OperandOf(b, size);
    }
    if (size == 2) {
        return Imm(static_cast<i32>(b.constant));
    }
    if (FitsSigned32(b.constant)) {
        return Imm(static_cast<i64>(b.constant));
    }
    e.a.mov(x86::rcx, b.constant);
    return x86::rcx;
}

// The low 32 bits or all of a host register may be worked on as they are.
bool IsDirect(const OperandPlace& place, u32 size) {
    return IsHost(place) && (size == 3 || (size == 2 && IsNarrow(place.number)));
}

void EmitMultiply(Emission& e, const x86::Gp& target, const OperandPlace& b, u32 size) {
    const x86::Gp sized = Sized(target, size);
    if (b.kind == PlaceKind::Constant && (size == 2 || FitsSigned32(b.constant))) {
        e.a.imul(sized, sized, static_cast<i32>(b.constant));
    } else {
        e.a.emit(x86::Inst::kIdImul, sized, Source(e, b, size));
    }
}

// ADD, SUB, AND, OR, XOR, MUL at 32 and 64 bits on a register.
void EmitOnRegister(Emission& e, TwoOperand op, const x86::Gp& target, const OperandPlace& b,
                    u32 size) {
    if (op == TwoOperand::Mul) {
        EmitMultiply(e, target, b, size);
    } else {
        e.a.emit(SimpleInstruction(op), Sized(target, size), Source(e, b, size));
    }
}

void EmitSimple(Emission& e, TwoOperand op, const OperandPlace& a, const OperandPlace& b,
                u32 size) {
    const bool onlyCompares = !WritesA(op);
    if (IsDirect(a, size) && !onlyCompares) {
        const x86::Gp target = HostRegister(hostOf[a.number]);
        EmitOnRegister(e, op, target, b, size);
        if (SetsFlags(op)) {
            KeepResult(e, target, size);
        }
        e.flagsFit = SetsFlags(op);
        return;
    }
    const u32 wide = size < 2 ? 2 : size;
    LoadValue(e, x86::rax, a, size);
    if (size < 2) {
        LoadValue(e, x86::rcx, b, size);
        const TwoOperand real = op == TwoOperand::Cmp    ? TwoOperand::Sub
                                : op == TwoOperand::Test ? TwoOperand::And
                                                         : op;
        e.a.emit(SimpleInstruction(real), x86::eax, x86::ecx);
    } else {
        const TwoOperand real = op == TwoOperand::Cmp    ? TwoOperand::Sub
                                : op == TwoOperand::Test ? TwoOperand::And
                                                         : op;
        EmitOnRegister(e, real, x86::rax, b, wide);
    }
    if (SetsFlags(op)) {
        KeepResult(e, x86::rax, size);
    }
    e.flagsFit = SetsFlags(op) && size >= 2;
    if (onlyCompares) {
        return;
    }
    if (IsHost(a) && size == 2) {
        e.flagsFit = e.flagsFit && IsNarrow(a.number);
    }
    StoreValue(e, a, x86::rax, size);
}

// MOVE with a vector register, where that needs no general one. False when it was not done.
bool MoveByVector(Emission& e, const OperandPlace& a, const OperandPlace& b, u32 size) {
    if (size < 2) {
        return false;
    }
    if (IsVector(a)) {
        const x86::Xmm to = VectorRegister(vectorOf[a.number]);
        if (IsVector(b)) {
            const x86::Xmm from = VectorRegister(vectorOf[b.number]);
            if (size == 3) {
                e.a.movaps(to, from);
            } else {
                e.a.movss(to, from);
            }
            return true;
        }
        if (size == 3 && b.kind == PlaceKind::Constant && b.constant == 0) {
            e.a.xorps(to, to);
            return true;
        }
        if (size == 3 && b.kind != PlaceKind::Constant) {
            e.a.emit(x86::Inst::kIdMovq, to, OperandOf(b, 3));
            return true;
        }
        LoadValue(e, x86::rax, b, size);
        StoreValue(e, a, x86::rax, size);
        return true;
    }
    if (!IsVector(b) || IsHost(a)) {
        return false;
    }
    const x86::Xmm from = VectorRegister(vectorOf[b.number]);
    if (size == 3) {
        e.a.movq(MemoryOf(a, 3), from);
    } else {
        e.a.movd(MemoryOf(a, 2), from);
    }
    return true;
}

void EmitMove(Emission& e, const OperandPlace& a, const OperandPlace& b, u32 size) {
    if (IsDirect(a, size)) {
        LoadValue(e, HostRegister(hostOf[a.number]), b, size);
        return;
    }
    if (MoveByVector(e, a, b, size)) {
        return;
    }
    if (!IsHost(a) && !IsVector(a) && b.kind == PlaceKind::Constant &&
        (size < 3 || FitsSigned32(b.constant))) {
        const i64 value = size == 0   ? static_cast<i8>(b.constant)
                          : size == 1 ? static_cast<i16>(b.constant)
                                      : static_cast<i32>(b.constant);
        e.a.mov(MemoryOf(a, size), value);
        return;
    }
    if (!IsHost(a) && !IsVector(a) && IsHost(b)) {
        e.a.mov(MemoryOf(a, size), Sized(HostRegister(hostOf[b.number]), size));
        return;
    }
    LoadValue(e, x86::rax, b, size);
    StoreValue(e, a, x86::rax, size);
}

void EmitMoveZero(Emission& e, const OperandPlace& a, const OperandPlace& b, u32 size) {
    if (IsHost(a)) {
        LoadValue(e, HostRegister(hostOf[a.number]), b, size);
        return;
    }
    LoadValue(e, x86::rax, b, size);
    StoreWhole(e, a, x86::rax);
}

u32 ShiftInstruction(TwoOperand op) {
    if (op == TwoOperand::Asr) {
        return x86::Inst::kIdSar;
    }
    return op == TwoOperand::Lsr ? x86::Inst::kIdShr : x86::Inst::kIdShl;
}

// The processor takes counts modulo 32, and 64 for 64 bits, as the machine does.
void EmitShift(Emission& e, TwoOperand op, const OperandPlace& a, const OperandPlace& b, u32 size) {
    const bool isConstant = b.kind == PlaceKind::Constant;
    const u32 count = static_cast<u32>(b.constant) & (size == 3 ? 63u : 31u);
    if (!isConstant) {
        LoadValue(e, x86::rcx, b, 0);
    }
    const bool direct = IsDirect(a, size);
    const x86::Gp target = direct ? HostRegister(hostOf[a.number]) : x86::Gp(x86::rax);
    if (!direct && op == TwoOperand::Asr && size < 2) {
        LoadSigned(e, x86::rax, a, size);
    } else if (!direct) {
        LoadValue(e, x86::rax, a, size);
    }
    const x86::Gp sized = Sized(target, size < 2 ? 2 : size);
    if (isConstant) {
        e.a.emit(ShiftInstruction(op), sized, Imm(count));
    } else {
        e.a.emit(ShiftInstruction(op), sized, x86::cl);
    }
    KeepResult(e, target, size);
    e.flagsFit = isConstant && count != 0 && size >= 2 && direct;
    if (!direct) {
        StoreValue(e, a, x86::rax, size);
    }
}

// --- Division

// What cannot be divided is left to the interpreter, and its message.
void RequireDivision(Emission& e, bool isSigned, u32 size) {
    const u32 wide = size < 2 ? 2 : size;
    const x86::Gp divisor = Sized(x86::rcx, wide);
    e.a.test(divisor, divisor);
    e.a.jz(LeaveLabel(e));
    if (!isSigned) {
        return;
    }
    const Label fits = e.a.newLabel();
    e.a.cmp(divisor, -1);
    e.a.jne(fits);
    if (size == 3) {
        e.a.mov(x86::rdx, u64{1} << 63);
        e.a.cmp(x86::rax, x86::rdx);
    } else {
        e.a.cmp(x86::eax, size == 2   ? std::numeric_limits<i32>::min()
                          : size == 1 ? std::numeric_limits<i16>::min()
                                      : std::numeric_limits<i8>::min());
    }
    e.a.je(LeaveLabel(e));
    e.a.bind(fits);
}

void EmitDivision(Emission& e, TwoOperand op, const OperandPlace& a, const OperandPlace& b,
                  u32 size) {
    const bool isSigned = op == TwoOperand::Divs || op == TwoOperand::Mods;
    const u32 wide = size < 2 ? 2 : size;
    const x86::Mem kept = x86::qword_ptr(kStateRegister, offsetof(TranslatedState, kept));
    if (!IsHost(a) && a.kind == PlaceKind::Memory) {
        e.a.mov(kept, x86::rdx);
    }
    if (b.kind == PlaceKind::Constant) {
        OperandPlace extended = b;
        if (isSigned && size == 0) {
            extended.constant = static_cast<u32>(static_cast<i8>(b.constant));
        }
        if (isSigned && size == 1) {
            extended.constant = static_cast<u32>(static_cast<i16>(b.constant));
        }
        LoadValue(e, x86::rcx, extended, isSigned ? wide : size);
    } else if (isSigned) {
        LoadSigned(e, x86::rcx, b, size);
    } else {
        LoadValue(e, x86::rcx, b, size);
    }
    if (isSigned) {
        LoadSigned(e, x86::rax, a, size);
    } else {
        LoadValue(e, x86::rax, a, size);
    }
    RequireDivision(e, isSigned, size);
    if (isSigned) {
        if (wide == 3) {
            e.a.cqo();
            e.a.idiv(x86::rcx);
        } else {
            e.a.cdq();
            e.a.idiv(x86::ecx);
        }
    } else {
        e.a.xor_(x86::edx, x86::edx);
        e.a.div(Sized(x86::rcx, wide));
    }
    if (op == TwoOperand::Mods || op == TwoOperand::Modu) {
        e.a.mov(x86::rax, x86::rdx);
    }
    if (!IsHost(a) && a.kind == PlaceKind::Memory) {
        e.a.mov(x86::rdx, kept);
    }
    StoreValue(e, a, x86::rax, size);
}

// --- Floating point

void LoadFloat(Emission& e, const x86::Xmm& to, const OperandPlace& place, u32 size) {
    if (place.kind == PlaceKind::Constant) {
        LoadValue(e, x86::rax, place, size);
    } else if (IsVector(place)) {
        e.a.movaps(to, VectorRegister(vectorOf[place.number]));
        return;
    } else if (!IsHost(place)) {
        if (size == 2) {
            e.a.movss(to, MemoryOf(place, 2));
        } else {
            e.a.movsd(to, MemoryOf(place, 3));
        }
        return;
    }
    const x86::Gp from =
        place.kind == PlaceKind::Constant ? x86::Gp(x86::rax) : HostRegister(hostOf[place.number]);
    if (size == 2) {
        e.a.movd(to, from.r32());
    } else {
        e.a.movq(to, from);
    }
}

void StoreFloat(Emission& e, const OperandPlace& place, const x86::Xmm& from, u32 size) {
    if (!IsHost(place)) {
        if (size == 2) {
            e.a.movss(MemoryOf(place, 2), from);
        } else {
            e.a.movsd(MemoryOf(place, 3), from);
        }
        return;
    }
    if (size == 2) {
        e.a.movd(x86::eax, from);
    } else {
        e.a.movq(x86::rax, from);
    }
    StoreValue(e, place, x86::rax, size);
}

u32 FloatInstruction(TwoOperand op, u32 size) {
    const bool isSingle = size == 2;
    switch (op) {
        case TwoOperand::Fadd: return isSingle ? x86::Inst::kIdAddss : x86::Inst::kIdAddsd;
        case TwoOperand::Fsub: return isSingle ? x86::Inst::kIdSubss : x86::Inst::kIdSubsd;
        case TwoOperand::Fmul: return isSingle ? x86::Inst::kIdMulss : x86::Inst::kIdMulsd;
        default: return isSingle ? x86::Inst::kIdDivss : x86::Inst::kIdDivsd;
    }
}

void EmitFloat(Emission& e, TwoOperand op, const OperandPlace& a, const OperandPlace& b, u32 size) {
    x86::Xmm target = x86::xmm0;
    x86::Xmm source = x86::xmm1;
    if (IsVector(a)) {
        target = VectorRegister(vectorOf[a.number]);
    } else {
        LoadFloat(e, target, a, size);
    }
    if (IsVector(b)) {
        source = VectorRegister(vectorOf[b.number]);
    } else {
        LoadFloat(e, source, b, size);
    }
    if (op == TwoOperand::Fcmp) {
        return;
    }
    e.a.emit(FloatInstruction(op, size), target, source);
    if (!IsVector(a)) {
        StoreFloat(e, a, target, size);
    }
}

void EmitLoadAddress(Emission& e, const DecodedInstruction& in, const OperandPlace& a) {
    if (IsConstant(in.form.b)) {
        ConstantPlace(e, in, SizeOf(in));
    }
    EmitAddress(e, in.form.b, NumberIn(in, in.form.bField), OffsetOf(in, in.form.b, WordOfB(in)),
                x86::rcx);
    StoreValue(e, a, x86::rcx, 2);
}

void EmitBlockMove(Emission& e, const DecodedInstruction& in) {
    EmitAddress(e, in.form.a, NumberIn(in, in.form.aField), OffsetOf(in, in.form.a, in.words[0]),
                x86::rdx);
    EmitAddress(e, in.form.b, NumberIn(in, in.form.bField), OffsetOf(in, in.form.b, WordOfB(in)),
                x86::rcx);
    e.a.mov(x86::eax, SizeOf(in));
    e.a.call(reinterpret_cast<u64>(e.shared.moveBlock));
    e.a.jz(LeaveLabel(e));
}

}  // namespace

void EmitTwoOperands(Emission& e, const DecodedInstruction& in) {
    const TwoOperand op = TwoOperandOf(in);
    if (op == TwoOperand::Blockmove) {
        EmitBlockMove(e, in);
        return;
    }
    const u32 size = SizeOf(in);
    const OperandPlace a =
        PlaceFor(e, in.form.a, NumberIn(in, in.form.aField), OffsetOf(in, in.form.a, in.words[0]),
                 x86::rdx, WritesA(op) ? Use::Write : Use::Read);
    if (op == TwoOperand::Lea) {
        EmitLoadAddress(e, in, a);
        return;
    }
    const OperandPlace b =
        IsConstant(in.form.b) ? ConstantPlace(e, in, size)
                              : PlaceFor(e, in.form.b, NumberIn(in, in.form.bField),
                                         OffsetOf(in, in.form.b, WordOfB(in)), x86::rcx, Use::Read);
    if (op >= TwoOperand::Fadd && op <= TwoOperand::Fcmp) {
        EmitFloat(e, op, a, b, size);
    } else if (op == TwoOperand::Move) {
        EmitMove(e, a, b, size);
    } else if (op == TwoOperand::Movez) {
        EmitMoveZero(e, a, b, size);
    } else if (IsShift(op)) {
        EmitShift(e, op, a, b, size);
    } else if (IsDivision(op)) {
        EmitDivision(e, op, a, b, size);
    } else {
        EmitSimple(e, op, a, b, size);
        if (in.form.a == Mode::Frame && WritesA(op) && size >= 2) {
            e.leftInRax = Emission::InFrame{FrameOffset(in.w), size};
        }
    }
}

}  // namespace moxi
