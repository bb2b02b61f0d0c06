#pragma once
// A SoundFont with no more in it than a game's music plays: the instruments of the presets that its
// pieces choose, with their samples. What they sound like stays the same.

#include <set>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// What pieces choose: program numbers of melodic and of percussion channels. A channel plays
// program 0 until it chooses another.
struct UsedPrograms {
    std::set<u32> melodic = {0};
    std::set<u32> percussion = {0};
    u32 pieces = 0;
};

// Of all MIDI files below a folder, whatever they are called.
UsedPrograms ProgramsOfMusic(const std::string& folder);

// Makes `small` of a SoundFont's bytes. Presets of every bank with these programs are kept, so that
// a choice of banks finds what it found. Returns "" or what is wrong with the SoundFont.
std::string CutSoundFont(const std::string& bytes, const UsedPrograms& used, std::string& small);

}  // namespace moxi
