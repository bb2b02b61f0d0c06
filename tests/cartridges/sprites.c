/* Pictures of one and two bits with all flags, parts of larger ones, and the screen itself as a
 * source. */
#include "cartridge.h"

static u8 pixels[600];

EXPORT("start") void Start(void) {
    for (u32 i = 0; i < sizeof pixels; ++i) pixels[i] = (u8)Random();
    SYSTEM_FLAGS = 1;
}

static void DrawOne(void) {
    DRAW_COLOURS = (u16)Random();
    const int x = Between(-40, 200), y = Between(-40, 200);
    const int width = Between(0, 40), height = Between(0, 40);
    const u32 flags = Random() & 15;
    switch (Between(0, 3)) {
        case 0: blit(pixels, x, y, width, height, flags); break;
        case 1: blit(PICTURE + Between(0, 6000), x, y, width, height, flags); break;
        case 2:
            /* Beyond the end of memory everything is 0. */
            blit((const u8*)(65536 - Between(0, 20)), x, y, width, height, flags);
            break;
        default:
            blitSub(pixels, x, y, width, height, Between(0, 20), Between(0, 8), Between(0, 60),
                    flags);
            break;
    }
}

EXPORT("update") void Update(void) {
    for (int i = 0; i < 30; ++i) DrawOne();
}
