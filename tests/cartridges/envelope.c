/* One tone of half a second each of attack, decay, sustain and release. */
#include "cartridge.h"

static u32 frame;

EXPORT("update") void Update(void) {
    if (frame++ == 30) tone(440, 30u << 24 | 30 << 16 | 30 << 8 | 30, 40 | 100 << 8, 2 << 2);
}
