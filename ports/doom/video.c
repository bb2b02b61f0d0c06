// The engine's picture, 320 by 200 bytes, on the window: the bytes' colours go into a bitmap of the
// same size, which the host enlarges. Only rows that have changed are looked at again.

#include "moxi_parts.h"

#include <string.h>

#include "config.h"

#include "i_video.h"
#include "m_argv.h"
#include "m_config.h"
#include "tables.h"
#include "v_video.h"

// With the picture's pixels as high as they are on the screens that it was made for, it has 240
// rows.
enum { kTallRows = 240, kColours = 256 };

// Settings that others read
boolean screenvisible = true;
boolean screensaver_mode = false;
pixel_t* I_VideoBuffer;
int usegamma;
int usemouse = 1;
int aspect_ratio_correct = kWhereItFits;
int png_screenshots = 1;
unsigned int joywait;

static _Alignas(8) pixel_t buffer[SCREENWIDTH * SCREENHEIGHT];
static _Alignas(8) pixel_t shown[SCREENWIDTH * SCREENHEIGHT];  // what the window has
static moxi_colour colours[kColours];
static byte reds[kColours], greens[kColours], blues[kColours];
static bool mustShowAll;

static moxi_bitmap picture;
static int viewWidth, viewHeight;

// Where the picture is: rows are SCREENHEIGHT or kTallRows, each `scale` pixels high; 0 where it is
// as large as fits, in a window that is smaller or of another shape.
static struct { int x, y, width, height, rows, scale; } place;

static int Smaller(int a, int b) {
    return a < b ? a : b;
}

static int StepsOf(int rows) {
    return Smaller(viewWidth / SCREENWIDTH, viewHeight / rows);
}

// --- The bitmap

static void ColourRows(moxi_colour* out, const pixel_t* from, int count) {
    for (int i = 0; i < count; i += 8) {
        out[i] = colours[from[i]];
        out[i + 1] = colours[from[i + 1]];
        out[i + 2] = colours[from[i + 2]];
        out[i + 3] = colours[from[i + 3]];
        out[i + 4] = colours[from[i + 4]];
        out[i + 5] = colours[from[i + 5]];
        out[i + 6] = colours[from[i + 6]];
        out[i + 7] = colours[from[i + 7]];
    }
}

// part / 5 of the first row and the rest of the second, two bytes of a colour at a time.
static void MixRows(moxi_colour* out, const pixel_t* first, const pixel_t* second, unsigned part) {
    const unsigned share = part * 256 / 5, rest = 256 - share;
    for (int x = 0; x < SCREENWIDTH; ++x) {
        const moxi_colour a = colours[first[x]], b = colours[second[x]];
        const moxi_colour low = ((a & 0xFF00FF) * share + (b & 0xFF00FF) * rest) >> 8 & 0xFF00FF;
        const moxi_colour high = (a >> 8 & 0xFF00FF) * share + (b >> 8 & 0xFF00FF) * rest;
        out[x] = low | (high & 0xFF00FF00u);
    }
}

// Five rows become six. Row n of the six covers 5/6 of a row from 5n/6 on: of it n/5 lies in row n
// - 1 and the rest in row n.
static void ColourTallRows(const moxi_pixels* pixels, int first, int last) {
    for (int row = first; row <= last; ++row) {
        const int within = row % 6;
        const pixel_t* const from = shown + (row / 6 * 5 + within) * SCREENWIDTH;
        moxi_colour* const out = pixels->pixels + row * pixels->stride;
        if (within == 0) {
            ColourRows(out, from, SCREENWIDTH);
        } else if (within == 5) {
            ColourRows(out, from - SCREENWIDTH, SCREENWIDTH);
        } else {
            MixRows(out, from - SCREENWIDTH, from, (unsigned)within);
        }
    }
}

// Rows first to last of the picture onto the window; all of them where it is made smaller.
static void ShowRows(int first, int last) {
    if (place.scale == 0) {
        first = 0;
        last = SCREENHEIGHT - 1;
    }
    if (place.rows == kTallRows) {
        first = first / 5 * 6;
        last = last / 5 * 6 + 5;
    }
    MOXI_WITH_PIXELS(pixels, picture) {
        if (place.rows == kTallRows) {
            ColourTallRows(&pixels, first, last);
        } else {
            for (int row = first; row <= last; ++row) {
                ColourRows(pixels.pixels + row * pixels.stride, shown + row * SCREENWIDTH,
                           SCREENWIDTH);
            }
        }
    }
    const int rows = last - first + 1;
    if (place.scale > 0) {
        moxi_scaled_blit(MOXI_SCREEN, place.x, place.y + first * place.scale, place.width,
                         rows * place.scale, picture, 0, first, SCREENWIDTH, rows, 0, 0);
    } else {
        moxi_scaled_blit(MOXI_SCREEN, place.x, place.y, place.width, place.height, picture, 0, 0,
                         SCREENWIDTH, place.rows, 0, 0);
    }
}

