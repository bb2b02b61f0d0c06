#pragma once
// What the host remembers of the player's games: one small text file a game in the state folder,
// named after the game's path, and beside it a picture of its last run. A line that cannot be read
// is as if it were not there; a game whose file is broken is one that has not been played yet.
//
//     moxi game 1
//     path = /home/anna/Games/Pond.mxz
//     files = /home/anna/.cache/moxi/archives/0123/Pond.mxz
//     name = Pond
//     author = Anna
//     licence = MIT
//     source = https://example.org/pond
//     played = 1795351060
//     seconds = 1234
//     shelf = yes

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct PlayedGame {
    std::string path;   // what was played or added, without links
    std::string files;  // the game's folder, another one for archives and cartridges
    std::string name;
    std::string author;
    std::string licence;
    std::string source;    // where its sources are to be had
    u64 lastPlayed = 0;    // seconds since 1970, 0 for never
    u64 seconds = 0;       // how long in all
    bool removed = false;  // the player wants it off the shelf
};

// A record as text, and back. False for a text that names no path.
std::string TextOfPlayed(const PlayedGame& game);
bool ParsePlayed(const std::string& text, PlayedGame& game);

// The files of a game's record and picture in folders.state; "" where there is no state folder.
std::string PlayedFile(const std::string& path);
std::string PlayedPicture(const std::string& path);

// Makes the folder that they lie in, while the process may still make folders there: the sandbox
// takes that away.
void MakePlayedFolder();

// The record of the game at this path, read through `outputFiles`; where there is none, one with
// the path alone.
PlayedGame ReadPlayedGame(const std::string& path);

// All records, in the order of their paths.
std::vector<PlayedGame> ReadAllPlayed();

// Writes a record, through `outputFiles`. False when it cannot be written.
bool WritePlayedGame(const PlayedGame& game);

}  // namespace moxi
