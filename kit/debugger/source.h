#pragma once
// The debugger speaks of source lines: where code comes from, what stands there, and the arguments
// of a function with their names.

#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

// " at main.c:12" for code whose line is known, else "".
std::string AtLine(u32 address);

// Says the line of an address with its text, if it is known.
void ShowLine(u32 address);

// Says `count` lines of a file around one of them; `=>` marks the one that the address stands at.
void ShowSource(const std::string& file, u32 line, u32 count, u32 address);

// Where the registers of a frame lie: those that inner frames have saved, in their frames.
struct FrameRegisters {
    u32 places[16];
};
FrameRegisters RegistersNow();
// Those of the caller, from a frame's function and its FP.
void Unwind(FrameRegisters& registers, u32 function, u32 fp);

// "count=3, name=0x1A20"; "" where nothing is known, or the arguments are not in their places yet.
std::string NamedArguments(u32 pc, u32 fp, const FrameRegisters& registers);

// The same of the variables that mean something there.
std::string NamedVariables(u32 pc, u32 fp, const FrameRegisters& registers);

}  // namespace moxi
