// What surrounds a puzzle: the buttons above it, the keys and the line of status below, the menus.
#ifndef PUZZLES_BARS_H
#define PUZZLES_BARS_H

#include "catalogue.h"
#include "ui.h"

// Finds the place of everything for the window's size and the puzzle.
void LayOutBars(void);
// What is left for the puzzle.
box PuzzleRoom(void);
// `notice` stands in the place of the status, if it is not NULL.
void DrawBars(const char* notice);
// Whether something that the bars show is no longer as it was drawn.
bool BarsHaveChanged(void);
void PresentBars(void);
bool PressBars(int x, int y);  // true: it was for them
void PointBars(void);          // the pointer has moved

void OpenTypes(void);
void OpenGameMenu(void);

#endif
