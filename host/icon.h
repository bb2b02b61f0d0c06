#pragma once
// The window's icon: the game's own, else MOXI's.

#include <string>

namespace moxi {

// Gives the window the icon that the game's information file names under CFBundleIconFile, a file
// among its resources that is a PNG or an icon family (.icns) with PNGs in it. Where there is none,
// or it cannot be read, the window gets the one at `fallback`. The launch does this before it shows
// the window, so that no other icon is seen first. Nothing on a desktop without icons.
void SetWindowIcon(const std::string& fallback);

}  // namespace moxi
