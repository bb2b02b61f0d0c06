#pragma once
// Whether a game is going to play music, so that the SoundFont can be loaded ahead of time.

#include <string>

namespace moxi {

// Whether the resources folder, a path, holds something called MUSIC or a file that ends in .mid or
// .midi, in any case of letters. Its folders are not searched. False when it cannot be read.
bool HasMusic(const std::string& resources);

}  // namespace moxi
