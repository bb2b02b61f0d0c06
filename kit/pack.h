#pragma once
// `moxi --pack GAME OUT.mxz`: makes an archive that holds the game and that any moxi plays.
//
//     Info.plist     the game's name
//     Resources/     the game's files
//     LICENSE ...    the texts that lie beside it and tell of its licence

#include <string>

namespace moxi {

struct PackResult {
    int status = 0;       // 0, or the exit status: 1 for a failure, 2 for paths that cannot be used
    std::string problem;  // in one line, what is wrong and where
};

// Of the two paths one is a game and the other the archive to make, which must be new, so they are
// taken in either order. A failure leaves nothing behind.
PackResult PackGame(std::string game, std::string out, bool symbols);

}  // namespace moxi
