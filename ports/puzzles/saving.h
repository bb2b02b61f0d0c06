// What is kept in the data folder: every game that is being played, in a file of its own, and the
// player's preferences.
#ifndef PUZZLES_SAVING_H
#define PUZZLES_SAVING_H

#include "board.h"
#include "catalogue.h"

typedef struct {
    bool dark, wheelUndoes, showsKeys;
    bool favourite[kMostPuzzles];
    int width, height;  // of the window; 0 when it has never been kept
    int last;           // the puzzle that was on the window, -1 the chooser
} preferences;

extern preferences kept;

void LoadPreferences(void);
void SavePreferences(void);

// Writes the game with all its moves, unless the file holds just that.
void SaveGame(board* played, int index);
// Takes the game up again: NULL, or why not.
const char* LoadGame(board* played, int index);
bool HasGame(int index);
// The example that the package has of each puzzle.
bool LoadExample(board* shown, int index);

#endif
