#pragma once
// The window's icon: the game's own, else MOXI's.

#include <string>

namespace moxi {

// Gives the window the game's icon (host/game_info.h). Where there is none, or it cannot be read,
// the window gets the one at `fallback`. The launch does this before it shows the window, so that
// no other icon is seen first. Nothing on a desktop without icons.
void SetWindowIcon(const std::string& fallback);

}  // namespace moxi
