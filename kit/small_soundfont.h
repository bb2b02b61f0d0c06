#pragma once
// A SoundFont with no more in it than a game's music plays: the instruments of the presets that its
// pieces choose, with their samples. What they sound like stays the same.

#include <bitset>
#include <map>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

using Keys = std::bitset<128>;

// What pieces play: the keys of notes by their program numbers, on melodic and on percussion
// channels.
struct UsedPrograms {
    std::map<u32, Keys> melodic = {};
    std::map<u32, Keys> percussion = {};
    u32 pieces = 0;
};

// Of all MIDI files below a folder, whatever they are called.
UsedPrograms ProgramsOfMusic(const std::string& folder);

// Makes `small` of a SoundFont's bytes. Presets with these programs are kept in every bank, so that
// a piece that chooses a bank finds it; what no played key reaches is left out of them. Returns ""
// or what is wrong with the SoundFont.
std::string CutSoundFont(const std::string& bytes, const UsedPrograms& used, std::string& small);

}  // namespace moxi
