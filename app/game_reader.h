#pragma once
// What games tell of themselves, read for the shelf. Their files are strangers', so each is read by
// a process of its own that can read them and do nothing else; and they lie anywhere, also where
// reading never ends, so nobody waits long for one of them.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "surface/canvas.h"

namespace moxi {

struct GameToRead {
    std::string path;     // of the game, its archive or its cartridge
    std::string files;    // the folder with the files of an archive or a cartridge
    std::string picture;  // of its last run; "" for none
};

struct GameRead {
    bool isMissing = false;  // there is nothing to play at the path any more
    std::string name;        // "" when nothing could be read
    std::string author;
    std::string licence;
    std::string source;
    // Its icon, else that of its last run; null for none.
    std::shared_ptr<const RgbaPicture> picture;
};

// What a reading process has sent; empty where that is no whole message. A game may have taken that
// process over.
GameRead GameOfMessage(std::string_view message);

// Called by the process that reads a game, before anything else. Tests hold it up here, as a disk
// would.
using BeforeGameIsRead = void (*)(const GameToRead& game);
inline constinit BeforeGameIsRead beforeGameIsRead = [](const GameToRead&) {};

// One for each, in their order; those that could not be read in time are empty, and are not tried
// again. Takes a few seconds at most, and some milliseconds for each game. `restricted` as the
// options say.
std::vector<GameRead> ReadGames(const std::vector<GameToRead>& games, bool restricted);

}  // namespace moxi
