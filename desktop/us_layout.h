#pragma once
// The US keyboard, which is used where a user's own layouts have no Latin letters.

#include <string_view>

#include "base/types.h"

namespace moxi {

// The character of the key at a positional virtual key code without Shift; 0 for a key without one.
constexpr char UsCharacter(u8 code) {
    // From code 00 on; blanks stand for the key beside the left Shift, which US keyboards lack, and
    // for Return.
    constexpr std::string_view kCharacters = "asdfhgzxcv bqweryt123465=97-80]ou[ip lj'k;\\,/nm.";
    if (code == 0x31) {
        return ' ';
    }
    if (code == 0x32) {
        return '`';
    }
    if (code >= kCharacters.size() || kCharacters[code] == ' ') {
        return 0;
    }
    return kCharacters[code];
}

// The same with Shift.
constexpr char UsShiftedCharacter(u8 code) {
    constexpr std::string_view kPlain = "123465=97-80]['\\,/.;`";
    constexpr std::string_view kShifted = "!@#$^%+(&_*)}{\"|<?>:~";
    const char plain = UsCharacter(code);
    if (plain >= 'a' && plain <= 'z') {
        return static_cast<char>(plain - 'a' + 'A');
    }
    const std::size_t place = plain != 0 ? kPlain.find(plain) : kPlain.npos;
    return place != kPlain.npos ? kShifted[place] : plain;
}

// Whether a text in UTF-8 begins with a character that Latin keyboards have: ASCII, or a Latin
// letter with an accent. True for an empty text.
constexpr bool IsLatin(std::string_view text) {
    if (text.empty()) {
        return true;
    }
    const auto byte = [text](std::size_t at) { return static_cast<u8>(text[at]); };
    if (byte(0) <= 0xC9) {
        return true;  // up to U+027F: all accented letters up to U+024F, and phonetic ones
    }
    // U+1E00 to U+1EFF
    return text.size() > 1 && byte(0) == 0xE1 && byte(1) >= 0xB8 && byte(1) <= 0xBB;
}

}  // namespace moxi
