#pragma once
// The shelf of games, `moxi` without GAME: which games there are, and how one is started.

#include "app/options.h"

namespace moxi {

// Where a display is to be had, or in a headless run that dumps the surface: whether `moxi` without
// GAME opens the shelf.
bool CanOpenShelf(const Options& options);

// The games on the shelf, one a line on standard output: the name and the path, a tab between them.
void ListShelf(const Options& options);

// Opens it and runs it to the end of the process. Returns where no display can be reached.
void RunShelf(const Options& options);

}  // namespace moxi
