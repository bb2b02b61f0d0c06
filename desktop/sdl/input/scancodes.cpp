#include "desktop/sdl/input/scancodes.h"

#include <array>

namespace moxi {

namespace {
struct Position {
    SDL_Scancode scancode;
    u8 code;
};

// In the order of the codes. A PC's Ctrl keys stand where Command is, its Alt keys are Option and
// its Super keys Control; Print Screen, Scroll Lock and Pause are F13, F14 and F15, Insert is Help
// and Num Lock is the keypad's Clear.
constexpr Position kPositions[] = {
    {SDL_SCANCODE_A, 0x00},
    {SDL_SCANCODE_S, 0x01},
    {SDL_SCANCODE_D, 0x02},
    {SDL_SCANCODE_F, 0x03},
    {SDL_SCANCODE_H, 0x04},
    {SDL_SCANCODE_G, 0x05},
    {SDL_SCANCODE_Z, 0x06},
    {SDL_SCANCODE_X, 0x07},
    {SDL_SCANCODE_C, 0x08},
    {SDL_SCANCODE_V, 0x09},
    {SDL_SCANCODE_NONUSBACKSLASH, 0x0A},
    {SDL_SCANCODE_B, 0x0B},
    {SDL_SCANCODE_Q, 0x0C},
    {SDL_SCANCODE_W, 0x0D},
    {SDL_SCANCODE_E, 0x0E},
    {SDL_SCANCODE_R, 0x0F},
    {SDL_SCANCODE_Y, 0x10},
    {SDL_SCANCODE_T, 0x11},
    {SDL_SCANCODE_1, 0x12},
    {SDL_SCANCODE_2, 0x13},
    {SDL_SCANCODE_3, 0x14},
    {SDL_SCANCODE_4, 0x15},
    {SDL_SCANCODE_6, 0x16},
    {SDL_SCANCODE_5, 0x17},
    {SDL_SCANCODE_EQUALS, 0x18},
    {SDL_SCANCODE_9, 0x19},
    {SDL_SCANCODE_7, 0x1A},
    {SDL_SCANCODE_MINUS, 0x1B},
    {SDL_SCANCODE_8, 0x1C},
    {SDL_SCANCODE_0, 0x1D},
    {SDL_SCANCODE_RIGHTBRACKET, 0x1E},
    {SDL_SCANCODE_O, 0x1F},
    {SDL_SCANCODE_U, 0x20},
    {SDL_SCANCODE_LEFTBRACKET, 0x21},
    {SDL_SCANCODE_I, 0x22},
    {SDL_SCANCODE_P, 0x23},
    {SDL_SCANCODE_RETURN, 0x24},
    {SDL_SCANCODE_RETURN2, 0x24},
    {SDL_SCANCODE_L, 0x25},
    {SDL_SCANCODE_J, 0x26},
    {SDL_SCANCODE_APOSTROPHE, 0x27},
    {SDL_SCANCODE_K, 0x28},
    {SDL_SCANCODE_SEMICOLON, 0x29},
    {SDL_SCANCODE_BACKSLASH, 0x2A},
    {SDL_SCANCODE_NONUSHASH, 0x2A},
    {SDL_SCANCODE_COMMA, 0x2B},
    {SDL_SCANCODE_SLASH, 0x2C},
    {SDL_SCANCODE_N, 0x2D},
    {SDL_SCANCODE_M, 0x2E},
    {SDL_SCANCODE_PERIOD, 0x2F},
    {SDL_SCANCODE_TAB, 0x30},
    {SDL_SCANCODE_SPACE, 0x31},
    {SDL_SCANCODE_GRAVE, 0x32},
    {SDL_SCANCODE_BACKSPACE, 0x33},
    {SDL_SCANCODE_ESCAPE, 0x35},
    {SDL_SCANCODE_RCTRL, 0x36},
    {SDL_SCANCODE_LCTRL, 0x37},
    {SDL_SCANCODE_LSHIFT, 0x38},
    {SDL_SCANCODE_CAPSLOCK, 0x39},
    {SDL_SCANCODE_LALT, 0x3A},
    {SDL_SCANCODE_LGUI, 0x3B},
    {SDL_SCANCODE_RSHIFT, 0x3C},
    {SDL_SCANCODE_RALT, 0x3D},
    {SDL_SCANCODE_RGUI, 0x3E},
    {SDL_SCANCODE_F17, 0x40},
    {SDL_SCANCODE_KP_PERIOD, 0x41},
    {SDL_SCANCODE_KP_MULTIPLY, 0x43},
    {SDL_SCANCODE_KP_PLUS, 0x45},
    {SDL_SCANCODE_NUMLOCKCLEAR, 0x47},
    {SDL_SCANCODE_CLEAR, 0x47},
    {SDL_SCANCODE_KP_CLEAR, 0x47},
    {SDL_SCANCODE_VOLUMEUP, 0x48},
    {SDL_SCANCODE_VOLUMEDOWN, 0x49},
    {SDL_SCANCODE_MUTE, 0x4A},
    {SDL_SCANCODE_KP_DIVIDE, 0x4B},
    {SDL_SCANCODE_KP_ENTER, 0x4C},
    {SDL_SCANCODE_KP_MINUS, 0x4E},
    {SDL_SCANCODE_F18, 0x4F},
    {SDL_SCANCODE_F19, 0x50},
    {SDL_SCANCODE_KP_EQUALS, 0x51},
    {SDL_SCANCODE_KP_EQUALSAS400, 0x51},
    {SDL_SCANCODE_KP_0, 0x52},
    {SDL_SCANCODE_KP_1, 0x53},
    {SDL_SCANCODE_KP_2, 0x54},
    {SDL_SCANCODE_KP_3, 0x55},
    {SDL_SCANCODE_KP_4, 0x56},
    {SDL_SCANCODE_KP_5, 0x57},
    {SDL_SCANCODE_KP_6, 0x58},
    {SDL_SCANCODE_KP_7, 0x59},
    {SDL_SCANCODE_F20, 0x5A},
    {SDL_SCANCODE_KP_8, 0x5B},
    {SDL_SCANCODE_KP_9, 0x5C},
    {SDL_SCANCODE_INTERNATIONAL3, 0x5D},  // Yen
    {SDL_SCANCODE_INTERNATIONAL1, 0x5E},  // Ro
    {SDL_SCANCODE_KP_COMMA, 0x5F},
    {SDL_SCANCODE_F5, 0x60},
    {SDL_SCANCODE_F6, 0x61},
    {SDL_SCANCODE_F7, 0x62},
    {SDL_SCANCODE_F3, 0x63},
    {SDL_SCANCODE_F8, 0x64},
    {SDL_SCANCODE_F9, 0x65},
    {SDL_SCANCODE_LANG2, 0x66},  // Eisu
    {SDL_SCANCODE_F11, 0x67},
    {SDL_SCANCODE_LANG1, 0x68},  // Kana
    {SDL_SCANCODE_F13, 0x69},
    {SDL_SCANCODE_PRINTSCREEN, 0x69},
    {SDL_SCANCODE_SYSREQ, 0x69},
    {SDL_SCANCODE_F16, 0x6A},
    {SDL_SCANCODE_F14, 0x6B},
    {SDL_SCANCODE_SCROLLLOCK, 0x6B},
    {SDL_SCANCODE_F10, 0x6D},
    {SDL_SCANCODE_APPLICATION, 0x6E},
    {SDL_SCANCODE_MENU, 0x6E},
    {SDL_SCANCODE_F12, 0x6F},
    {SDL_SCANCODE_F15, 0x71},
    {SDL_SCANCODE_PAUSE, 0x71},
    {SDL_SCANCODE_INSERT, 0x72},
    {SDL_SCANCODE_HELP, 0x72},
    {SDL_SCANCODE_HOME, 0x73},
    {SDL_SCANCODE_PAGEUP, 0x74},
    {SDL_SCANCODE_DELETE, 0x75},
    {SDL_SCANCODE_F4, 0x76},
    {SDL_SCANCODE_END, 0x77},
    {SDL_SCANCODE_F2, 0x78},
    {SDL_SCANCODE_PAGEDOWN, 0x79},
    {SDL_SCANCODE_F1, 0x7A},
    {SDL_SCANCODE_LEFT, 0x7B},
    {SDL_SCANCODE_RIGHT, 0x7C},
    {SDL_SCANCODE_DOWN, 0x7D},
    {SDL_SCANCODE_UP, 0x7E},
};

consteval std::array<u8, SDL_NUM_SCANCODES> TableOfCodes() {
    std::array<u8, SDL_NUM_SCANCODES> table{};
    table.fill(kNoKeyCode);
    for (const Position& position : kPositions) {
        table[position.scancode] = position.code;
    }
    return table;
}

constexpr auto kCodes = TableOfCodes();
}  // namespace

u8 VirtualKeyCode(SDL_Scancode scancode) {
    const u32 index = static_cast<u32>(scancode);
    return index < kCodes.size() ? kCodes[index] : kNoKeyCode;
}

char KeypadControlCharacter(u8 code) {
    switch (code) {
        case 0x59: return 0x01;  // 7 Home
        case 0x53: return 0x04;  // 1 End
        case 0x52: return 0x05;  // 0 Insert
        case 0x5C: return 0x0B;  // 9 Page Up
        case 0x55: return 0x0C;  // 3 Page Down
        case 0x56: return 0x1C;  // 4 Left
        case 0x58: return 0x1D;  // 6 Right
        case 0x5B: return 0x1E;  // 8 Up
        case 0x54: return 0x1F;  // 2 Down
        case 0x41: return 0x7F;  // point, Delete
        default: return 0;
    }
}

}  // namespace moxi
