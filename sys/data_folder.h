#pragma once
// Where the game's data lies.

#include <string>

namespace moxi {

// The game's data folder as `folders` has it, without a trailing "/"; "" is the current folder. It
// need not exist.
std::string DataFolder();

// The folder that all games' data folders lie in, or the one data folder that was named.
std::string DataFolderOfAll();

}  // namespace moxi
