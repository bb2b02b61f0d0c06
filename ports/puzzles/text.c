#include "text.h"

#include <stdlib.h>
#include <string.h>

enum { kSlots = 1024, kMostBytes = 6 << 20, kMargin = 2, kSmallest = 4, kLargest = 400 };

typedef struct mask {
    struct mask* next;
    uint8_t* cover;  // NULL: only measured so far
    int width, height, advance;
    short face, size;
    char text[];
} mask;

static mask* slots[kSlots];
static int kept;  // bytes of all masks

static uint32_t StyleOf(font face) {
    switch (face) {
        case kSansBold: return MOXI_TEXT_BOLD;
        case kSansItalic: return MOXI_TEXT_ITALIC;
        case kMono: return MOXI_TEXT_COURIER;
        case kMonoBold: return MOXI_TEXT_COURIER | MOXI_TEXT_BOLD;
        default: return MOXI_TEXT_PLAIN;
    }
}

// The box that gets letters of this size: a line is 1.2 sizes and must be less than the box.
static int BoxHeight(int size) {
    return size * 6 / 5 + 1;
}

static void ForgetAll(void) {
    for (int i = 0; i < kSlots; ++i) {
        while (slots[i] != NULL) {
            mask* const old = slots[i];
            slots[i] = old->next;
            free(old->cover);
            free(old);
        }
    }
    kept = 0;
}

static uint32_t Hash(font face, int size, const char* text) {
    uint32_t hash = (uint32_t)(face * 1000 + size);
    for (; *text != 0; ++text) hash = hash * 31 + (unsigned char)*text;
    return (hash ^ hash >> 10) % kSlots;
}

// --- Making masks

static void Paint(mask* made) {
    static surface paper;
    const int width = made->advance + 2 * kMargin + made->size / 4;
    const int height = BoxHeight(made->size);
    if (width > paper.width || height > paper.height) {
        FreeSurface(&paper);
        NewSurface(&paper, width + 64, height + 16);
    }
    MapSurface(&paper);
    moxi_rectangle(paper.bitmap, 0, 0, width, height, MOXI_BLACK, MOXI_NO_FRAME);
    moxi_draw_text(paper.bitmap, made->text, kMargin, 0, width, height, StyleOf((font)made->face),
                   MOXI_NO_BACKGROUND, MOXI_WHITE);
    made->width = width;
    made->height = height;
    made->cover = malloc((size_t)(width * height));
    for (int y = 0; y < height; ++y) {
        const moxi_colour* const line = paper.pixels + y * paper.stride;
        for (int x = 0; x < width; ++x) made->cover[y * width + x] = (uint8_t)(line[x] & 255);
    }
    kept += width * height;
}

static mask* Find(font face, int size, const char* text, bool painted) {
    if (kept > kMostBytes) ForgetAll();
    const uint32_t slot = Hash(face, size, text);
    mask* found = slots[slot];
    while (found != NULL &&
           (found->size != size || found->face != (short)face || strcmp(found->text, text) != 0)) {
        found = found->next;
    }
    if (found == NULL) {
        const size_t length = strlen(text) + 1;
        found = calloc(1, sizeof *found + length);
        memcpy(found->text, text, length);
        found->face = (short)face;
        found->size = (short)size;
        const uint32_t measured =
            moxi_draw_text(MOXI_TEXT_BITMAP, text, 0, 0, 1, BoxHeight(size),
                           StyleOf(face) | MOXI_TEXT_MEASURE, MOXI_NO_BACKGROUND, MOXI_WHITE);
        found->advance = (int)(measured >> 16);
        found->next = slots[slot];
        slots[slot] = found;
        kept += (int)(sizeof *found + length);
    }
    if (painted && found->cover == NULL) Paint(found);
    return found;
}

// --- Where letters stand

typedef struct {
    short top, bottom;  // rows of an H in its mask; bottom is the baseline
} stand;

static stand StandOf(font face, int size) {
    static stand known[kFonts][kLargest + 1];
    stand* const at = &known[face][size];
    if (at->bottom != 0) return *at;
    const mask* const letter = Find(face, size, "H", true);
    at->top = -1;
    for (int y = 0; y < letter->height; ++y) {
        int most = 0;
        for (int x = 0; x < letter->width; ++x) {
            const int cover = letter->cover[y * letter->width + x];
            if (cover > most) most = cover;
        }
        if (most < 100) continue;
        if (at->top < 0) at->top = (short)y;
        at->bottom = (short)(y + 1);
    }
    // A font without an H at this size: by the measures of the type.
    if (at->bottom == 0) {
        at->bottom = (short)(size * 97 / 100 + 1);
        at->top = (short)(at->bottom - size * 7 / 10);
    }
    return *at;
}

static int Limited(int size) {
    return size > kLargest ? kLargest : size;
}

// --- What others call

int TextWidth(font face, int size, const char* text) {
    if (size < kSmallest || *text == 0) return 0;
    return Find(face, Limited(size), text, false)->advance;
}

int CapHeight(font face, int size) {
    if (size < kSmallest) return size * 7 / 10;
    const stand rows = StandOf(face, Limited(size));
    return rows.bottom - rows.top;
}

void DrawTextAt(surface* target, font face, int size, int x, int baseline, moxi_colour colour,
                const char* text) {
    if (size < kSmallest || *text == 0) return;
    const int baselineRow = StandOf(face, Limited(size)).bottom;
    const mask* const drawn = Find(face, Limited(size), text, true);
    DrawMask(target, x - kMargin, baseline - baselineRow, drawn->cover, drawn->width, drawn->height,
             colour);
}

int FittingBytes(font face, int size, const char* text, int width) {
    char piece[512];
    const int length = (int)strnlen(text, sizeof piece - 1);
    // By halves: each step measures one piece.
    int low = 0, high = length + 1;
    while (high - low > 1) {
        const int middle = (low + high) / 2;
        memcpy(piece, text, (size_t)middle);
        piece[middle] = 0;
        if (TextWidth(face, size, piece) <= width) {
            low = middle;
        } else {
            high = middle;
        }
    }
    while (low > 0 && ((unsigned char)text[low] & 0xC0) == 0x80) --low;
    return low;
}

void DrawTextIn(surface* target, font face, int size, box area, int where, moxi_colour colour,
                const char* text) {
    char shortened[512 + 4];  // the most that FittingBytes gives, an ellipsis, a NUL
    const int room = area.right - area.left;
    if (room <= 0) return;
    int width = TextWidth(face, size, text);
    if (width > room) {
        const int left = room - TextWidth(face, size, "\xE2\x80\xA6");
        const int bytes = FittingBytes(face, size, text, left > 0 ? left : 0);
        memcpy(shortened, text, (size_t)bytes);
        strcpy(shortened + bytes, "\xE2\x80\xA6");
        text = shortened;
        width = TextWidth(face, size, text);
    }
    int x = area.left;
    if (where == 0) x += (room - width) / 2;
    if (where > 0) x += room - width;
    const int cap = CapHeight(face, size);
    const int baseline = area.top + (area.bottom - area.top + cap) / 2;
    DrawTextAt(target, face, size, x, baseline, colour, text);
}
