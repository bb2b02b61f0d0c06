#pragma once
// Which source lines a module's code comes from, by the DWARF line table that compilers leave in
// the custom section .debug_line.

#include <string>
#include <vector>

#include "base/types.h"
#include "wasm/module.h"

namespace moxi {

// From `offset` on, up to the next one, the code comes from that line; line 0 is no line at all.
struct SourceLine {
    u32 offset = 0;  // in the module's file
    u32 line = 0;
    u32 file = 0;  // index into SourceLines::files
};

struct SourceLines {
    std::vector<std::string> files;
    std::vector<SourceLine> lines;  // ascending
};

// The lines of a module's code; nothing without a table. A damaged table is read as far as it makes
// sense.
SourceLines ReadSourceLines(const Module& module);

// The line of the code at `offset` in the module's file, owned by `lines`; null where none is
// known.
const SourceLine* FindSourceLine(const SourceLines& lines, u32 offset);

}  // namespace moxi
