// The positions of a PC keyboard's keys, told by what the module gets for them: its numbering is
// that of the virtual keys 0x08 Backspace .. 0xDE apostrophe.
#include "desktop/sdl/input/scancodes.h"

#include <gtest/gtest.h>

#include <set>

#include "desktop/control_characters.h"
#include "host/keymap.h"

namespace moxi {

namespace {
struct Key {
    SDL_Scancode scancode;
    u32 moduleCode;
};

u32 ModuleCodeOf(SDL_Scancode scancode) {
    const u8 code = VirtualKeyCode(scancode);
    EXPECT_NE(code, kNoKeyCode) << static_cast<int>(scancode);
    return ModuleKeyCode(code);
}

TEST(Scancodes, LettersReachTheModuleAsTheirCapitals) {
    for (int i = 0; i < 26; ++i) {
        EXPECT_EQ(ModuleCodeOf(static_cast<SDL_Scancode>(SDL_SCANCODE_A + i)),
                  static_cast<u32>('A' + i));
    }
}

TEST(Scancodes, DigitsReachTheModuleAsTheirCharacters) {
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(ModuleCodeOf(static_cast<SDL_Scancode>(SDL_SCANCODE_1 + i)),
                  static_cast<u32>('1' + i));
    }
    EXPECT_EQ(ModuleCodeOf(SDL_SCANCODE_0), u32{'0'});
}

TEST(Scancodes, KeypadDigitsAre60To69) {
    EXPECT_EQ(ModuleCodeOf(SDL_SCANCODE_KP_0), 0x60u);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(ModuleCodeOf(static_cast<SDL_Scancode>(SDL_SCANCODE_KP_1 + i)),
                  static_cast<u32>(0x61 + i));
    }
}

TEST(Scancodes, FunctionKeysAre70To7B) {
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(ModuleCodeOf(static_cast<SDL_Scancode>(SDL_SCANCODE_F1 + i)),
                  static_cast<u32>(0x70 + i));
    }
}

TEST(Scancodes, EveryOtherKeyOfAPcKeyboardHasItsCode) {
    const Key keys[] = {
        {SDL_SCANCODE_BACKSPACE, 0x08},    {SDL_SCANCODE_TAB, 0x09},
        {SDL_SCANCODE_RETURN, 0x0D},       {SDL_SCANCODE_KP_ENTER, 0x0D},
        {SDL_SCANCODE_PAUSE, 0x13},        {SDL_SCANCODE_CAPSLOCK, 0x14},
        {SDL_SCANCODE_ESCAPE, 0x1B},       {SDL_SCANCODE_SPACE, 0x20},
        {SDL_SCANCODE_PAGEUP, 0x21},       {SDL_SCANCODE_PAGEDOWN, 0x22},
        {SDL_SCANCODE_END, 0x23},          {SDL_SCANCODE_HOME, 0x24},
        {SDL_SCANCODE_LEFT, 0x25},         {SDL_SCANCODE_UP, 0x26},
        {SDL_SCANCODE_RIGHT, 0x27},        {SDL_SCANCODE_DOWN, 0x28},
        {SDL_SCANCODE_PRINTSCREEN, 0x2C},  {SDL_SCANCODE_INSERT, 0x2D},
        {SDL_SCANCODE_DELETE, 0x2E},       {SDL_SCANCODE_KP_MULTIPLY, 0x6A},
        {SDL_SCANCODE_KP_PLUS, 0x6B},      {SDL_SCANCODE_KP_MINUS, 0x6D},
        {SDL_SCANCODE_KP_PERIOD, 0x6E},    {SDL_SCANCODE_KP_DIVIDE, 0x6F},
        {SDL_SCANCODE_NUMLOCKCLEAR, 0x90}, {SDL_SCANCODE_SCROLLLOCK, 0x91},
        {SDL_SCANCODE_SEMICOLON, 0xBA},    {SDL_SCANCODE_EQUALS, 0xBB},
        {SDL_SCANCODE_KP_EQUALS, 0xBB},    {SDL_SCANCODE_COMMA, 0xBC},
        {SDL_SCANCODE_MINUS, 0xBD},        {SDL_SCANCODE_PERIOD, 0xBE},
        {SDL_SCANCODE_SLASH, 0xBF},        {SDL_SCANCODE_GRAVE, 0xC0},
        {SDL_SCANCODE_LEFTBRACKET, 0xDB},  {SDL_SCANCODE_BACKSLASH, 0xDC},
        {SDL_SCANCODE_RIGHTBRACKET, 0xDD}, {SDL_SCANCODE_APOSTROPHE, 0xDE},
    };
    for (const Key& key : keys) {
        EXPECT_EQ(ModuleCodeOf(key.scancode), key.moduleCode);
    }
}

