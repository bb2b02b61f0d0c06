#pragma once
// Expressions in the debugger's commands. They are LONGs: 32 bits, which wrap; comparisons are
// signed and give 1 or 0.
//
//   12  0x1F  0b101  'A'          numbers
//   ticks  start@loop  MSG_TICK   names
//   R0 .. R15  PC  SP  FP  FLAGS  registers, of R0 to R15 the low half
//   [E]  [E].W  [E].B             a LONG, WORD or BYTE in memory
//   -E  E + E  E - E  (E)  E == E (also != < <= > >=)

#include <optional>
#include <string>
#include <string_view>

#include "base/types.h"

namespace moxi {

// Takes an expression from the front of `text`. Returns what is wrong, or "".
std::string TakeExpression(std::string_view& text, u32& value);

// The same, of the whole text.
std::string Evaluate(std::string_view text, u32& value);

// The header's address of the register R0..R15, in any case; nothing for another name.
std::optional<u32> RegisterOfName(std::string_view name);

// The header's address of PC, SP, FP or FLAGS.
std::optional<u32> SpecialRegisterOfName(std::string_view name);

// Takes a name, a command or any other run of letters, digits, '_' and '@' from the front; "" when
// there is none. Spaces before and behind it are dropped.
std::string TakeWord(std::string_view& text);

void SkipSpaces(std::string_view& text);

}  // namespace moxi
