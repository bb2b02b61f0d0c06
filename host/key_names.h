#pragma once
// Keys by the names that preferences use, and the texts that they give on a US keyboard.

#include <optional>
#include <string>
#include <string_view>

#include "base/types.h"

namespace moxi {

// The positional virtual key code of a name: "a", "7", "return", "left", "f1", "keypad-enter",
// "comma" and their like, or a code as two hexadecimal digits. Nothing for another text.
std::optional<u8> KeyNamed(std::string_view name);

// The name of a key, its code where it has none.
std::string NameOfKey(u8 code);

// What a press of the key types: its character, or the control character of a key without one.
// "" for a key that types nothing.
std::string TextOfKey(u8 code, bool shift);

}  // namespace moxi
