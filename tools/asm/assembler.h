#pragma once
// The MX assembler as a library: text in, the bytes of a MAIN.MX out. docs/assembler.md is the
// language's manual. Tests and tools assemble in-process; mxasm_command.h is the program.

#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"
#include "tools/asm/records.h"

namespace moxi {

// Assembles `source`. `fileName` is what messages call it; its folder is where included files are
// looked for. Any bytes are welcome: bad input gives errors, never more than a bounded amount of
// time and memory.
AssembleResult Assemble(std::string_view source, const std::string& fileName,
                        const AssembleOptions& options = {});

// One error as text: "FILE:LINE:COLUMN: error: what", the source line, a caret, and a note for
// each macro that leads to the place. Ends with a line feed.
std::string FormatError(const AssembleError& error);
std::string FormatErrors(const AssembleResult& result);

// The low 32 bits of the value of a label or constant of a successful result; 0xFFFFFFFF when there
// is none of that name.
u32 SymbolValue(const AssembleResult& result, std::string_view name);

// The text of a symbol file: a line for each symbol, such as "00000200 code start".
std::string FormatSymbols(const AssembleResult& result);

// The words of a single instruction that uses no names; empty when `text` is no valid one.
std::vector<u32> AssembleInstruction(std::string_view text);

}  // namespace moxi
