#pragma once
// UTF-8: what is valid, where characters begin and end, and how characters, UTF-16 units and steps
// of Draw Text are counted.

#include <string>
#include <string_view>

#include "base/types.h"

namespace moxi {

// Whether the bytes are UTF-8: no overlong form, no surrogate, nothing above U+10FFFF.
bool IsUtf8(std::string_view text);

// Whether the byte goes on with a character that began before it.
inline bool IsContinuation(char byte) {
    return (static_cast<u8>(byte) & 0xC0) == 0x80;
}

// Where the character that `index` lies in begins; `index` may be the text's end. In bytes that are
// no UTF-8 this is a byte that continues none, or the start.
inline std::size_t CharacterStart(std::string_view text, std::size_t index) {
    while (index > 0 && index < text.size() && IsContinuation(text[index])) {
        --index;
    }
    return index;
}

// Where the character that `index` lies in ends.
inline std::size_t CharacterEnd(std::string_view text, std::size_t index) {
    do {
        ++index;
    } while (index < text.size() && IsContinuation(text[index]));
    return index;
}

// The character that starts at `index` of valid UTF-8; `index` moves behind it.
inline u32 NextCharacter(std::string_view text, std::size_t& index) {
    const u8 lead = static_cast<u8>(text[index]);
    if (lead < 0x80) {
        index += 1;
        return lead;
    }
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    u32 character = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        character = character << 6 | (static_cast<u8>(text[index + i]) & 0x3FU);
    }
    index += length;
    return character;
}

// Nothing for surrogates and what lies above U+10FFFF.
void AppendUtf8(std::string& text, u32 character);

// The bytes of the character that starts at `index` of valid UTF-8.
std::size_t CharacterLength(std::string_view text, std::size_t index);

// UTF-16 units of valid UTF-8: characters beyond U+FFFF count two.
u32 CountUnits(std::string_view text);

// The bytes that `units` steps take from the start of the text. A step is a lead byte with the
// continuation bytes that follow it; a byte that is no lead is a step without an advance, and the
// end of the text ends the walk.
u32 WalkCharacters(std::string_view text, u32 units);

}  // namespace moxi
