#pragma once
// What the user's keyboard layouts have on the keys, whichever key has been typed before: the text
// of keys with Command held, and of keys that the menu compares.

#include <optional>
#include <string>

#include "base/types.h"

struct xkb_keymap;

namespace moxi {

// Where the layouts come from: the X server, or the compositor.
struct LayoutSource {
    xkb_keymap* (*keymap)();  // as it is now; null when there is none
    u32 (*group)();           // the layout that is active now, an index of the keymap's
};

// Sets the source, which must outlive its use; null where a desktop tells nothing of layouts.
void UseLayoutSource(const LayoutSource* source);

struct KeyCharacters {
    char32_t plain = 0;    // without Shift; 0 for a dead key
    char32_t shifted = 0;  // with Shift
};

// What the layout `group` has on the key at a positional virtual key code; that of the active
// layout where no group is given. Nothing for keys that have no character in any layout, or whose
// meaning hangs on Num Lock, and where the layouts are not known.
std::optional<KeyCharacters> CharactersOnKey(u8 code, std::optional<u32> group);

// Function of the desktop record.
std::string LatinText(u8 code, const std::string& text);

}  // namespace moxi
