// Fonts of pixels of a game.

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "game.h"

enum { kTextRoom = 1024, kFirst = ' ', kCount = 95 };

// Up to its last column with a pixel; 0 for a cell without one.
static int WidthOfCell(const moxi_pixels* dots, int left, int top, int width, int height) {
    for (int x = width - 1; x >= 0; --x) {
        for (int y = 0; y < height; ++y) {
            if (dots->pixels[(top + y) * dots->stride + left + x] >> 24 != 0) return x + 1;
        }
    }
    return 0;
}

font make_font(picture letters, int cell_width, int cell_height) {
    font made = {.cells = make_sheet(letters, cell_width, cell_height)};
    if (letters.bitmap == 0) return made;
    const moxi_pixels dots = moxi_lock_pixels(letters.bitmap);
    for (int i = 0; i < kCount && i < made.cells.count; ++i) {
        const int left = i % made.cells.columns * cell_width;
        const int width = WidthOfCell(&dots, left, i / made.cells.columns * cell_height,
                                      cell_width, cell_height);
        made.widths[i] = (unsigned char)(width > 0 ? width : cell_width / 2);
    }
    moxi_unlock_pixels(dots);
    return made;
}

font load_font(const char* name, int cell_width, int cell_height) {
    return make_font(load_picture(name), cell_width, cell_height);
}

// The letters in a colour; the colour that was made first gives way to a new one.
static picture* InColour(font* letters, colour fill) {
    const int count = sizeof letters->inks / sizeof letters->inks[0];
    for (int i = 0; i < count; ++i) {
        if (letters->inks[i].fill == fill) return &letters->inks[i].image;
    }
    const int place = letters->next_ink;
    letters->next_ink = (place + 1) % count;
    FreePicture(&letters->inks[place].image);
    letters->inks[place].fill = fill;
    letters->inks[place].image = tinted(&letters->cells.image, fill);
    return &letters->inks[place].image;
}

static int IndexOf(char letter) {
    const int index = (unsigned char)letter - kFirst;
    return index >= 0 && index < kCount ? index : '?' - kFirst;
}

// A line's width, without the room behind its last letter.
static int LineWidth(const font* letters, const char* text) {
    int width = 0;
    for (; *text != 0 && *text != '\n'; ++text) width += letters->widths[IndexOf(*text)] + 1;
    return width > 0 ? width - 1 : 0;
}

static const char* LineAfter(const char* text) {
    text += strcspn(text, "\n");
    return *text == 0 ? text : text + 1;
}

int words_width(const font* letters, const char* format, ...) {
    char text[kTextRoom];
    va_list list;
    va_start(list, format);
    vsnprintf(text, sizeof text, format, list);
    va_end(list);
    int widest = 0;
    for (const char* line = text; *line != 0; line = LineAfter(line)) {
        const int width = LineWidth(letters, line);
        if (width > widest) widest = width;
    }
    return widest;
}

static void DrawLine(font* letters, sheet* cells, float x, float y, const char* text) {
    for (; *text != 0 && *text != '\n'; ++text) {
        const int index = IndexOf(*text);
        if (index != 0) draw_cell(cells, index, x, y, false);
        x += (float)letters->widths[index] + 1;
    }
}

void draw_words(font* letters, float x, float y, colour fill, const char* format, ...) {
    char text[kTextRoom];
    va_list list;
    va_start(list, format);
    vsnprintf(text, sizeof text, format, list);
    va_end(list);
    if (letters->cells.image.bitmap == 0) return;
    sheet cells = letters->cells;
    cells.image = *InColour(letters, fill | 0xFF000000u);
    for (const char* line = text; *line != 0; line = LineAfter(line)) {
        float left = x;
        // Whole pixels, so that a line does not tremble against the one above.
        if (TextAlignment() == ALIGN_CENTRE) left -= (float)(LineWidth(letters, line) / 2);
        if (TextAlignment() == ALIGN_RIGHT) left -= (float)LineWidth(letters, line);
        DrawLine(letters, &cells, left, y, line);
        y += (float)letters->cells.cell_height;
    }
}
