#pragma once
// What games tell of themselves, read for the shelf. Their files are strangers', so they are read
// by a process of its own that can read them and do nothing else.

#include <memory>
#include <string>
#include <vector>

#include "surface/canvas.h"

namespace moxi {

struct GameToRead {
    std::string files;    // the game's folder; "" when it is not there
    std::string picture;  // of its last run; "" for none
};

struct GameRead {
    std::string name;  // "" when nothing could be read
    std::string author;
    std::string licence;
    std::string source;
    std::shared_ptr<const Picture> picture;  // its icon, else that of its last run; null for none
};

// One for each, in their order; those that could not be read are empty. `restricted` as the options
// say.
std::vector<GameRead> ReadGames(const std::vector<GameToRead>& games, bool restricted);

}  // namespace moxi
