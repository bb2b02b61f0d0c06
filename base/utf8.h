#pragma once
// UTF-8: what is valid, and how characters, UTF-16 units and steps of Draw Text are counted.

#include <string_view>

#include "base/types.h"

namespace moxi {

// Whether the bytes are UTF-8: no overlong form, no surrogate, nothing above U+10FFFF.
bool IsUtf8(std::string_view text);

// The bytes of the character that starts at `index` of valid UTF-8.
std::size_t CharacterLength(std::string_view text, std::size_t index);

// UTF-16 units of valid UTF-8: characters beyond U+FFFF count two.
u32 CountUnits(std::string_view text);

// The bytes that `units` steps take from the start of the text. A step is a lead byte with the
// continuation bytes that follow it; a byte that is no lead is a step without an advance, and the
// end of the text ends the walk.
u32 WalkCharacters(std::string_view text, u32 units);

}  // namespace moxi
