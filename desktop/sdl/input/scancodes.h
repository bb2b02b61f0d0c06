#pragma once
// Positions of keys: SDL's scancodes as the 128 positional virtual key codes of desktop.h.

#include <SDL_scancode.h>

#include "base/types.h"

namespace moxi {

constexpr u8 kNoKeyCode = 0xFF;  // a key that the positional codes do not know

u8 VirtualKeyCode(SDL_Scancode scancode);

// As ControlCharacter (desktop/control_characters.h), for the keypad's digits and point, which are
// such keys while Num Lock is off.
char KeypadControlCharacter(u8 code);

}  // namespace moxi
