#pragma once
// What the fast interpreter's handlers do with operands, apart from finding the next handler: where
// an operand lies, what an operation makes of it, whether a condition holds. All of it is made for
// one form, operation and size at a time, and becomes part of the handler.

#include <cstring>
#include <limits>
#include <type_traits>

#include "vm/alu.h"
#include "vm/machine.h"
#include "vm/opcodes.h"
#include "vm/slow_path.h"

namespace moxi {

template <class T>
[[gnu::always_inline]] inline T Get(const u8* base, u64 address) {
    T value;
    std::memcpy(&value, base + address, sizeof value);
    return value;
}

template <class T>
[[gnu::always_inline]] inline void Put(u8* base, u64 address, T value) {
    std::memcpy(base + address, &value, sizeof value);
}

// --- Operands

constexpr u32 ExtensionWords(Mode mode, u32 size) {
    switch (mode) {
        case Mode::Indexed:
        case Mode::Absolute:
        case Mode::Frame32: return 1;
        case Mode::Immediate: return size == 3 ? 2 : 1;
        default: return 0;
    }
}

// Stands for bits 5..8 of the word in handlers that are for any value of them.
constexpr u32 kAnyLow = 16;

// An operand's address from its mode, with the offset of its extension word.
template <Mode kMode, Field kField, u32 kExtension, u32 kLow = kAnyLow>
[[gnu::always_inline]] inline u32 AddressOf(const u8* base, u64 pc, u64 fp, u32 w) {
    const u32 r = kField == Field::High ? HighRegister(w) : kLow < kAnyLow ? kLow : LowRegister(w);
    switch (kMode) {
        case Mode::Register: return RegisterAddress(r);
        case Mode::Indexed:
            return Get<u32>(base, pc + kExtension) + Get<u32>(base, RegisterAddress(r));
        case Mode::Absolute: return Get<u32>(base, pc + kExtension);
        case Mode::Frame: return static_cast<u32>(fp) + static_cast<u32>(FrameOffset(w));
        case Mode::Frame32: return static_cast<u32>(fp) + Get<u32>(base, pc + kExtension);
        default: return kImmediateSlot;
    }
}

// The value of a quick or immediate source, which has to stand in the immediate slot as well.
template <Mode kMode, Field kField, u32 kExtension, u32 kSize, u32 kLow>
[[gnu::always_inline]] inline u64 FillSlot(u8* base, u64 pc, u32 w) {
    u64 value;
    if constexpr (kMode == Mode::Quick) {
        const i32 quick = kField == Field::High ? HighQuick(w)
                          : kLow < kAnyLow      ? LowQuick(kLow << 5)
                                                : LowQuick(w);
        value = static_cast<u64>(i64{quick});
    } else if constexpr (kSize == 3) {
        value = Get<u64>(base, pc + kExtension);
    } else {
        value = Get<u32>(base, pc + kExtension);
    }
    if constexpr (kSize == 3) {
        Put<u64>(base, kImmediateSlot, value);
    } else {
        Put<u32>(base, kImmediateSlot, static_cast<u32>(value));
    }
    return value;
}

template <u32 kSize>
struct IntegerOf;
template <>
struct IntegerOf<0> {
    using Type = u8;
};
template <>
struct IntegerOf<1> {
    using Type = u16;
};
template <>
struct IntegerOf<2> {
    using Type = u32;
};
template <>
struct IntegerOf<3> {
    using Type = u64;
};

template <class T>
[[gnu::always_inline]] inline void KeepFlagsOf(T value) {
    lastThreadedResult = static_cast<SignedOf<T>>(value);
}

// --- Two-operand operations

constexpr bool IsDivision(TwoOperand op) {
    return op == TwoOperand::Divs || op == TwoOperand::Mods || op == TwoOperand::Divu ||
           op == TwoOperand::Modu;
}

constexpr bool IsFloat(TwoOperand op) {
    return op >= TwoOperand::Fadd && op <= TwoOperand::Fcmp;
}

constexpr bool IsShift(TwoOperand op) {
    return op == TwoOperand::Asr || op == TwoOperand::Lsr || op == TwoOperand::Lsl;
}

// Operations with a handler of their own; the others are rare or illegal.
constexpr bool IsFastTwoOperand(u32 number) {
    const auto op = static_cast<TwoOperand>(number & ~3u);
    if (IsFloat(op)) {
        return (number & 3) >= 2;
    }
    return op <= TwoOperand::Movez || op == TwoOperand::Lea;
}

constexpr bool WritesA(TwoOperand op) {
    return op != TwoOperand::Cmp && op != TwoOperand::Test && op != TwoOperand::Fcmp;
}

template <class T>
constexpr bool IsImpossibleDivision(TwoOperand op, T a, T b) {
    if (b == 0) {
        return true;
    }
    const bool isSigned = op == TwoOperand::Divs || op == TwoOperand::Mods;
    return isSigned && b == static_cast<T>(-1) &&
           a == static_cast<T>(std::numeric_limits<SignedOf<T>>::min());
}

template <TwoOperand kOp, class T>
[[gnu::always_inline]] inline T Calculate(T a, T b) {
    switch (kOp) {
        case TwoOperand::Divs:
            return static_cast<T>(static_cast<SignedOf<T>>(a) / static_cast<SignedOf<T>>(b));
        case TwoOperand::Mods:
            return static_cast<T>(static_cast<SignedOf<T>>(a) % static_cast<SignedOf<T>>(b));
        case TwoOperand::Divu: return static_cast<T>(a / b);
        case TwoOperand::Modu: return static_cast<T>(a % b);
        case TwoOperand::Asr: return ShiftRightSigned(a, static_cast<u8>(b));
        case TwoOperand::Lsr: return ShiftRight(a, static_cast<u8>(b));
        case TwoOperand::Lsl: return ShiftLeft(a, static_cast<u8>(b));
        case TwoOperand::Add: return static_cast<T>(a + b);
        case TwoOperand::Sub:
        case TwoOperand::Cmp: return static_cast<T>(a - b);
        case TwoOperand::Mul: return Multiply(a, b);
        case TwoOperand::Test:
        case TwoOperand::And: return static_cast<T>(a & b);
        case TwoOperand::Or: return static_cast<T>(a | b);
        case TwoOperand::Xor: return static_cast<T>(a ^ b);
        default: return b;  // MOVE and MOVEZ
    }
}

template <TwoOperand kOp, class Float>
[[gnu::always_inline]] inline Float CalculateFloat(Float a, Float b) {
    switch (kOp) {
        case TwoOperand::Fadd: return a + b;
        case TwoOperand::Fsub: return a - b;
        case TwoOperand::Fmul: return a * b;
        default: return a / b;
    }
}

constexpr bool SetsFlags(TwoOperand op) {
    for (const Operation& operation : kTwoOperandOperations) {
        if (operation.first == static_cast<u8>(op)) {
            return operation.setsFlags;
        }
    }
    return false;
}

// --- One-operand operations

constexpr bool IsFastOneOperand(u32 number) {
    const auto op = static_cast<OneOperand>(number & ~3u);
    if (number < static_cast<u32>(OneOperand::Neg)) {
        return number == static_cast<u32>(OneOperand::Fneg);
    }
    if (op == OneOperand::Extz || op == OneOperand::Exts) {
        return (number & 3) != 3;
    }
    return op <= OneOperand::Pea || (op >= OneOperand::Utof && op <= OneOperand::Dtol);
}

// Works on the value at `e`; what the stack needs is done by the handler.
template <u32 kNumber, class T>
[[gnu::always_inline]] inline void Transform(u8* base, u32 e) {
    constexpr auto kOp = static_cast<OneOperand>(kNumber & ~3u);
    constexpr bool kFneg = kNumber == static_cast<u32>(OneOperand::Fneg);
    if constexpr (kFneg) {
        Put<u32>(base, e, Get<u32>(base, e) ^ 0x80000000);
    } else if constexpr (kOp == OneOperand::Neg) {
        Put<T>(base, e, static_cast<T>(0 - Get<T>(base, e)));
    } else if constexpr (kOp == OneOperand::Not) {
        const T result = static_cast<T>(~Get<T>(base, e));
        Put<T>(base, e, result);
        KeepFlagsOf(result);
    } else if constexpr (kOp == OneOperand::Tst) {
        KeepFlagsOf(Get<T>(base, e));
    } else if constexpr (kOp == OneOperand::Extz) {
        Put<u64>(base, e, Get<T>(base, e));
    } else if constexpr (kOp == OneOperand::Exts) {
        Put<u64>(base, e, static_cast<u64>(i64{static_cast<SignedOf<T>>(Get<T>(base, e))}));
    } else if constexpr (kOp == OneOperand::Utof) {
        Put<u64>(base, e, std::bit_cast<u32>(static_cast<f32>(Get<T>(base, e))));
    } else if constexpr (kOp == OneOperand::Stof) {
        const f32 value = static_cast<f32>(static_cast<SignedOf<T>>(Get<T>(base, e)));
        Put<u64>(base, e, std::bit_cast<u32>(value));
    } else if constexpr (kOp == OneOperand::Utod) {
        Put<f64>(base, e, static_cast<f64>(Get<T>(base, e)));
    } else if constexpr (kOp == OneOperand::Stod) {
        Put<f64>(base, e, static_cast<f64>(static_cast<SignedOf<T>>(Get<T>(base, e))));
    } else if constexpr (kOp == OneOperand::Ftoq) {
        Put<u64>(base, e, TruncateToQuad(Get<f32>(base, e)));
    } else if constexpr (kOp == OneOperand::Dtoq) {
        Put<u64>(base, e, TruncateToQuad(Get<f64>(base, e)));
    } else if constexpr (kOp == OneOperand::Ftod) {
        Put<f64>(base, e, static_cast<f64>(Get<f32>(base, e)));
    } else {
        static_assert(kOp == OneOperand::Dtol);
        const f32 value = static_cast<f32>(Get<f64>(base, e));
        Put<u32>(base, e, static_cast<u32>(TruncateToQuad(value)));
    }
}

// --- Conditions

template <Condition kCondition>
[[gnu::always_inline]] inline bool HoldsFor(i64 result) {
    switch (kCondition) {
        case Condition::Eq: return result == 0;
        case Condition::Ne: return result != 0;
        case Condition::Ge: return result >= 0;
        case Condition::Gt: return result > 0;
        case Condition::Le: return result <= 0;
        case Condition::Lt: return result < 0;
        case Condition::Ev: return (result & 1) == 0;
        case Condition::Od: return (result & 1) != 0;
    }
}

}  // namespace moxi
