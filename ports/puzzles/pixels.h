// Drawing on bitmaps by our own arithmetic: the services have no anti-aliased shapes. A surface is
// a bitmap whose pixels have been looked up; the address holds until the message ends, so every
// message begins with MapSurface. Coordinates are pixels from the top left; shapes that take
// fractions take them in 1/256 of a pixel, where the middle of pixel 3 is 3 * 256 + 128.
#ifndef PUZZLES_PIXELS_H
#define PUZZLES_PIXELS_H

#include <moxi.h>

enum { kOne = 256, kHalf = 128 };

typedef struct {
    int left, top, right, bottom;  // right and bottom lie outside
} box;

typedef struct {
    moxi_bitmap bitmap;
    moxi_colour* pixels;
    int width, height, stride;
    box clip;  // nothing outside of it is drawn
} surface;

// Mixes two colours: a part of 0 to 256 of the second.
static inline moxi_colour Mixed(moxi_colour first, moxi_colour second, int part) {
    const uint32_t low = 0x00FF00FFu;
    const uint32_t keep = (uint32_t)(256 - part), take = (uint32_t)part;
    const uint32_t redBlue = ((first & low) * keep + (second & low) * take) >> 8;
    const uint32_t green = ((first >> 8 & low) * keep + (second >> 8 & low) * take) >> 8;
    return (redBlue & low) | (green & 0xFFu) << 8 | 0xFF000000u;
}

// Makes a surface of at least 1 x 1; its pixels are undefined until they are drawn.
void NewSurface(surface* made, int width, int height);
void FreeSurface(surface* old);
// Looks the pixels up, in every message anew, and takes the clip off.
void MapSurface(surface* target);

// Cuts the clip down to a rectangle; the clip as it was comes back, for `SetClip`.
box PushClip(surface* target, int x, int y, int width, int height);
void SetClip(surface* target, box clip);
box Overlap(box first, box second);

void FillRectangle(surface* target, int x, int y, int width, int height, moxi_colour colour);
// Blends a colour with a part of 0 to 256 of it.
void TintRectangle(surface* target, int x, int y, int width, int height, moxi_colour colour,
                   int part);
// A line of one pixel's width between the middles of two pixels, both included.
void DrawLine(surface* target, int x0, int y0, int x1, int y1, moxi_colour colour);
// A line of any width between two points in 1/256 of a pixel; its ends reach half a width further.
void DrawThickLine(surface* target, int width, int x0, int y0, int x1, int y1, moxi_colour colour);

// A polygon of `count` points, x and y in turn, in 1/256.
void FillPolygon(surface* target, const int* points, int count, moxi_colour colour);
// A disc, and a ring whose line has the given width; all in 1/256.
void FillDisc(surface* target, int x, int y, int radius, moxi_colour colour);
void DrawRing(surface* target, int x, int y, int radius, int width, moxi_colour colour);
// A rectangle with round corners, in whole pixels.
void FillRounded(surface* target, int x, int y, int width, int height, int radius,
                 moxi_colour colour);

// Blends a colour through coverages of 0 to 255, row by row.
void DrawMask(surface* target, int x, int y, const uint8_t* mask, int width, int height,
              moxi_colour colour);
// Copies a rectangle of one surface to a place of another, within the clip.
void CopySurface(surface* target, int x, int y, const surface* from, box part);

#endif
