#pragma once
// `moxi --new FOLDER [--c|--lua]`: a folder with the source of a small game, a script that builds
// it and a game folder, to begin a game of one's own with. A game in Lua is not built: the folder
// itself is the game, with Lua's runtime in it.

#include <string>

namespace moxi {

struct NewGameResult {
    int status = 0;  // 0, or the exit status: 1 for a failure, 2 for a folder that cannot be used
    std::string problem;  // in one line, what is wrong and where
};

// The folder must be new or empty. The game is called as the folder is. `language` is "c",
// "lua" or "assembly", a folder of templates among the host's own resources.
NewGameResult MakeNewGame(const std::string& folder, const std::string& language);

}  // namespace moxi
