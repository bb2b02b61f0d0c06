// Drawing of a game, onto its canvas.

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "game.h"

enum { kTextRoom = 1024 };

static uint32_t style;
static alignment aligned;

void BeginDrawing(void) {
    style = MOXI_TEXT_PLAIN;
    aligned = ALIGN_LEFT;
    CameraOn();
}

// --- Colours

static uint32_t Channel(colour word, int shift) {
    return word >> shift & 255;
}

colour mix(colour first, colour second, float part) {
    const int weight = part <= 0 ? 0 : part >= 1 ? 256 : (int)(part * 256);
    uint32_t mixed[4];
    for (int i = 0; i < 4; ++i) {
        const int from = (int)Channel(first, i * 8);
        const int to = (int)Channel(second, i * 8);
        mixed[i] = (uint32_t)(from + (to - from) * weight / 256);
    }
    return RGBA(mixed[0], mixed[1], mixed[2], mixed[3]);
}

colour faded(colour opaque, float alpha) {
    const float limited = alpha < 0 ? 0 : alpha > 1 ? 1 : alpha;
    return (opaque & 0xFFFFFF) | (uint32_t)(limited * (float)Channel(opaque, 24)) << 24;
}

// --- Shapes

static int Whole(float number) {
    return (int)__builtin_floorf(number + 0.5f);
}

void clear_screen(colour fill) {
    moxi_rectangle(gameCanvas, 0, 0, game_width(), game_height(), fill | 0xFF000000u, MOXI_NO_FRAME);
}

void draw_pixel(float x, float y, colour fill) {
    moxi_blend_pixel(gameCanvas, OnCanvasX(x), OnCanvasY(y), fill);
}

void draw_line(float x0, float y0, float x1, float y1, colour stroke) {
    const moxi_point points[] = {{OnCanvasX(x0), OnCanvasY(y0)}, {OnCanvasX(x1), OnCanvasY(y1)}};
    moxi_line_pattern(0xFFFFFFFF);
    moxi_polyline(gameCanvas, points, 2, stroke);
}

// Corners are rounded to pixels, not sizes: boxes side by side meet.
void draw_box(float x, float y, float width, float height, colour fill) {
    const int left = OnCanvasX(x);
    const int top = OnCanvasY(y);
    moxi_rectangle(gameCanvas, left, top, OnCanvasX(x + width) - left, OnCanvasY(y + height) - top,
                   fill, MOXI_NO_FRAME);
}

// A frame has its corners once each, so that one that is not opaque is even.
void draw_frame(float x, float y, float width, float height, colour stroke) {
    const int left = OnCanvasX(x), top = OnCanvasY(y);
    const int right = OnCanvasX(x + width), bottom = OnCanvasY(y + height);
    if (right - left < 1 || bottom - top < 1) return;
    moxi_rectangle(gameCanvas, left, top, right - left, 1, stroke, MOXI_NO_FRAME);
    if (bottom - top < 2) return;
    moxi_rectangle(gameCanvas, left, bottom - 1, right - left, 1, stroke, MOXI_NO_FRAME);
    moxi_rectangle(gameCanvas, left, top + 1, 1, bottom - top - 2, stroke, MOXI_NO_FRAME);
    if (right - left < 2) return;
    moxi_rectangle(gameCanvas, right - 1, top + 1, 1, bottom - top - 2, stroke, MOXI_NO_FRAME);
}

static void Disc(float x, float y, float radius, colour fill, colour outline) {
    const int left = OnCanvasX(x - radius), top = OnCanvasY(y - radius);
    const int size = Whole(radius * 2);
    if (size < 1) return;
    moxi_ellipse(gameCanvas, left, top, size, size, moxi_ellipse_colour(fill),
                 moxi_ellipse_colour(outline));
}

void draw_disc(float x, float y, float radius, colour fill) {
    Disc(x, y, radius, fill, MOXI_NO_FRAME);
}

void draw_ring(float x, float y, float radius, colour stroke) {
    Disc(x, y, radius, MOXI_NO_FILL, stroke);
}

// --- Text

void text_style(uint32_t bits) {
    style = bits;
}
void text_align(alignment align) {
    aligned = align;
}

// With bits that only measure, a box of one pixel will do: nothing is cut.
static int Measure(int size, const char* text) {
    return (int)(moxi_draw_text(gameCanvas, text, 0, 0, 1, size, style | MOXI_TEXT_MEASURE,
                                MOXI_NO_BACKGROUND, WHITE) >>
                 16);
}

int text_width(int size, const char* format, ...) {
    char text[kTextRoom];
    va_list list;
    va_start(list, format);
    vsnprintf(text, sizeof text, format, list);
    va_end(list);
    return Measure(size, text);
}

void draw_text(float x, float y, int size, colour fill, const char* format, ...) {
    char text[kTextRoom];
    va_list list;
    va_start(list, format);
    vsnprintf(text, sizeof text, format, list);
    va_end(list);
    if (text[0] == 0 || size < 1) return;
    const int width = Measure(size, text);
    int left = OnCanvasX(x);
    if (aligned == ALIGN_CENTRE) left -= width / 2;
    if (aligned == ALIGN_RIGHT) left -= width;
    moxi_draw_text(gameCanvas, text, left, OnCanvasY(y), width + 2, size, style, MOXI_NO_BACKGROUND,
                   fill);
}

// --- Pictures

static picture NewPicture(int width, int height) {
    const picture made = {moxi_new_bitmap((uint32_t)width, (uint32_t)height), 0, width, height};
    return made;
}

