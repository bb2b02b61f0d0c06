#pragma once
// Joins key presses with the text that follows them, and tells the application of both. A desktop
// reports a press first and its text after it, or never; an input method reports text alone.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct KeyPress {
    u8 code = 0;           // positional virtual key code
    bool shift = false;    // held during the press
    bool command = false;  // held during the press
    // What the layout has on the key without and with Shift, 0 where that is not known.
    char32_t plain = 0;
    char32_t shifted = 0;
};

// Holds the press back until its text, or anything else, comes; tells one held back before.
void PressKey(const KeyPress& press);
// UTF-8 text: the held press's, or an input method's.
void TypeText(const std::string& text);
// Nothing more comes for the press held back: tells it.
void FinishKeyPress();
// Tells the release with the text that the press had.
void ReleaseKey(u8 code);
// A press waits for its text.
bool KeyPressIsHeldBack();
void ResetKeyText();

// Pieces of at most `limit` bytes, cut between characters. `limit` is at least 4.
std::vector<std::string> SplitText(const std::string& utf8, std::size_t limit);

std::string Utf8(char32_t character);  // "" for 0 and for what is no character
// The key's character with Shift, as far as it follows from the one without: capital letters, and
// the US keyboard's other characters.
char32_t ShiftedCharacter(char32_t plain);

}  // namespace moxi
