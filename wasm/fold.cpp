#include "wasm/fold.h"

#include <bit>

#include "wasm/operators.h"

namespace moxi {

namespace {

template <class T>
bool FoldArithmetic(u8 row, T a, T b, u64& result) {
    using S = std::make_signed_t<T>;
    constexpr u32 kBits = sizeof(T) * 8;
    const u32 count = static_cast<u32>(b & (kBits - 1));
    switch (row) {
        case 0: result = static_cast<T>(a + b); return true;
        case 1: result = static_cast<T>(a - b); return true;
        case 2: result = static_cast<T>(a * b); return true;
        case 7: result = a & b; return true;
        case 8: result = a | b; return true;
        case 9: result = a ^ b; return true;
        case 10: result = static_cast<T>(a << count); return true;
        case 11: result = static_cast<T>(static_cast<S>(a) >> count); return true;
        case 12: result = static_cast<T>(a >> count); return true;
        case 13: result = std::rotl(a, static_cast<int>(count)); return true;
        case 14: result = std::rotr(a, static_cast<int>(count)); return true;
        default: return false;  // divisions may trap
    }
}

template <class T>
bool FoldComparison(u8 row, T a, T b, u64& result) {
    using S = std::make_signed_t<T>;
    const S sa = static_cast<S>(a);
    const S sb = static_cast<S>(b);
    switch (row) {
        case 0: result = a == b; return true;
        case 1: result = a != b; return true;
        case 2: result = sa < sb; return true;
        case 3: result = a < b; return true;
        case 4: result = sa > sb; return true;
        case 5: result = a > b; return true;
        case 6: result = sa <= sb; return true;
        case 7: result = a <= b; return true;
        case 8: result = sa >= sb; return true;
        case 9: result = a >= b; return true;
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
        case Plain::I64ExtendI32S: result = static_cast<u64>(i64{static_cast<i32>(low)}); return true;
        case Plain::I64ExtendI32U: result = low; return true;
        case Plain::I32Extend8S: result = static_cast<u32>(i32{static_cast<i8>(low)}); return true;
        case Plain::I32Extend16S: result = static_cast<u32>(i32{static_cast<i16>(low)}); return true;
        case Plain::I64Extend8S: result = static_cast<u64>(i64{static_cast<i8>(a)}); return true;
        case Plain::I64Extend16S: result = static_cast<u64>(i64{static_cast<i16>(a)}); return true;
        case Plain::I64Extend32S: result = static_cast<u64>(i64{static_cast<i32>(a)}); return true;
        case Plain::I32ReinterpretF32:
        case Plain::F32ReinterpretI32:
        case Plain::I64ReinterpretF64:
        case Plain::F64ReinterpretI64: result = a; return true;
        case Plain::F32Neg: result = low ^ 0x80000000u; return true;
        case Plain::F32Abs: result = low & 0x7FFFFFFFu; return true;
        case Plain::F64Neg: result = a ^ u64{1} << 63; return true;
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
    if (code >= kI32Compare && code < kI32Compare + 10) {
        return FoldComparison<u32>(code - kI32Compare, lowA, lowB, result);
    }
    if (code >= kI64Compare && code < kI64Compare + 10) {
        return FoldComparison<u64>(code - kI64Compare, a, b, result);
    }
    if (code >= kI32Add && code < kI32Add + 15) {
        return FoldArithmetic<u32>(code - kI32Add, lowA, lowB, result);
    }
    if (code >= kI64Add && code < kI64Add + 15) {
        return FoldArithmetic<u64>(code - kI64Add, a, b, result);
    }
    return false;
}

}  // namespace moxi
