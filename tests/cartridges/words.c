/* Every character in one and two bytes, new lines, ends, text across all edges, and the log. */
#include "cartridge.h"

static u8 all[260];
static u16 wide[260];
static u32 frame;

EXPORT("start") void Start(void) {
    for (u32 i = 0; i < 255; ++i) {
        all[i] = (u8)(i + 1);
        wide[i] = (u16)(i + 1);
    }
    wide[10] = 0x2603;
    trace("first line");
    traceUtf8("second line and more", 11);
    static const u16 third[] = {'t', 'h', 'i', 'r', 'd', 0xE9, 0};
    traceUtf16(third, 12);
    const struct {
        int c, d, x;
        const char* s;
        double f;
    } arguments = {'A', -12, 0xBEEF, "words", 2.5};
    tracef("%c %d %x %s %f 100%%", &arguments);
}

EXPORT("update") void Update(void) {
    DRAW_COLOURS = (u16)(frame * 0x1111 + 0x43);
    text("Hello\nWorld", 4, 4);
    DRAW_COLOURS = 0x0032;
    text(all + 31, -20, 30);
    textUtf8(all, 60, 2, 60);
    textUtf16(wide, 2 * 40 + 1, -3, 90);
    textUtf8("ends\0here", 9, 100, 120);
    DRAW_COLOURS = 0x0204;
    for (int row = 0; row < 8; ++row) textUtf8(all + 32 * row, 31, -60, 100 + 8 * row);
    text("edge", 150, 155);
    text("edge", -10, -5);
    ++frame;
}
