#pragma once
// `moxi --bundle OUT GAME`: makes a folder that holds the game and a moxi of its own with what it
// needs, so that the game starts wherever the folder is put.
//
//     OUT/moxi             the program; started without arguments it runs OUT
//     OUT/Info.plist       the game's name
//     OUT/Resources/       the game's files
//     OUT/lib/moxi/        libraries, found by the program's own search path
//     OUT/share/moxi/      the host's resources, fonts, SoundFont
//     OUT/licences/        those of libraries, fonts and SoundFont
//     OUT/NAME.desktop     a launcher

#include <string>
#include <vector>

namespace moxi {

struct ShipWishes {
    std::vector<std::string> soundFonts;  // the first that can be read goes with the game
    bool wholeSoundFont = false;          // not only what the game's music plays
    bool symbols = false;                 // MAIN.SYM and MAIN.LIN too
};

struct ShipResult {
    int status = 0;       // 0, or the exit status: 1 for a failure, 2 for paths that cannot be used
    std::string problem;  // in one line, what is wrong and where
};

// Of the two paths one is a game and the other the folder to make, which must be new or empty, so
// they are taken in either order. A failure leaves nothing behind.
ShipResult ShipGame(std::string out, std::string game, const ShipWishes& wishes);

}  // namespace moxi
