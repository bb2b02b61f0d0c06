// The printed help: the chapter of a puzzle, the chapter on all of them, and the licence.
#ifndef PUZZLES_HELP_H
#define PUZZLES_HELP_H

// index: the puzzle whose chapter comes first, -1: the chapter on all of them.
void OpenHelp(int index);

#endif
