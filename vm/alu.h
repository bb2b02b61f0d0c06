#pragma once
// The arithmetic of the machine's operations on values, one template a operation for all sizes.
// T is always unsigned; signed operations convert inside.

#include <bit>
#include <limits>
#include <type_traits>

#include "base/types.h"
#include "vm/fault.h"
#include "vm/machine.h"
#include "vm/opcodes.h"

namespace moxi {

template <class T>
using SignedOf = std::make_signed_t<T>;

// ODD, ZERO and NEG of a result at its size.
template <class T>
constexpr u8 FlagsOf(T value) {
    constexpr u32 kSignBit = sizeof(T) * 8 - 1;
    return static_cast<u8>((value & 1) | (value == 0 ? kZero : 0) | ((value >> kSignBit) << 2));
}

// Shift counts are taken modulo 32, for QUAD modulo 64, so a BYTE or WORD can be shifted out.
template <class T>
constexpr u32 ShiftCount(u8 count) {
    return count & (sizeof(T) == 8 ? 63 : 31);
}

template <class T>
constexpr T ShiftRightSigned(T value, u8 count) {
    return static_cast<T>(static_cast<SignedOf<T>>(value) >> ShiftCount<T>(count));
}

template <class T>
constexpr T ShiftRight(T value, u8 count) {
    return static_cast<T>(value >> ShiftCount<T>(count));
}

template <class T>
constexpr T ShiftLeft(T value, u8 count) {
    using Wide = std::conditional_t<sizeof(T) == 8, u64, u32>;
    return static_cast<T>(static_cast<Wide>(value) << ShiftCount<T>(count));
}

template <class T>
constexpr T Multiply(T a, T b) {
    using Wide = std::conditional_t<sizeof(T) == 8, u64, u32>;
    return static_cast<T>(static_cast<Wide>(a) * static_cast<Wide>(b));
}

// Keeps the load of an integer as wide as it is, before what follows, also where nothing or only a
// part of the value comes to matter: an operand that is not all inside the image is a memory fault
// whatever the operation makes of it.
template <class T>
inline T KeepLoad(T value) {
    asm volatile("" : : "r"(value));
    return value;
}

// A zero divisor and the most negative value divided by -1 cannot be done at any size.
template <class T>
void RequireSignedDivision(T a, T b) {
    KeepLoad(a);
    const auto lowest = static_cast<T>(std::numeric_limits<SignedOf<T>>::min());
    if (b == 0 || (a == lowest && b == static_cast<T>(-1))) {
        DivisionError();
    }
}

template <class T>
T DivideSigned(T a, T b) {
    RequireSignedDivision(a, b);
    return static_cast<T>(static_cast<SignedOf<T>>(a) / static_cast<SignedOf<T>>(b));
}

template <class T>
T RemainderSigned(T a, T b) {
    RequireSignedDivision(a, b);
    return static_cast<T>(static_cast<SignedOf<T>>(a) % static_cast<SignedOf<T>>(b));
}

template <class T>
T Divide(T a, T b) {
    KeepLoad(a);
    if (b == 0) {
        DivisionError();
    }
    return static_cast<T>(a / b);
}

template <class T>
T Remainder(T a, T b) {
    KeepLoad(a);
    if (b == 0) {
        DivisionError();
    }
    return static_cast<T>(a % b);
}

// Truncation toward zero; out of range and not-a-number give the most negative value, on every
// processor.
template <class Float>
u64 TruncateToQuad(Float value) {
    constexpr u64 kIndefinite = u64{1} << 63;
    constexpr Float kLimit = static_cast<Float>(9223372036854775808.0);
    if (!(value >= -kLimit && value < kLimit)) {
        return kIndefinite;
    }
    return static_cast<u64>(static_cast<i64>(value));
}

// Whether a branch condition holds for a flag byte.
constexpr bool Holds(Condition condition, u8 flags) {
    switch (condition) {
        case Condition::Eq: return (flags & kZero) != 0;
        case Condition::Ne: return (flags & kZero) == 0;
        case Condition::Ge: return (flags & kNeg) == 0;
        case Condition::Gt: return (flags & (kZero | kNeg)) == 0;
        case Condition::Le: return (flags & (kZero | kNeg)) != 0;
        case Condition::Lt: return (flags & kNeg) != 0;
        case Condition::Ev: return (flags & kOdd) == 0;
        case Condition::Od: return (flags & kOdd) != 0;
    }
    return false;
}

}  // namespace moxi
