#include "wasm/fold.h"

#include <bit>

#include "wasm/operators.h"

namespace moxi {

namespace {

// The operators of one integer type, in the order of their codes.
enum class Arithmetic : u8 {
    Add,
    Sub,
    Mul,
    DivS,
    DivU,
    RemS,
    RemU,
    And,
    Or,
    Xor,
    Shl,
    ShrS,
    ShrU,
    Rotl,
    Rotr,
    Count
};
// The comparisons of one integer type, in the order of their codes.
enum class Comparison : u8 { Eq, Ne, LtS, LtU, GtS, GtU, LeS, LeU, GeS, GeU, Count };

template <class T>
bool FoldArithmetic(Arithmetic operation, T a, T b, u64& result) {
    using S = std::make_signed_t<T>;
    constexpr u32 kBits = sizeof(T) * 8;
    const u32 count = static_cast<u32>(b & (kBits - 1));
    switch (operation) {
        case Arithmetic::Add: result = static_cast<T>(a + b); return true;
        case Arithmetic::Sub: result = static_cast<T>(a - b); return true;
        case Arithmetic::Mul: result = static_cast<T>(a * b); return true;
        case Arithmetic::And: result = a & b; return true;
        case Arithmetic::Or: result = a | b; return true;
        case Arithmetic::Xor: result = a ^ b; return true;
        case Arithmetic::Shl: result = static_cast<T>(a << count); return true;
        case Arithmetic::ShrS: result = static_cast<T>(static_cast<S>(a) >> count); return true;
        case Arithmetic::ShrU: result = static_cast<T>(a >> count); return true;
        case Arithmetic::Rotl: result = std::rotl(a, static_cast<int>(count)); return true;
        case Arithmetic::Rotr: result = std::rotr(a, static_cast<int>(count)); return true;
        default: return false;  // divisions may trap
    }
}

template <class T>
bool FoldComparison(Comparison operation, T a, T b, u64& result) {
    using S = std::make_signed_t<T>;
    const S sa = static_cast<S>(a);
    const S sb = static_cast<S>(b);
    switch (operation) {
        case Comparison::Eq: result = a == b; return true;
        case Comparison::Ne: result = a != b; return true;
        case Comparison::LtS: result = sa < sb; return true;
        case Comparison::LtU: result = a < b; return true;
        case Comparison::GtS: result = sa > sb; return true;
        case Comparison::GtU: result = a > b; return true;
        case Comparison::LeS: result = sa <= sb; return true;
        case Comparison::LeU: result = a <= b; return true;
        case Comparison::GeS: result = sa >= sb; return true;
        case Comparison::GeU: result = a >= b; return true;
        default: return false;
    }
}

}  // namespace

bool FoldUnary(u8 code, u64 a, u64& result) {
    const u32 low = static_cast<u32>(a);
    switch (static_cast<Plain>(code)) {
        case Plain::I32Eqz: result = low == 0; return true;
        case Plain::I64Eqz: result = a == 0; return true;
        case Plain::I32Clz: result = static_cast<u64>(std::countl_zero(low)); return true;
        case Plain::I32Ctz: result = static_cast<u64>(std::countr_zero(low)); return true;
        case Plain::I32Popcnt: result = static_cast<u64>(std::popcount(low)); return true;
        case Plain::I64Clz: result = static_cast<u64>(std::countl_zero(a)); return true;
        case Plain::I64Ctz: result = static_cast<u64>(std::countr_zero(a)); return true;
        case Plain::I64Popcnt: result = static_cast<u64>(std::popcount(a)); return true;
        case Plain::I32WrapI64: result = low; return true;
        case Plain::I64ExtendI32S:
            result = static_cast<u64>(i64{static_cast<i32>(low)});
            return true;
        case Plain::I64ExtendI32U: result = low; return true;
        case Plain::I32Extend8S: result = static_cast<u32>(i32{static_cast<i8>(low)}); return true;
        case Plain::I32Extend16S:
            result = static_cast<u32>(i32{static_cast<i16>(low)});
            return true;
        case Plain::I64Extend8S: result = static_cast<u64>(i64{static_cast<i8>(a)}); return true;
        case Plain::I64Extend16S: result = static_cast<u64>(i64{static_cast<i16>(a)}); return true;
        case Plain::I64Extend32S: result = static_cast<u64>(i64{static_cast<i32>(a)}); return true;
        case Plain::I32ReinterpretF32:
        case Plain::F32ReinterpretI32:
        case Plain::I64ReinterpretF64:
        case Plain::F64ReinterpretI64: result = a; return true;
        case Plain::F32Neg: result = low ^ 0x80000000u; return true;
        case Plain::F32Abs: result = low & 0x7FFFFFFFu; return true;
        case Plain::F64Neg: result = a ^ u64 { 1 } << 63; return true;
        case Plain::F64Abs: result = a & ~(u64{1} << 63); return true;
        default: return false;
    }
}

bool FoldBinary(u8 code, u64 a, u64 b, u64& result) {
    const u32 lowA = static_cast<u32>(a);
    const u32 lowB = static_cast<u32>(b);
    constexpr u8 kI32Compare = static_cast<u8>(Plain::I32Eq);
    constexpr u8 kI64Compare = static_cast<u8>(Plain::I64Eq);
    constexpr u8 kI32Add = static_cast<u8>(Plain::I32Add);
    constexpr u8 kI64Add = static_cast<u8>(Plain::I64Add);
    const auto isIn = [code](u8 first, auto count) {
        return code >= first && code - first < static_cast<u8>(count);
    };
    if (isIn(kI32Compare, Comparison::Count)) {
        return FoldComparison(static_cast<Comparison>(code - kI32Compare), lowA, lowB, result);
    }
    if (isIn(kI64Compare, Comparison::Count)) {
        return FoldComparison(static_cast<Comparison>(code - kI64Compare), a, b, result);
    }
    if (isIn(kI32Add, Arithmetic::Count)) {
        return FoldArithmetic(static_cast<Arithmetic>(code - kI32Add), lowA, lowB, result);
    }
    if (isIn(kI64Add, Arithmetic::Count)) {
        return FoldArithmetic(static_cast<Arithmetic>(code - kI64Add), a, b, result);
    }
    return false;
}

}  // namespace moxi
