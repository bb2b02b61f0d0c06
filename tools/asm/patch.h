#pragma once
// Puts values into the fields of instructions and data, checking that they fit. The same check
// serves values that are known at once and those that had to wait.

#include "tools/asm/symbols.h"

namespace moxi {

namespace mxasm {

// A place for a value.
enum class Slot : u8 {
    // Data
    Byte,
    Word,
    Long,
    Quad,
    Float,
    Double,
    // Fields of the instruction word
    Target,        // bits 10..31: address / 4
    FrameOffset,   // bits 16..31, signed
    LowQuick,      // bits 5..8, signed
    HighQuick,     // bits 16..19, signed
    LowQuickLong,  // the same two for a LONG, where 0xFFFFFFFF is -1
    HighQuickLong,
    ArgumentBytes,  // bits 16..31
    Locals,         // bits 14..31
    Registers,      // bits 10..13
    Short16,        // bits 10..25: a WORD
    Short22,        // bits 10..31, signed
    // Extension words
    Address,
    CallTarget,
    Displacement,
    ImmediateByte,  // 32 bits written, the value must fit the size
    ImmediateWord,
    ImmediateLong,
    ImmediateQuad,
    ImmediateFloat,
    ImmediateDouble,
};

// How many bytes the unit takes that the slot lies in: the item of data, the instruction word or
// the extension words.
u32 SlotSize(Slot slot);

// Writes `value`, which must be known and absolute, into the unit at `bytes`; the unit's other
// fields stay. Returns what is wrong with the value, and writes nothing, or returns an empty text.
std::string PutValue(Slot slot, const Value& value, u8* bytes);

// A whole number seen as the 32-bit signed number it means at LONG size: 0xFFFFFFFF is -1.
i64 AsSignedLong(i64 value);

}  // namespace mxasm

}  // namespace moxi
