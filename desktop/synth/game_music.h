#pragma once
// Whether a game is going to play music, so that the SoundFont can be loaded ahead of time.

#include <string>

namespace moxi {

// The resources folder holds a MUSIC folder or a MIDI file, in any case of letters.
bool HasMusic(const std::string& resources);

}  // namespace moxi
