#include "board.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "text.h"
#include "theme.h"

static moxi_colour Colour(const board* shown, int index) {
    return index >= 0 && index < shown->colourCount ? shown->colours[index] : MOXI_BLACK;
}

// --- Shapes

static void Text(void* handle, int x, int y, int fonttype, int fontsize, int align, int colour,
                 const char* text) {
    board* const shown = handle;
    const font face = fonttype == FONT_FIXED ? kMonoBold : kSansBold;
    if (align & (ALIGN_HCENTRE | ALIGN_HRIGHT)) {
        const int width = TextWidth(face, fontsize, text);
        x -= align & ALIGN_HCENTRE ? (width + 1) / 2 : width;
    }
    if (align & ALIGN_VCENTRE) y += (CapHeight(face, fontsize) + 1) / 2;
    DrawTextAt(&shown->picture, face, fontsize, x, y, Colour(shown, colour), text);
}

static void Rectangle(void* handle, int x, int y, int w, int h, int colour) {
    board* const shown = handle;
    FillRectangle(&shown->picture, x, y, w, h, Colour(shown, colour));
}

static void Line(void* handle, int x1, int y1, int x2, int y2, int colour) {
    board* const shown = handle;
    DrawLine(&shown->picture, x1, y1, x2, y2, Colour(shown, colour));
}

static void ThickLine(void* handle, float thickness, float x1, float y1, float x2, float y2,
                      int colour) {
    board* const shown = handle;
    DrawThickLine(&shown->picture, (int)(thickness * kOne), (int)(x1 * kOne), (int)(y1 * kOne),
                  (int)(x2 * kOne), (int)(y2 * kOne), Colour(shown, colour));
}

// A corner of a polygon is the middle of a pixel.
static void Polygon(void* handle, const int* coords, int npoints, int fillcolour,
                    int outlinecolour) {
    board* const shown = handle;
    if (fillcolour >= 0) {
        int few[64];
        int* const points = npoints <= 32 ? few : snewn(2 * npoints, int);
        for (int i = 0; i < 2 * npoints; ++i) points[i] = coords[i] * kOne + kHalf;
        FillPolygon(&shown->picture, points, npoints, Colour(shown, fillcolour));
        if (points != few) sfree(points);
    }
    if (outlinecolour < 0) return;
    for (int i = 0; i < npoints; ++i) {
        const int* const from = coords + 2 * i;
        const int* const to = coords + 2 * ((i + 1) % npoints);
        DrawLine(&shown->picture, from[0], from[1], to[0], to[1], Colour(shown, outlinecolour));
    }
}

static void Circle(void* handle, int cx, int cy, int radius, int fillcolour, int outlinecolour) {
    board* const shown = handle;
    const int x = cx * kOne + kHalf, y = cy * kOne + kHalf, size = radius * kOne;
    // With an outline of its own colour a disc is half a pixel larger and has one smooth edge.
    if (fillcolour >= 0 && fillcolour == outlinecolour) {
        FillDisc(&shown->picture, x, y, size + kHalf, Colour(shown, fillcolour));
        return;
    }
    if (fillcolour >= 0) FillDisc(&shown->picture, x, y, size, Colour(shown, fillcolour));
    if (outlinecolour >= 0) {
        DrawRing(&shown->picture, x, y, size, kOne, Colour(shown, outlinecolour));
    }
}

// --- What has changed

static void Begin(void* handle) {
    (void)handle;
}

static void End(void* handle) {
    (void)handle;
}

static void Update(void* handle, int x, int y, int w, int h) {
    board* const shown = handle;
    const box whole = {0, 0, shown->picture.width, shown->picture.height};
    const box area = Overlap(whole, (box){x, y, x + w, y + h});
    if (area.right <= area.left || area.bottom <= area.top) return;
    box* const dirty = &shown->dirty;
    if (dirty->right <= dirty->left) {
        *dirty = area;
        return;
    }
    if (area.left < dirty->left) dirty->left = area.left;
    if (area.top < dirty->top) dirty->top = area.top;
    if (area.right > dirty->right) dirty->right = area.right;
    if (area.bottom > dirty->bottom) dirty->bottom = area.bottom;
}

box TakeDirty(board* shown) {
    const box dirty = shown->dirty;
    shown->dirty = (box){0, 0, 0, 0};
    return dirty;
}

static void Clip(void* handle, int x, int y, int w, int h) {
    board* const shown = handle;
    SetClip(&shown->picture, (box){0, 0, shown->picture.width, shown->picture.height});
    PushClip(&shown->picture, x, y, w, h);
}

static void Unclip(void* handle) {
    board* const shown = handle;
    SetClip(&shown->picture, (box){0, 0, shown->picture.width, shown->picture.height});
}

static void Status(void* handle, const char* text) {
    board* const shown = handle;
    snprintf(shown->status, sizeof shown->status, "%s", text);
    shown->statusChanged = true;
}

// --- Blitters: what lies below a thing that is dragged

struct blitter {
    int x, y, width, height;
    moxi_colour pixels[];
};

static blitter* NewBlitter(void* handle, int w, int h) {
    (void)handle;
    blitter* const made = smalloc(sizeof *made + (size_t)(w * h) * sizeof(moxi_colour));
    made->x = made->y = 0;
    made->width = w;
    made->height = h;
    return made;
}

