#pragma once
// Digits of numbers to the base 16, in texts that people or programs write.

namespace moxi {

// The value of a digit, of either case; -1 for any other character.
constexpr int HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

}  // namespace moxi
