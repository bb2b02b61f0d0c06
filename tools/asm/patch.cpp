#include "tools/asm/patch.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>

#include "base/bytes.h"

namespace moxi {

namespace mxasm {

namespace {

struct Range {
    i64 low;
    i64 high;
    const char* what;
};

constexpr i64 kMaxU32 = 0xFFFFFFFF;
constexpr i64 kMinI32 = -0x80000000LL;
constexpr i64 kMaxBranchTarget = 0xFFFFFC;

Range RangeOf(Slot slot) {
    switch (slot) {
        case Slot::Byte:
        case Slot::ImmediateByte: return {-128, 255, "a BYTE"};
        case Slot::Word:
        case Slot::Short16:
        case Slot::ImmediateWord: return {-32768, 65535, "a WORD"};
        case Slot::Long:
        case Slot::ImmediateLong: return {kMinI32, kMaxU32, "a LONG"};
        case Slot::Displacement: return {kMinI32, kMaxU32, "a 32-bit displacement"};
        case Slot::Address: return {0, kMaxU32, "an address"};
        case Slot::CallTarget: return {0, kMaxU32, "a call target"};
        case Slot::Target: return {0, kMaxBranchTarget, "a branch target, which lies below 16 MB"};
        case Slot::FrameOffset: return {-32768, 32767, "a frame offset"};
        case Slot::LowQuick:
        case Slot::HighQuick:
        case Slot::LowQuickLong:
        case Slot::HighQuickLong: return {-8, 7, "a quick value"};
        case Slot::ArgumentBytes: return {0, 65535, "an argument byte count"};
        case Slot::Locals: return {0, 262143, "a size of locals"};
        case Slot::Registers: return {0, 15, "a register count"};
        case Slot::Short22: return {-2097152, 2097151, "a short push"};
        default:
            return {std::numeric_limits<i64>::min(), std::numeric_limits<i64>::max(), "a QUAD"};
    }
}

std::string Number(i64 value) {
    std::string text = std::to_string(value);
    if (value >= 512) {
        char hex[32];
        std::snprintf(hex, sizeof hex, " (0x%llX)", static_cast<unsigned long long>(value));
        text += hex;
    }
    return text;
}

bool IsRealField(Slot slot) {
    return slot == Slot::Float || slot == Slot::Double || slot == Slot::ImmediateFloat ||
           slot == Slot::ImmediateDouble;
}

std::string PutReal(Slot slot, const Value& value, u8* bytes) {
    const f64 real = value.isFloat ? value.real : static_cast<f64>(value.integer);
    if (slot == Slot::Double || slot == Slot::ImmediateDouble) {
        StoreBytes(bytes, real);
        return {};
    }
    const auto single = static_cast<f32>(real);
    if (std::isinf(single) && !std::isinf(real)) {
        return "the number does not fit in a FLOAT";
    }
    StoreBytes(bytes, single);
    return {};
}

void OrInto(u8* bytes, u32 bits) {
    StoreBytes(bytes, LoadBytes<u32>(bytes) | bits);
}

}  // namespace

u32 SlotSize(Slot slot) {
    switch (slot) {
        case Slot::Byte: return 1;
        case Slot::Word: return 2;
        case Slot::Quad:
        case Slot::Double:
        case Slot::ImmediateQuad:
        case Slot::ImmediateDouble: return 8;
        default: return 4;
    }
}

i64 AsSignedLong(i64 value) {
    return value > std::numeric_limits<i32>::max() && value <= kMaxU32 ? value - (kMaxU32 + 1)
                                                                       : value;
}

std::string PutValue(Slot slot, const Value& value, u8* bytes) {
    if (IsRealField(slot)) {
        return PutReal(slot, value, bytes);
    }
    if (value.isFloat) {
        return "a whole number is needed here; floating-point values go with .F, .D, .float and "
               ".double";
    }
    const Range range = RangeOf(slot);
    i64 number = value.integer;
    if (slot == Slot::Short22 || slot == Slot::LowQuickLong || slot == Slot::HighQuickLong) {
        number = AsSignedLong(number);
    }
    if (number < range.low || number > range.high) {
        return Number(number) + " does not fit " + range.what + " (" + Number(range.low) + " to " +
               Number(range.high) + ")";
    }
    const bool isTarget = slot == Slot::Target || slot == Slot::CallTarget;
    if (isTarget && number % 4 != 0) {
        return "the target " + Number(number) + " is not a multiple of 4";
    }
    const auto bits = static_cast<u32>(static_cast<u64>(number));
    switch (slot) {
        case Slot::Byte: StoreBytes(bytes, static_cast<u8>(bits)); break;
        case Slot::Word: StoreBytes(bytes, static_cast<u16>(bits)); break;
        case Slot::Quad:
        case Slot::ImmediateQuad: StoreBytes(bytes, static_cast<u64>(number)); break;
        case Slot::Target: OrInto(bytes, bits << 8); break;
        case Slot::FrameOffset:
        case Slot::ArgumentBytes: OrInto(bytes, bits << 16); break;
        case Slot::LowQuick:
        case Slot::LowQuickLong: OrInto(bytes, (bits & 15) << 5); break;
        case Slot::HighQuick:
        case Slot::HighQuickLong: OrInto(bytes, (bits & 15) << 16); break;
        case Slot::Locals: OrInto(bytes, bits << 14); break;
        case Slot::Short16: OrInto(bytes, (bits & 0xFFFF) << 10); break;
        case Slot::Registers:
        case Slot::Short22: OrInto(bytes, bits << 10); break;
        default: StoreBytes(bytes, bits); break;
    }
    return {};
}

}  // namespace mxasm

}  // namespace moxi
