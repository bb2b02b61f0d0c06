#ifndef SDL_STDINC_H
#define SDL_STDINC_H

#include <stdlib.h>

#define SDL_qsort qsort
#define SDL_free free

#endif
