/* A long triangle on both sides, and short tones on the left that cut the mixture again and again.
 */
#include "cartridge.h"
static u32 frame;
EXPORT("update") void Update(void) {
    if (frame == 30) tone(220, 120, 100, 2); /* a long triangle */
    if (frame > 40 && frame < 100 && frame % 7 == 0) tone(880, 2, 10, 0 | 1 << 4);
    ++frame;
}
