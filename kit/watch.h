#pragma once
// `moxi --watch GAME`: the game runs in a process of its own and is started again whenever its
// MAIN.MX changes on disk, or one of the .lua files of a game in Lua.

#include <optional>

namespace moxi {

// To be called when the game has been found and before there are threads. Returns nothing in each
// process that is to run the game; in this one the exit status for the last run, once it has ended
// by itself or has been asked to end.
std::optional<int> WatchGame();

}  // namespace moxi
