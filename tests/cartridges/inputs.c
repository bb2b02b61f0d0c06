/* Keys, pointer and buttons as they were in each frame; the flag that keeps the picture; palettes.
 */
#include "cartridge.h"

static u32 frame;
static u8 history[600][8];

EXPORT("update") void Update(void) {
    u8* const row = history[frame % 600];
    row[0] = GAMEPADS[0];
    row[1] = GAMEPADS[1];
    row[2] = MOUSE_BUTTONS;
    row[3] = (u8)(MOUSE_X & 255);
    row[4] = (u8)(MOUSE_X >> 8);
    row[5] = (u8)(MOUSE_Y & 255);
    row[6] = (u8)(MOUSE_Y >> 8);
    row[7] = PICTURE[frame % 6400]; /* 0, or what the frames before left */
    SYSTEM_FLAGS = frame % 20 < 10;
    PALETTE[frame % 4] = frame * 0x030507 & 0xFFFFFF;
    DRAW_COLOURS = 0x4321;
    rect((int)(frame % 150), (int)(frame % 140), 20, 20);
    if (MOUSE_X >= 0 && MOUSE_X < 160) vline(MOUSE_X, 0, 160);
    ++frame;
}
