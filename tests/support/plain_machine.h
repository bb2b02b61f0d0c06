#pragma once
// What the plain executor computes with: an image in a vector with every access checked, values of
// the four sizes, the ways to end, and operands. For plain_executor.cpp alone.

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "tests/support/plain_executor.h"

namespace moxi {

namespace plain {

// Thrown where an instruction ends the run half-way.
struct Halt {
    Outcome outcome;
};

constexpr u32 kPC = 136;
constexpr u32 kStackTop = 144;
constexpr u32 kStackLimit = 152;
constexpr u32 kSP = 160;
constexpr u32 kFP = 168;
constexpr u32 kModalChain = 176;
constexpr u32 kBlockCount = 184;
constexpr u32 kFlags = 192;
constexpr u32 kSlot = 256;
constexpr u32 kR15 = 128;

constexpr u8 kOddFlag = 1;
constexpr u8 kZeroFlag = 2;
constexpr u8 kNegFlag = 4;

inline u32 RegisterSlot(u32 r) {
    return 8 + 8 * r;
}

inline std::string WithAddress(const char* format, u32 address) {
    char text[200];
    std::snprintf(text, sizeof text, format, address);
    return text;
}

// What one run keeps outside the image.
struct State {
    Machine& m;
    u32 pc;    // of the current instruction
    u32 next;  // of the next one
    u32 sp;
    u32 fp;
    u8 flags;
};

// ---------------------------------------------------------------------------------------------
// Memory

inline u8* Range(Machine& m, u32 address, u64 count) {
    if (count == 0) {
        return m.memory.data();
    }
    const u64 topStart = (u64{1} << 32) - m.top.size();
    if (address >= topStart && u64{address} + count <= topStart + m.top.size()) {
        return m.top.data() + (address - topStart);
    }
    if (u64{address} + count > m.memory.size()) {
        throw Halt{Outcome::MemoryFault};
    }
    return m.memory.data() + address;
}

// Little-endian, 1, 2, 4 or 8 bytes.
inline u64 Read(Machine& m, u32 address, u32 bytes) {
    const u8* from = Range(m, address, bytes);
    u64 value = 0;
    for (u32 i = 0; i < bytes; ++i) {
        value |= u64{from[i]} << (8 * i);
    }
    return value;
}

inline u32 Read32(Machine& m, u32 address) {
    return static_cast<u32>(Read(m, address, 4));
}

inline void Write(Machine& m, u32 address, u64 value, u32 bytes) {
    u8* to = Range(m, address, bytes);
    for (u32 i = 0; i < bytes; ++i) {
        to[i] = static_cast<u8>(value >> (8 * i));
    }
}

// Nothing is copied unless both ranges lie in the image.
inline void CopyBlock(Machine& m, u32 to, u32 from, u64 count) {
    const u8* source = Range(m, from, count);
    u8* target = Range(m, to, count);
    std::memmove(target, source, count);
}

inline void Push(State& run, u64 value, u32 bytes) {
    run.sp -= bytes;
    Write(run.m, run.sp, value, bytes);
}

// ---------------------------------------------------------------------------------------------
// Values of a size: 0 BYTE, 1 WORD, 2 LONG, 3 QUAD

inline u32 BytesOf(u32 size) {
    return 1u << size;
}

inline u32 BitsOf(u32 size) {
    return 8u << size;
}

inline u64 Wrap(u64 value, u32 size) {
    return size == 3 ? value : value & ((u64{1} << BitsOf(size)) - 1);
}

inline i64 Signed(u64 value, u32 size) {
    const u32 unused = 64 - BitsOf(size);
    return static_cast<i64>(value << unused) >> unused;
}

inline u8 FlagsOf(u64 value, u32 size) {
    u8 flags = 0;
    if ((value & 1) != 0) {
        flags |= kOddFlag;
    }
    if (Wrap(value, size) == 0) {
        flags |= kZeroFlag;
    }
    if (Signed(value, size) < 0) {
        flags |= kNegFlag;
    }
    return flags;
}

// x86's conversion: everything that a 64-bit integer cannot hold becomes the most negative one.
inline u64 TruncateToQuad(f64 value) {
    const f64 limit = 9223372036854775808.0;
    if (!(value >= -limit && value < limit)) {
        return u64{1} << 63;
    }
    return static_cast<u64>(static_cast<i64>(value));
}

inline f32 FloatOf(u64 bits) {
    return std::bit_cast<f32>(static_cast<u32>(bits));
}

inline f64 DoubleOf(u64 bits) {
    return std::bit_cast<f64>(bits);
}

inline u64 BitsOfFloat(f32 value) {
    return std::bit_cast<u32>(value);
}

inline u64 BitsOfDouble(f64 value) {
    return std::bit_cast<u64>(value);
}

// ---------------------------------------------------------------------------------------------
// Ways to end

[[noreturn]] inline void FatalEnd(State& run, const char* format, Outcome outcome) {
    run.m.messages.push_back(WithAddress(format, run.pc));
    run.m.runState |= 1;
    run.next = run.pc;
    throw Halt{outcome};
}

[[noreturn]] inline void IllegalOpcode(State& run) {
    FatalEnd(run, "Illegal opcode at 0x%8.8X\nTerminating program. So terribly sorry.",
             Outcome::IllegalOpcode);
}

[[noreturn]] inline void StackOverflow(State& run) {
    FatalEnd(run, "Stack overflow at 0x%8.8X. Terminating. So sorry.", Outcome::StackOverflow);
}

inline void IllegalFloatSize(State& run) {
    run.m.messages.push_back(
        WithAddress("BYTE/WORD size illegal for FLOAT/DOUBLE at 0x%8.8X", run.pc));
}

// ---------------------------------------------------------------------------------------------
// Operands

inline u32 NextExtensionWord(State& run) {
    const u32 word = Read32(run.m, run.next);
    run.next += 4;
    return word;
}

inline u32 Indexed(State& run, u32 extension, u32 r) {
    return extension + Read32(run.m, RegisterSlot(r));
}

inline u32 FrameAddress(const State& run, u32 w) {
    return run.fp + static_cast<u32>(static_cast<i32>(static_cast<i16>(w >> 16)));
}

// A four-bit field in two's complement.
inline i32 QuickValue(u32 field) {
    const i32 value = static_cast<i32>(field & 15);
    return value < 8 ? value : value - 16;
}

inline u32 QuickSource(State& run, u32 field, u32 size) {
    const u64 value = static_cast<u64>(i64{QuickValue(field)});
    Write(run.m, kSlot, value, size == 3 ? 8 : 4);
    return kSlot;
}

inline u32 ImmediateSource(State& run, u32 size) {
    u64 value = NextExtensionWord(run);
    if (size == 3) {
        value |= u64{NextExtensionWord(run)} << 32;
    }
    Write(run.m, kSlot, value, size == 3 ? 8 : 4);
    return kSlot;
}

struct Operands {
    u32 a;
    u32 b;
};

enum class Way { Register, Indexed, Absolute, Frame, Frame32, Quick, Immediate };

// A form's two operands, and where in the word the register number or quick value of each begins:
// at bit 5 or 16, 0 where it has none.
struct Form {
    u32 code;
    Way a;
    u32 aField;
    Way b;
    u32 bField;
};

constexpr Form kForms[] = {
    {1, Way::Indexed, 5, Way::Quick, 16},      {2, Way::Indexed, 5, Way::Register, 16},
    {3, Way::Absolute, 0, Way::Frame, 0},      {5, Way::Absolute, 0, Way::Indexed, 5},
    {6, Way::Indexed, 5, Way::Absolute, 0},    {7, Way::Frame, 0, Way::Immediate, 0},
    {9, Way::Indexed, 5, Way::Frame, 0},       {10, Way::Indexed, 5, Way::Indexed, 16},
    {11, Way::Frame, 0, Way::Indexed, 5},      {13, Way::Absolute, 0, Way::Immediate, 0},
    {14, Way::Indexed, 5, Way::Immediate, 0},  {15, Way::Frame, 0, Way::Frame32, 0},
    {17, Way::Register, 5, Way::Frame, 0},     {18, Way::Register, 5, Way::Indexed, 16},
    {19, Way::Frame, 0, Way::Register, 5},     {21, Way::Absolute, 0, Way::Absolute, 0},
    {22, Way::Register, 5, Way::Immediate, 0}, {23, Way::Frame, 0, Way::Quick, 5},
    {25, Way::Absolute, 0, Way::Register, 5},  {26, Way::Register, 5, Way::Absolute, 0},
    {27, Way::Frame, 0, Way::Absolute, 0},     {28, Way::Register, 5, Way::Register, 16},
    {29, Way::Absolute, 0, Way::Quick, 5},     {30, Way::Register, 5, Way::Quick, 16},
};

inline u32 OperandAddress(State& run, Way way, u32 w, u32 fieldAt, u32 size) {
    const u32 field = (w >> fieldAt) & 15;
    switch (way) {
        case Way::Register: return RegisterSlot(field);
        case Way::Indexed: return Indexed(run, NextExtensionWord(run), field);
        case Way::Absolute: return NextExtensionWord(run);
        case Way::Frame: return FrameAddress(run, w);
        case Way::Frame32: return run.fp + NextExtensionWord(run);
        case Way::Quick: return QuickSource(run, field, size);
        case Way::Immediate: return ImmediateSource(run, size);
    }
    return 0;
}

// A's extension word comes before B's. In form 5 a block push takes the word itself, which is `a`.
inline Operands TwoOperands(State& run, u32 w, u32 size) {
    const Form* form = kForms;
    while (form->code != (w & 31)) {
        ++form;
    }
    const u32 a = OperandAddress(run, form->a, w, form->aField, size);
    const u32 b = OperandAddress(run, form->b, w, form->bField, size);
    return {a, b};
}

}  // namespace plain

}  // namespace moxi
