#pragma once
// The player's own keys: what a key plays as, by the names of host/key_names.

#include <map>
#include <string>

#include "base/types.h"

namespace moxi {

// Takes the map over. Entries with unknown names are left out.
void UseKeyMap(const std::map<std::string, std::string>& choices);

struct PlayedKey {
    u8 code;
    std::string text;
};

// What a key plays as: itself, unless the player has chosen another. A key that plays as another
// types what that one does on a US keyboard.
PlayedKey PlayedAs(u8 code, const std::string& text, bool shift);

}  // namespace moxi