static void FreeBlitter(void* handle, blitter* old) {
    (void)handle;
    sfree(old);
}

static box OnPicture(const board* shown, int x, int y, const blitter* piece) {
    return Overlap((box){0, 0, shown->picture.width, shown->picture.height},
                   (box){x, y, x + piece->width, y + piece->height});
}

static void SaveBlitter(void* handle, blitter* piece, int x, int y) {
    const board* const shown = handle;
    const box area = OnPicture(shown, x, y, piece);
    piece->x = x;
    piece->y = y;
    for (int row = area.top; row < area.bottom; ++row) {
        memcpy(piece->pixels + (row - y) * piece->width + area.left - x,
               shown->picture.pixels + row * shown->picture.stride + area.left,
               (size_t)(area.right - area.left) * sizeof(moxi_colour));
    }
}

static void LoadBlitter(void* handle, blitter* piece, int x, int y) {
    board* const shown = handle;
    if (x == BLITTER_FROMSAVED && y == BLITTER_FROMSAVED) {
        x = piece->x;
        y = piece->y;
    }
    const box area = OnPicture(shown, x, y, piece);
    for (int row = area.top; row < area.bottom; ++row) {
        memcpy(shown->picture.pixels + row * shown->picture.stride + area.left,
               piece->pixels + (row - y) * piece->width + area.left - x,
               (size_t)(area.right - area.left) * sizeof(moxi_colour));
    }
}

// The fonts have every character that games prefer, so the first choice is taken.
static char* TextFallback(void* handle, const char* const* strings, int nstrings) {
    (void)handle;
    (void)nstrings;
    return dupstr(strings[0]);
}

static const drawing_api drawingApi = {
    .draw_text = Text,
    .draw_rect = Rectangle,
    .draw_line = Line,
    .draw_polygon = Polygon,
    .draw_circle = Circle,
    .draw_update = Update,
    .clip = Clip,
    .unclip = Unclip,
    .start_draw = Begin,
    .end_draw = End,
    .status_bar = Status,
    .blitter_new = NewBlitter,
    .blitter_free = FreeBlitter,
    .blitter_save = SaveBlitter,
    .blitter_load = LoadBlitter,
    .text_fallback = TextFallback,
    .draw_thick_line = ThickLine,
};

// --- What the games ask of a platform

void fatal(const char* format, ...) {
    char text[512];
    va_list list;
    va_start(list, format);
    vsnprintf(text, sizeof text, format, list);
    va_end(list);
    moxi_show_message(text);
    moxi_stop();
}

void get_random_seed(void** randseed, int* randseedsize) {
    static uint32_t calls;
    struct {
        char date[24];
        uint32_t milliseconds, calls;
    } seed = {{0}, moxi_milliseconds(), ++calls};
    moxi_date_time(seed.date);
    *randseed = smalloc(sizeof seed);
    memcpy(*randseed, &seed, sizeof seed);
    *randseedsize = (int)sizeof seed;
}

void activate_timer(frontend* fe) {
    if (fe->timed) return;
    fe->timed = true;
    fe->lastTime = moxi_milliseconds();
}

void deactivate_timer(frontend* fe) {
    fe->timed = false;
}

void StepBoard(board* shown) {
    if (!shown->timed) return;
    const uint32_t now = moxi_milliseconds();
    uint32_t gone = now - shown->lastTime;
    shown->lastTime = now;
    // The window was minimised, or the machine asleep: nobody played.
    if (gone > 1000) gone = 1000;
    midend_timer(shown->me, (float)gone / 1000);
}

// --- Boards

board* NewBoard(const game* played) {
    board* const made = snew(board);
    memset(made, 0, sizeof *made);
    made->played = played;
    made->me = midend_new(made, played, &drawingApi, made);
    RecolourBoard(made);
    return made;
}

void FreeBoard(board* old) {
    if (old == NULL) return;
    midend_free(old->me);
    FreeSurface(&old->picture);
    free(old->colours);
    sfree(old);
}

void RecolourBoard(board* shown) {
    free(shown->colours);
    shown->colours = GameColours(shown->played, shown, &shown->colourCount);
}

moxi_colour BoardGround(const board* shown) {
    return Colour(shown, 0);
}

void MapBoard(board* shown) {
    MapSurface(&shown->picture);
}

void FitBoard(board* shown, int width, int height) {
    int fittingWidth = width > 1 ? width : 1, fittingHeight = height > 1 ? height : 1;
    midend_reset_tilesize(shown->me);
    midend_size(shown->me, &fittingWidth, &fittingHeight, true, 1.0);
    if (fittingWidth != shown->picture.width || fittingHeight != shown->picture.height) {
        FreeSurface(&shown->picture);
        NewSurface(&shown->picture, fittingWidth, fittingHeight);
    }
    Unclip(shown);
    moxi_rectangle(shown->picture.bitmap, 0, 0, fittingWidth, fittingHeight, BoardGround(shown),
                   MOXI_NO_FRAME);
    midend_force_redraw(shown->me);
    shown->dirty = (box){0, 0, fittingWidth, fittingHeight};
}
