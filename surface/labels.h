#pragma once
// What keys and the controls of a gamepad are called for people.

#include <span>
#include <string>
#include <string_view>

namespace moxi {

// `text` with `word` in the place of its "%s".
std::string Filled(std::string_view text, std::string_view word);

// Of names of host/key_names; one that is not known is shown as it is.
std::string KeyLabel(std::string_view name);

// The controls of a gamepad that the player can map, and what they can do besides being letters,
// digits and function keys.
std::span<const std::string_view> PadControls();
std::span<const std::string_view> PadActions();
std::string PadControlLabel(std::string_view control);
std::string PadActionLabel(std::string_view action);

}  // namespace moxi
