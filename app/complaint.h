#pragma once
// What is wrong with a game, said where somebody sees it: always in one line on standard error, and
// in a box where that is no terminal and there is a display, as with a double click.

#include <string>

#include "app/options.h"

namespace moxi {

// Set in the environment of games that the shelf starts: their player looks at a window.
inline constexpr const char* kFromShelf = "MOXI_FROM_SHELF";

// Remembers whether standard error is a terminal: the start's, before libraries' lines take its
// place.
void NoteTerminal();

// Reports in one line why a game cannot be played, and in a box of its own where nobody sees the
// line, since there is no desktop yet. Returns the exit status for it, 2.
int RefuseGame(const Options& options, const std::string& what);

// The same at the end of a run that a module has not let start. The line has been written.
void TellOfDamagedModule();

// A fatal message has been shown; it said what is wrong.
void NoteFatalMessage();

}  // namespace moxi
