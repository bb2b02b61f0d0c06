#pragma once
// Key events of the view, and the button-and-modifier word that keyboard and mouse share.

#include <string>

#include "base/types.h"

namespace moxi {

// --- The button-and-modifier word

constexpr u32 kLeftButtonBit = 0x0001;
constexpr u32 kRightButtonBit = 0x0002;
constexpr u32 kShiftBit = 0x0004;
constexpr u32 kCommandBit = 0x0008;
constexpr u32 kMiddleButtonBit = 0x0010;
constexpr u32 kFourthButtonBit = 0x0020;
constexpr u32 kOtherButtonBit = 0x0040;
constexpr u32 kOptionBit = 0x8000;

extern u32 buttonsAndModifiers;

// --- Events. `code` is a virtual key code, `text` UTF-8.

// A press without text posts nothing, else MSG_DOWN and MSG_CHAR. Repeats are presses.
void KeyDown(u8 code, const std::string& text);
void KeyUp(u8 code, const std::string& text);
// Text without a key press: MSG_CHAR alone.
void TextInput(const std::string& text);
void FlagsChanged(bool shift, bool command, bool option);
// The application became active again: a Command key held while switching away is released.
void ReleaseCommandKey();

void ResetKeyboard();

}  // namespace moxi
