#pragma once
// Names for the debugger: those of the symbol file, of the messages and of the module's header.

#include <optional>
#include <string>
#include <string_view>

#include "vm/disassemble.h"

namespace moxi {

// The value of a name: a symbol or a constant of the file, a message (MSG_TICK) or a place in the
// header (HDR_RESULT).
std::optional<u32> ValueOfName(std::string_view name);

// "message 11 MSG_TICK", or the number alone.
std::string MessageWithName(u32 command);

// A message in words: "message 11 MSG_TICK: 0x0, 0x0, 0x0".
std::string DescribeMessage(u32 command, u32 p1, u32 p2, u32 p3);

// The nearest name at or before an address of the code, the data or the globals, as "start+20"; ""
// where there is none.
std::string NameOfAddress(u32 address);

// The names that begin exactly here, as labels of a listing.
std::string LabelAt(u32 address);

// "00000214 <start+20>", or the number alone.
std::string Place(u32 address);

// Names the addresses of an instruction.
AddressNamer InstructionNames();

}  // namespace moxi
