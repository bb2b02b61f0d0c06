#pragma once
// Which source lines a module's code comes from, and where its functions have their variables: what
// `mxcc --lines` and `mxwasm --lines` wrote, for those who look into the module while it runs.

#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

// Reads a file of lines in place of whatever was read before. Returns "", or in one line what is
// wrong with which file; then the lines so far stay.
std::string LoadLines(const std::string& path);

// The lines of the game: MAIN.LIN beside the MAIN.MX that is loaded. It may be missing.
std::string LinesFile();

// Reads them if they are there. Returns what is wrong, or "".
std::string LoadLinesOfGame();

size_t LineCount();

// --- Lines

// From `address` on, up to the next one, the code comes from this line.
struct CodeLine {
    u32 address;
    u32 line;  // 0 for code that comes from none
    u32 file;
};

// The line of an address; null where none is known. Good until the next LoadLines.
const CodeLine* LineAt(u32 address);

// The first address above `address` where LineAt may answer otherwise.
u32 NextLine(u32 address);

const std::string& NameOfFile(u32 file);
inline const std::string& FileOfLine(const CodeLine& line) {
    return NameOfFile(line.file);
}

// "main.c:12"; "" where no line is known.
std::string LineName(u32 address);

// A line as people name it: FILE:LINE, where FILE may be the end of a path. False for other texts.
bool SplitLineName(std::string_view text, std::string& file, u32& line);

// Where the code of a line begins, once in every function that has code of it; where it has none,
// that of the next line that has. At a function's own line it is behind what every function begins
// with, where its arguments are. Returns what is wrong, or "".
std::string FindLine(const std::string& file, u32 line, std::vector<u32>& addresses);

// --- Variables

// Where a variable is while the program is at the addresses from `from` up to `to`: it is what a
// register or a QUAD of the frame holds, or a number, or it lies in memory at the LONG of the
// register or of the frame plus an offset.
struct VariablePlace {
    u32 from;
    u32 to;
    enum class Kind : u8 { Register, Frame, Number } kind;
    bool isMemory;
    u32 reg;
    i32 slot;    // from FP
    i64 number;  // that of a Number, or the offset
};

// An argument or a variable of a function.
struct CodeVariable {
    u32 function;  // its address
    bool isArgument;
    u32 from;  // where a variable means something
    u32 to;
    std::string kind;  // i8 u8 i16 u16 i32 u32 i64 u64 f32 f64 bool char pointer, or block
    std::string name;
    std::vector<VariablePlace> places;  // at other addresses it is not known
};

// Whether values are of that kind, or "block" for what is shown by its address alone.
bool IsKindOfValue(std::string_view kind);

// Those of the function that begins there, in their order.
std::vector<CodeVariable> VariablesOf(u32 function);

// From here on a function's arguments are at their places; the function's own address where
// nothing is known.
u32 BodyOf(u32 function);

}  // namespace moxi