picture load_picture(const char* name) {
    picture loaded = {moxi_load_image(name), 0, 0, 0};
    if (loaded.bitmap == 0) return loaded;
    moxi_info info;
    moxi_bitmap_info(loaded.bitmap, &info);
    loaded.width = info.width;
    loaded.height = info.height;
    return loaded;
}

static colour InkOf(char letter, const ink* inks, int count) {
    for (int i = 0; i < count; ++i) {
        if (inks[i].letter == letter) return inks[i].fill;
    }
    return 0;
}

picture make_picture(const char* const* rows, const ink* inks, int ink_count) {
    int width = 0, height = 0;
    for (; rows[height] != NULL; ++height) {
        const int length = (int)strlen(rows[height]);
        if (length > width) width = length;
    }
    if (width == 0) return (picture){0, 0, 0, 0};
    const picture made = NewPicture(width, height);
    const moxi_pixels dots = moxi_lock_pixels(made.bitmap);
    for (int y = 0; y < height; ++y) {
        const int length = (int)strlen(rows[y]);
        for (int x = 0; x < width; ++x) {
            dots.pixels[y * dots.stride + x] = x < length ? InkOf(rows[y][x], inks, ink_count) : 0;
        }
    }
    moxi_unlock_pixels(dots);
    return made;
}

void FreePicture(picture* image) {
    if (image->bitmap != 0) moxi_free_bitmap(image->bitmap);
    if (image->flipped != 0) moxi_free_bitmap(image->flipped);
}

picture enlarged(picture small, int factor) {
    if (factor < 2 || small.bitmap == 0) return small;
    const picture large = NewPicture(small.width * factor, small.height * factor);
    const moxi_pixels from = moxi_lock_pixels(small.bitmap);
    const moxi_pixels to = moxi_lock_pixels(large.bitmap);
    for (int y = 0; y < large.height; ++y) {
        for (int x = 0; x < large.width; ++x) {
            to.pixels[y * to.stride + x] = from.pixels[y / factor * from.stride + x / factor];
        }
    }
    moxi_unlock_pixels(to);
    moxi_unlock_pixels(from);
    FreePicture(&small);
    return large;
}

static colour Premultiplied(colour fill, uint32_t alpha) {
    const uint32_t red = Channel(fill, 0) * alpha / 255, green = Channel(fill, 8) * alpha / 255;
    return RGBA(red, green, Channel(fill, 16) * alpha / 255, alpha);
}

picture tinted(const picture* image, colour fill) {
    if (image->bitmap == 0) return (picture){0, 0, 0, 0};
    const picture made = NewPicture(image->width, image->height);
    const moxi_pixels from = moxi_lock_pixels(image->bitmap);
    const moxi_pixels to = moxi_lock_pixels(made.bitmap);
    for (int y = 0; y < image->height; ++y) {
        for (int x = 0; x < image->width; ++x) {
            to.pixels[y * to.stride + x] =
                Premultiplied(fill, Channel(from.pixels[y * from.stride + x], 24));
        }
    }
    moxi_unlock_pixels(to);
    moxi_unlock_pixels(from);
    return made;
}

// The picture's mirror image, made when it is first asked for.
static moxi_bitmap Flipped(picture* image) {
    if (image->flipped != 0 || image->bitmap == 0) return image->flipped;
    const picture mirror = NewPicture(image->width, image->height);
    const moxi_pixels from = moxi_lock_pixels(image->bitmap);
    const moxi_pixels to = moxi_lock_pixels(mirror.bitmap);
    for (int y = 0; y < image->height; ++y) {
        for (int x = 0; x < image->width; ++x) {
            to.pixels[y * to.stride + x] = from.pixels[y * from.stride + image->width - 1 - x];
        }
    }
    moxi_unlock_pixels(to);
    moxi_unlock_pixels(from);
    return image->flipped = mirror.bitmap;
}

static void Copy(moxi_bitmap from, float x, float y, int from_x, int from_y, int width,
                 int height) {
    const int left = OnCanvasX(x), top = OnCanvasY(y);
    if (from == 0 || left >= game_width() || top >= game_height()) return;
    if (left + width <= 0 || top + height <= 0) return;
    moxi_blit(gameCanvas, left, top, from, from_x, from_y, width, height, false, 0, 0);
}

void draw_picture(picture* image, float x, float y) {
    Copy(image->bitmap, x, y, 0, 0, image->width, image->height);
}

void draw_flipped(picture* image, float x, float y) {
    Copy(Flipped(image), x, y, 0, 0, image->width, image->height);
}

// --- Sheets

sheet make_sheet(picture image, int cell_width, int cell_height) {
    sheet made = {image, cell_width, cell_height, 0, 0};
    if (cell_width < 1 || cell_height < 1) return made;
    made.columns = image.width / cell_width;
    made.count = made.columns * (image.height / cell_height);
    return made;
}

sheet load_sheet(const char* name, int cell_width, int cell_height) {
    return make_sheet(load_picture(name), cell_width, cell_height);
}

void draw_cell(sheet* cells, int index, float x, float y, bool flipped) {
    if (index < 0 || index >= cells->count) return;
    const int row = index / cells->columns;
    int left = index % cells->columns * cells->cell_width;
    if (flipped) left = cells->image.width - left - cells->cell_width;
    Copy(flipped ? Flipped(&cells->image) : cells->image.bitmap, x, y, left,
         row * cells->cell_height, cells->cell_width, cells->cell_height);
}

alignment TextAlignment(void) {
    return aligned;
}
