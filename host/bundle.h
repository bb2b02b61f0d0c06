#pragma once
// Where a game lies: from its path on the command line to the folders and the game's name.

#include <string>

namespace moxi {

// Fills in where the user's own folders lie, which no game has a say in. FindGame looks at them.
void FindUserFolders();

// The folder that a game at this path has, without a look into it.
std::string GameFolder(const std::string& game);

// Whether there is a MAIN.MX where a game in this folder has it.
bool HoldsModule(const std::string& folder);

// "", or what is wrong with a path that leads to no game or to none that can be read. Looks into no
// file.
std::string WhyNoGame(const std::string& game);

// Fills `folders` for the game at `game`, a folder, an application bundle or the path of a MAIN.MX
// file. Returns "" or, for a game that is missing, cannot be read or lies elsewhere in part, by a
// link, what is wrong.
std::string FindGame(const std::string& game);

// The path of the MAIN.MX that is loaded: in the data folder, or where none is there among the
// game's files.
std::string ModulePath();

// The path of the game that came with the program: a MAIN.MX beside the executable, or in Resources
// beside it or beside its folder. "" when there is none.
std::string FindOwnGame();

// The path of a file among the host's own resources: share/moxi/NAME beside the executable, where a
// folder made by --bundle has it, else beside the executable's folder.
std::string OwnResource(const std::string& name);

// The path of a library that is given to shipped games in the place of the system's own of that
// name: in lib/moxi/bundle beside the executable's folder.
std::string OwnLibrary(const std::string& name);

}  // namespace moxi
