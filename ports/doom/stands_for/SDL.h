// The engine's headers ask for this library's names, and its portable parts use a handful of them.
#ifndef SDL_H
#define SDL_H

#include <stdlib.h>

#include "SDL_endian.h"
#include "SDL_filesystem.h"
#include "SDL_stdinc.h"

typedef union {
    int type;
} SDL_Event;

#endif
