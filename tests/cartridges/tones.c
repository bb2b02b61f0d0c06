/* One tone after another on each channel, then all four at once. */
#include "cartridge.h"

static u32 frame;

EXPORT("update") void Update(void) {
    switch (frame++) {
        case 30: tone(440, 30, 100, 0 | 2 << 2); break;             /* half a second of A */
        case 90: tone(220 | 880u << 16, 30 | 6 << 8, 50, 1); break; /* an octave and another */
        case 150: tone(330, 30, 100, 2); break;                     /* triangle */
        case 210: tone(1000, 20, 40, 3 | 1 << 4); break;            /* noise on the left */
        case 270: tone(69, 30, 100, 0 | 2 << 2 | 1 << 6 | 2 << 4); break; /* note A on the right */
        case 330:
            tone(262, 12 << 24 | 12 << 16 | 60, 30 | 90 << 8, 0);
            tone(330, 90, 30, 1);
            tone(131, 90, 60, 2);
            tone(500, 90, 10, 3);
            break;
        default: break;
    }
    DRAW_COLOURS = 2;
    hline(0, 80, (int)(frame % 160));
}
