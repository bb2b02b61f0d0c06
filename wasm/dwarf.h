#pragma once
// What the readers of DWARF's sections share.

#include <string>
#include <string_view>

#include "wasm/cursor.h"
#include "wasm/module.h"

namespace moxi {

// The contents of a custom section; nothing where there is none of that name.
std::string_view SectionOf(const Module& module, std::string_view name);

ByteCursor CursorOver(std::string_view bytes);

// A text that ends with a NUL. Control characters become question marks: it goes into lines.
std::string ReadDwarfText(ByteCursor& cursor);
// The same at an offset of a section; of a text without an end the beginning.
std::string DwarfTextAt(std::string_view section, u64 offset);

// Word `index` of a table of words that begins at `base`; 0 beyond its end.
u64 DwarfWordAt(std::string_view section, u64 base, u64 index);

// Variable-length numbers whose size nobody has promised: what is beyond 64 bits is lost.
u64 ReadLeb(ByteCursor& cursor);
i64 ReadSignedLeb(ByteCursor& cursor);
u16 ReadShort(ByteCursor& cursor);

}  // namespace moxi
