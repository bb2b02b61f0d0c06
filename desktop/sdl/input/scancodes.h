#pragma once
// Positions of keys: SDL's scancodes as the 128 positional virtual key codes of desktop.h.

#include <SDL_scancode.h>

#include "base/types.h"

namespace moxi {

constexpr u8 kNoKeyCode = 0xFF;  // a key that the positional codes do not know

u8 VirtualKeyCode(SDL_Scancode scancode);

// The text of a key that has no character of its own, and always the same one: a control character
// for Return, Tab, Escape, the arrows, the function keys and their like; 0 for other keys.
char ControlCharacter(u8 code);
// The same for the keypad's digits and point, which are such keys while Num Lock is off.
char KeypadControlCharacter(u8 code);

}  // namespace moxi
