// A puzzle on a surface of its own: the games' front end as they know it. There is the board that
// is played, and there are boards that live only while a picture of them is made.
#ifndef PUZZLES_BOARD_H
#define PUZZLES_BOARD_H

#include <puzzles.h>

#include "pixels.h"

struct frontend {
    const game* played;
    midend* me;
    surface picture;  // as large as the puzzle
    moxi_colour* colours;
    int colourCount;
    box dirty;  // what has been drawn since TakeDirty
    char status[256];
    bool statusChanged;
    bool timed;  // the game wants the time
    uint32_t lastTime;
};

typedef struct frontend board;

board* NewBoard(const game* played);
void FreeBoard(board* old);
// Colours of the theme in use; to be followed by FitBoard.
void RecolourBoard(board* shown);
// Makes the puzzle as large as fits and draws all of it. It has to have a game.
void FitBoard(board* shown, int width, int height);
// What surrounds the puzzle where there is room.
moxi_colour BoardGround(const board* shown);
// Finds the pixels in a new message.
void MapBoard(board* shown);
// What has changed in the picture; empty when nothing has.
box TakeDirty(board* shown);
// Passes the time since the last call to the game.
void StepBoard(board* shown);

#endif