TEST(Scancodes, CommandKeysAndRightHandModifiersMapToNoCodeOfTheModule) {
    for (const SDL_Scancode key : {SDL_SCANCODE_LCTRL, SDL_SCANCODE_RCTRL, SDL_SCANCODE_RSHIFT,
                                   SDL_SCANCODE_RALT, SDL_SCANCODE_RGUI}) {
        EXPECT_EQ(ModuleCodeOf(key), 0u);
    }
    EXPECT_EQ(ModuleCodeOf(SDL_SCANCODE_LSHIFT), 0x10u);
    EXPECT_EQ(ModuleCodeOf(SDL_SCANCODE_LGUI), 0x11u);
    EXPECT_EQ(ModuleCodeOf(SDL_SCANCODE_LALT), 0x12u);
}

TEST(Scancodes, LeftAndRightModifiersHaveDifferentCodes) {
    std::set<u8> codes;
    for (const SDL_Scancode key :
         {SDL_SCANCODE_LCTRL, SDL_SCANCODE_RCTRL, SDL_SCANCODE_LSHIFT, SDL_SCANCODE_RSHIFT,
          SDL_SCANCODE_LALT, SDL_SCANCODE_RALT, SDL_SCANCODE_LGUI, SDL_SCANCODE_RGUI}) {
        codes.insert(VirtualKeyCode(key));
    }
    EXPECT_EQ(codes.size(), 8u);
}

TEST(Scancodes, EveryKeyThatTheModuleKnowsCanBePressed) {
    std::set<u8> reachable;
    for (int i = 0; i < SDL_NUM_SCANCODES; ++i) {
        const u8 code = VirtualKeyCode(static_cast<SDL_Scancode>(i));
        if (code != kNoKeyCode) {
            EXPECT_LT(code, 128);
            reachable.insert(code);
        }
    }
    for (u32 code = 0; code < 128; ++code) {
        if (ModuleKeyCode(static_cast<u8>(code)) != 0) {
            EXPECT_TRUE(reachable.contains(static_cast<u8>(code))) << code;
        }
    }
}

TEST(Scancodes, OnlyTheListedKeysHaveControlCharacters) {
    const struct {
        SDL_Scancode scancode;
        char character;
    } keys[] = {
        {SDL_SCANCODE_HOME, 0x01},     {SDL_SCANCODE_KP_ENTER, 0x03},
        {SDL_SCANCODE_END, 0x04},      {SDL_SCANCODE_INSERT, 0x05},
        {SDL_SCANCODE_HELP, 0x05},     {SDL_SCANCODE_BACKSPACE, 0x08},
        {SDL_SCANCODE_TAB, 0x09},      {SDL_SCANCODE_PAGEUP, 0x0B},
        {SDL_SCANCODE_PAGEDOWN, 0x0C}, {SDL_SCANCODE_RETURN, 0x0D},
        {SDL_SCANCODE_ESCAPE, 0x1B},   {SDL_SCANCODE_NUMLOCKCLEAR, 0x1B},
        {SDL_SCANCODE_LEFT, 0x1C},     {SDL_SCANCODE_RIGHT, 0x1D},
        {SDL_SCANCODE_UP, 0x1E},       {SDL_SCANCODE_DOWN, 0x1F},
        {SDL_SCANCODE_DELETE, 0x7F},
    };
    for (const auto& key : keys) {
        EXPECT_EQ(ControlCharacter(VirtualKeyCode(key.scancode)), key.character);
    }
    for (int i = 0; i < 12; ++i) {
        const auto key = static_cast<SDL_Scancode>(SDL_SCANCODE_F1 + i);
        EXPECT_EQ(ControlCharacter(VirtualKeyCode(key)), 0x10);
    }
    for (const SDL_Scancode key : {SDL_SCANCODE_A, SDL_SCANCODE_0, SDL_SCANCODE_SPACE,
                                   SDL_SCANCODE_KP_5, SDL_SCANCODE_LSHIFT, SDL_SCANCODE_GRAVE}) {
        EXPECT_EQ(ControlCharacter(VirtualKeyCode(key)), 0);
    }
}
}  // namespace

}  // namespace moxi
