// Settings and saved games lie at the root, which is the game's data folder.
#ifndef SDL_FILESYSTEM_H
#define SDL_FILESYSTEM_H

#include <string.h>

#include "SDL_stdinc.h"

#define SDL_GetPrefPath(organization, name) strdup("./")

#endif
