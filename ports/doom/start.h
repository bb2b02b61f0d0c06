// Comes before the engine's d_main.c. Its loop never returns, but here the host has the loop: the
// calls D_DoomLoop () become the loop's preparations and a return, and the loop itself is a
// function that nobody calls. The argument, `void` or nothing, tells the two apart.
#ifndef DOOM_START_H
#define DOOM_START_H

#include "engine.h"

#define D_DoomLoop(argument) DOOM_LOOP_##argument
#define DOOM_LOOP_void D_EndlessLoop(void)
#define DOOM_LOOP_                  \
    {                               \
        StartLoop(gamedescription); \
        return;                     \
    }

#endif
