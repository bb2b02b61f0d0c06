// The puzzle that is being played.
#ifndef PUZZLES_PLAY_H
#define PUZZLES_PLAY_H

#include "board.h"
#include "ui.h"

enum {
    kActChooser,
    kActNew,
    kActRestart,
    kActSolve,
    kActUndo,
    kActRedo,
    kActHelp,
    kActSettings,  // the dialogue of custom parameters
    kActDescription,
    kActSeed,
    kActCopyId,
    kActCopySeed,
    kActCopyText,
    kActPaste,
    kActPreferences,
    kActFullScreen,
    kActFavourite,
    kActTypes,  // opens the menu of presets
    kActGame,   // opens the menu of everything else
    kActions,
    kActPreset = 1000  // and the preset's number
};

extern const view playView;
extern board* played;    // NULL: none yet
extern int playedIndex;  // its place in the list

// Shows a puzzle: the game that was left, or a new one.
void OpenPuzzle(int index);
void DoAction(int action);
// Whether the puzzle has a game; while it is being made it has none.
bool HasBoard(void);
// The window or a preference has changed.
void LayOutPlay(void);
// The theme has changed.
void RecolourPlay(void);
// At the beginning of each message: finds the pixels.
void MapPlay(void);
// At the end of each message: shows what the game has drawn.
void ShowPlay(void);
// What the timer is needed for, in milliseconds from one tick to the next; 0 nothing.
int PlayPeriod(void);
// Writes what is played to its file.
void KeepPlay(void);
// A key as the games know it.
void PlayKey(int button);
void ToggleFullScreen(void);

#endif