static void PlacePicture(void) {
    const int square = StepsOf(SCREENHEIGHT), tall = StepsOf(kTallRows);
    const bool isTall =
        aspect_ratio_correct == kAlways || (aspect_ratio_correct == kWhereItFits && tall >= square);
    place.rows = isTall ? kTallRows : SCREENHEIGHT;
    // In whole steps, unless that would make a picture that is wanted tall much smaller.
    place.scale = isTall && tall < square ? 0 : square;
    if (place.scale > 0) {
        place.width = SCREENWIDTH * place.scale;
        place.height = place.rows * place.scale;
    } else {
        place.width = Smaller(viewWidth, viewHeight * SCREENWIDTH / place.rows);
        place.height = Smaller(viewHeight, viewWidth * place.rows / SCREENWIDTH);
    }
    place.x = (viewWidth - place.width) / 2;
    place.y = (viewHeight - place.height) / 2;
    moxi_rectangle(MOXI_SCREEN, 0, 0, viewWidth, viewHeight, MOXI_BLACK, MOXI_BLACK);
    if (picture != 0) ShowRows(0, SCREENHEIGHT - 1);
}

void SetView(int width, int height) {
    viewWidth = width;
    viewHeight = height;
    PlacePicture();
}

int ViewWidth(void) {
    return viewWidth;
}

void ChangePixelShape(void) {
    aspect_ratio_correct = place.rows == kTallRows ? kNever : kAlways;
    PlacePicture();
}

// Eight pixels at a time.
static bool RowChanged(int row) {
    const uint64_t* const a = (const uint64_t*)(buffer + row * SCREENWIDTH);
    const uint64_t* const b = (const uint64_t*)(shown + row * SCREENWIDTH);
    for (int i = 0; i < SCREENWIDTH / 8; ++i) {
        if (a[i] != b[i]) return true;
    }
    return false;
}

void I_FinishUpdate(void) {
    int first = 0, last = SCREENHEIGHT - 1;
    if (!mustShowAll) {
        while (first < SCREENHEIGHT && !RowChanged(first)) ++first;
        if (first == SCREENHEIGHT) return;
        while (!RowChanged(last)) --last;
    }
    mustShowAll = false;
    memcpy(shown + first * SCREENWIDTH, buffer + first * SCREENWIDTH,
           (size_t)(last - first + 1) * SCREENWIDTH);
    ShowRows(first, last);
}

// --- What the engine asks for

void I_InitGraphics(void) {
    picture = moxi_new_bitmap(SCREENWIDTH, kTallRows);
    I_VideoBuffer = buffer;
    V_RestoreBuffer();
}

// The screens that the game was made for have 6 bits a colour.
void I_SetPalette(byte* palette) {
    const byte* const gamma = gammatable[usegamma];
    for (int i = 0; i < kColours; ++i, palette += 3) {
        reds[i] = gamma[palette[0]] & ~3;
        greens[i] = gamma[palette[1]] & ~3;
        blues[i] = gamma[palette[2]] & ~3;
        const moxi_colour colour = MOXI_RGB(reds[i], greens[i], blues[i]);
        mustShowAll |= colours[i] != colour;
        colours[i] = colour;
    }
}

int I_GetPaletteIndex(int red, int green, int blue) {
    int best = 0, bestDistance = 1 << 20;
    for (int i = 0; i < kColours; ++i) {
        const int r = red - reds[i], g = green - greens[i], b = blue - blues[i];
        const int distance = r * r + g * g + b * b;
        if (distance < bestDistance) best = i, bestDistance = distance;
    }
    return best;
}

void I_ReadScreen(pixel_t* pixels) {
    memcpy(pixels, buffer, sizeof buffer);
}

void I_SetWindowTitle(const char* title) {
    moxi_window_title(title);
}

void I_BindVideoVariables(void) {
    M_BindIntVariable("use_mouse", &usemouse);
    M_BindIntVariable("aspect_ratio_correct", &aspect_ratio_correct);
    M_BindIntVariable("usegamma", &usegamma);
    M_BindIntVariable("png_screenshots", &png_screenshots);
}

void I_GraphicsCheckCommandLine(void) {}
void I_UpdateNoBlit(void) {}
void I_CheckIsScreensaver(void) {}

void I_SetGrabMouseCallback(grabmouse_callback_t call) {
    (void)call;
}

void I_DisplayFPSDots(boolean on) {
    (void)on;
}

void I_RegisterWindowIcon(const unsigned int* icon, int width, int height) {
    (void)icon, (void)width, (void)height;
}
