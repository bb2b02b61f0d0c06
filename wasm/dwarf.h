#pragma once
// What the readers of DWARF's sections share.

#include <string>
#include <string_view>

#include "wasm/cursor.h"
#include "wasm/module.h"

namespace moxi {

// How a value of an entry is written: the format's numbers (DWARF 5, 7.5.6).
enum class DwarfForm : u64 {
    Addr = 0x01,
    Block2 = 0x03,
    Block4 = 0x04,
    Data2 = 0x05,
    Data4 = 0x06,
    Data8 = 0x07,
    String = 0x08,
    Block = 0x09,
    Block1 = 0x0A,
    Data1 = 0x0B,
    Flag = 0x0C,
    Sdata = 0x0D,
    Strp = 0x0E,
    Udata = 0x0F,
    RefAddr = 0x10,
    Ref1 = 0x11,
    Ref2 = 0x12,
    Ref4 = 0x13,
    Ref8 = 0x14,
    RefUdata = 0x15,
    Indirect = 0x16,
    SecOffset = 0x17,
    Exprloc = 0x18,
    FlagPresent = 0x19,
    Strx = 0x1A,
    Addrx = 0x1B,
    RefSup4 = 0x1C,
    StrpSup = 0x1D,
    Data16 = 0x1E,
    LineStrp = 0x1F,
    RefSig8 = 0x20,
    ImplicitConst = 0x21,
    Loclistx = 0x22,
    Rnglistx = 0x23,
    RefSup8 = 0x24,
    Strx1 = 0x25,
    Strx2 = 0x26,
    Strx3 = 0x27,
    Strx4 = 0x28,
    Addrx1 = 0x29,
    Addrx2 = 0x2A,
    Addrx3 = 0x2B,
    Addrx4 = 0x2C,
};

// The contents of a custom section, in the bytes of the module; nothing where there is none of that
// name.
std::string_view SectionOf(const Module& module, std::string_view name);

// Refers to the bytes, which have to outlive it.
ByteCursor CursorOver(std::string_view bytes);

// A text that ends with a NUL. Control characters become question marks: it goes into lines.
std::string ReadDwarfText(ByteCursor& cursor);
// The same at an offset of a section; nothing beyond its end, and of a very long text the
// beginning.
std::string DwarfTextAt(std::string_view section, u64 offset);

// Word `index`, of 4 bytes, of a table that begins at offset `base`; 0 beyond the section's end.
u64 DwarfWordAt(std::string_view section, u64 base, u64 index);

// Numbers in LEB128 that may be of any length, unlike those of ByteCursor: bits beyond 64 are lost.
u64 ReadLeb(ByteCursor& cursor);
i64 ReadSignedLeb(ByteCursor& cursor);
// Two bytes, the lower one first.
u16 ReadShort(ByteCursor& cursor);

}  // namespace moxi
