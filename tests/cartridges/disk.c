/* The saved block: what comes back is noted in memory, frame by frame. */
#include "cartridge.h"

static u8 block[1100];
static u8 back[1100];
static u32 notes[16];

EXPORT("start") void Start(void) {
    for (u32 i = 0; i < sizeof block; ++i) block[i] = (u8)(i * 7 + 1);
    notes[0] = diskr(back, 1024);      /* nothing was saved */
    notes[1] = diskw(block, 100);      /* all of it */
    notes[2] = diskr(back, 1024);      /* 100 */
    notes[3] = diskw(block + 5, 1100); /* cut to 1024 */
    notes[4] = diskr(back, 10);        /* the first ten */
    notes[5] = back[0];
    notes[6] = diskr(back, 1024);
    notes[7] = back[1023];
    notes[8] = diskw(block, 0); /* replaces all by nothing */
    notes[9] = diskr(back, 8);
    notes[10] = diskw(block, 3);
}

EXPORT("update") void Update(void) {
    notes[11] = diskr(back, 2);
}
