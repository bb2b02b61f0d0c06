#pragma once
// `moxi --watch GAME`: the game runs in a process of its own and is started again whenever its
// MAIN.MX changes on disk, or one of the .lua files of a game in Lua.

#include <optional>

namespace moxi {

// Watches the game in `folders`. Returns nothing in each process that is to run the game, a copy of
// this one, which may have no other threads yet; in this one the exit status for the last run, once
// it has ended by itself or has been asked to end.
std::optional<int> WatchGame();

}  // namespace moxi
