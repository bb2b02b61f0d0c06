#pragma once
// What a game tells of itself: texts of its information file and of the files beside it, and its
// icon. All of it is a stranger's; who reads it does so with no more rights than the game has.

#include <string>

#include "gfx/png_read.h"

namespace moxi {

struct GameInfo {
    std::string author;   // ZULGameAuthor, else NSHumanReadableCopyright
    std::string licence;  // ZULGameLicence, else the first line of a LICENSE, LICENCE or COPYING
    std::string source;   // ZULGameSource
};

// Of the game in `folders`. Texts are of one line and at most 200 bytes; "" where nothing tells.
GameInfo InfoOfGame();

// The icon of the game in `folders`: the one that its information file names, else an ICON.PNG
// among its resources or its pictures. False where there is none that can be read.
bool ReadGameIcon(PngPicture& picture);

// A PNG, or an icon family (.icns) with PNGs in it.
bool ReadIconFile(const std::string& path, PngPicture& picture);

// Gives the window the game's icon, or where there is none, or none that can be read, the one at
// `fallback`. The launch does this before it shows the window, so that no other icon is seen first.
// Nothing on a desktop without icons.
void SetWindowIcon(const std::string& fallback);

}  // namespace moxi
