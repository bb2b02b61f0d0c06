#pragma once
// The control characters that stand, by the desktop's tradition, for keys that type no character.

#include "base/types.h"

namespace moxi {

// The control character of the key with this positional virtual key code: Return, Tab, Escape, the
// arrows, the function keys and their like. 0 for every other key.
constexpr char ControlCharacter(u8 code) {
    switch (code) {
        case 0x73: return 0x01;  // Home
        case 0x4C: return 0x03;  // keypad Enter
        case 0x77: return 0x04;  // End
        case 0x72: return 0x05;  // Insert, Help
        case 0x33: return 0x08;  // Backspace
        case 0x30: return 0x09;  // Tab
        case 0x74: return 0x0B;  // Page Up
        case 0x79: return 0x0C;  // Page Down
        case 0x24: return 0x0D;  // Return
        case 0x35:               // Escape
        case 0x47: return 0x1B;  // keypad Clear
        case 0x7B: return 0x1C;  // Left
        case 0x7C: return 0x1D;  // Right
        case 0x7E: return 0x1E;  // Up
        case 0x7D: return 0x1F;  // Down
        case 0x75:
            return 0x7F;  // forward Delete
        // F1..F20 and the menu key.
        case 0x7A:
        case 0x78:
        case 0x63:
        case 0x76:
        case 0x60:
        case 0x61:
        case 0x62:
        case 0x64:
        case 0x65:
        case 0x6D:
        case 0x67:
        case 0x6F:
        case 0x69:
        case 0x6B:
        case 0x71:
        case 0x6A:
        case 0x40:
        case 0x4F:
        case 0x50:
        case 0x5A:
        case 0x6E: return 0x10;
        default: return 0;
    }
}

}  // namespace moxi
