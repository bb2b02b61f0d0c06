/* Lines, rectangles and ovals of every size and place, also far outside, in every draw colour. */
#include "cartridge.h"

static void DrawOne(void) {
    DRAW_COLOURS = (u16)Random();
    const int wide = Between(0, 9) == 0;
    const int x = wide ? Between(-100000, 100000) : Between(-40, 200);
    const int y = wide ? Between(-5000, 5000) : Between(-40, 200);
    const int width = Between(-3, Between(0, 3) ? 30 : 220);
    const int height = Between(-3, Between(0, 3) ? 30 : 220);
    switch (Between(0, 4)) {
        case 0: line(x, y, Between(-40, 200), Between(-40, 200)); break;
        case 1: hline(x, y, width); break;
        case 2: vline(x, y, height); break;
        case 3: rect(x, y, width, height); break;
        default: oval(x, y, width, height); break;
    }
}

EXPORT("start") void Start(void) {
    SYSTEM_FLAGS = 1; /* pictures lie on one another */
}

EXPORT("update") void Update(void) {
    for (int i = 0; i < 40; ++i) DrawOne();
}
