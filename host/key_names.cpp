#include "host/key_names.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "base/log.h"
#include "desktop/control_characters.h"
#include "desktop/us_layout.h"

namespace moxi {

namespace {

struct KeyName {
    std::string_view name;
    u8 code;
};

// Of a key with two names the first one is shown. Letters and digits are their own names.
constexpr KeyName kKeyNames[] = {
    {"return", 0x24},
    {"space", 0x31},
    {"escape", 0x35},
    {"tab", 0x30},
    {"backspace", 0x33},
    {"left", 0x7B},
    {"right", 0x7C},
    {"up", 0x7E},
    {"down", 0x7D},
    {"home", 0x73},
    {"end", 0x77},
    {"page-up", 0x74},
    {"page-down", 0x79},
    {"insert", 0x72},
    {"delete", 0x75},
    {"minus", 0x1B},
    {"equals", 0x18},
    {"left-bracket", 0x21},
    {"right-bracket", 0x1E},
    {"backslash", 0x2A},
    {"semicolon", 0x29},
    {"quote", 0x27},
    {"comma", 0x2B},
    {"period", 0x2F},
    {"slash", 0x2C},
    {"grave", 0x32},
    {"f1", 0x7A},
    {"f2", 0x78},
    {"f3", 0x63},
    {"f4", 0x76},
    {"f5", 0x60},
    {"f6", 0x61},
    {"f7", 0x62},
    {"f8", 0x64},
    {"f9", 0x65},
    {"f10", 0x6D},
    {"f11", 0x67},
    {"f12", 0x6F},
    {"f13", 0x69},
    {"f14", 0x6B},
    {"f15", 0x71},
    {"keypad-enter", 0x4C},
    {"keypad-0", 0x52},
    {"keypad-1", 0x53},
    {"keypad-2", 0x54},
    {"keypad-3", 0x55},
    {"keypad-4", 0x56},
    {"keypad-5", 0x57},
    {"keypad-6", 0x58},
    {"keypad-7", 0x59},
    {"keypad-8", 0x5B},
    {"keypad-9", 0x5C},
    {"keypad-point", 0x41},
    {"keypad-plus", 0x45},
    {"keypad-minus", 0x4E},
    {"keypad-times", 0x43},
    {"keypad-divide", 0x4B},
    {"keypad-equals", 0x51},
};

constexpr u8 kKeyCodes = 128;

bool IsLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

// The keypad's characters, while Num Lock is on.
char KeypadCharacter(u8 code) {
    switch (code) {
        case 0x41: return '.';
        case 0x43: return '*';
        case 0x45: return '+';
        case 0x4B: return '/';
        case 0x4E: return '-';
        case 0x51: return '=';
        case 0x5B: return '8';
        case 0x5C: return '9';
        default:
            return code >= 0x52 && code <= 0x59 ? static_cast<char>('0' + (code - 0x52)) : '\0';
    }
}

}  // namespace

std::optional<u8> KeyNamed(std::string_view name) {
    if (name.size() == 1 && IsLetterOrDigit(name.front())) {
        for (u8 code = 0; code < kKeyCodes; ++code) {
            if (UsCharacter(code) == name.front()) {
                return code;
            }
        }
    }
    const auto* const known =
        std::find_if(std::begin(kKeyNames), std::end(kKeyNames),
                     [name](const KeyName& each) { return each.name == name; });
    if (known != std::end(kKeyNames)) {
        return known->code;
    }
    u8 code = 0;
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), end, code, 16);
    const bool isCode = name.size() == 2 && error == std::errc() && stop == end;
    return isCode && code < kKeyCodes ? std::optional(code) : std::nullopt;
}

std::string NameOfKey(u8 code) {
    const char plain = UsCharacter(code);
    if (IsLetterOrDigit(plain)) {
        return {plain};
    }
    const auto* const known =
        std::find_if(std::begin(kKeyNames), std::end(kKeyNames),
                     [code](const KeyName& each) { return each.code == code; });
    return known != std::end(kKeyNames) ? std::string(known->name) : FormatText("%2.2X", code);
}

std::string TextOfKey(u8 code, bool shift) {
    if (const char control = ControlCharacter(code)) {
        return {control};
    }
    if (const char keypad = KeypadCharacter(code)) {
        return {keypad};
    }
    const char plain = shift ? UsShiftedCharacter(code) : UsCharacter(code);
    return plain != 0 ? std::string{plain} : std::string();
}

}  // namespace moxi
