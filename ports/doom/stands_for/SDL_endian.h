// The data's bytes stand in the order that the machine has.
#ifndef SDL_ENDIAN_H
#define SDL_ENDIAN_H

#define SDL_LIL_ENDIAN 1234
#define SDL_BIG_ENDIAN 4321
#define SDL_BYTEORDER SDL_LIL_ENDIAN
#define SDL_SwapLE16(x) ((unsigned short)(x))
#define SDL_SwapLE32(x) ((unsigned int)(x))

#endif
