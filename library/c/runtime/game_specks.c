// Specks of a game, and pictures far behind it.

#include <math.h>
#include <string.h>

#include "game.h"

enum { kSpecks = 256 };

static struct {
    speck one;
    float left;  // seconds; 0: free
} specks[kSpecks];
static unsigned next;

// The oldest gives way.
void add_speck(speck one) {
    specks[next % kSpecks].one = one;
    specks[next++ % kSpecks].left = one.seconds;
}

void burst(float x, float y, int count, float speed, colour fill) {
    for (int i = 0; i < count; ++i) {
        const float turn = random_float(0, 6.2831853f), way = random_float(0.4f * speed, speed);
        add_speck((speck){.x = x,
                          .y = y,
                          .speed_x = cosf(turn) * way,
                          .speed_y = sinf(turn) * way,
                          .fall = 180,
                          .size = 2,
                          .seconds = random_float(0.25f, 0.5f),
                          .fill = fill});
    }
}

void clear_specks(void) {
    memset(specks, 0, sizeof specks);
}

void UpdateSpecks(void) {
    for (int i = 0; i < kSpecks; ++i) {
        speck* const one = &specks[i].one;
        if (specks[i].left <= 0) continue;
        specks[i].left -= GAME_STEP;
        one->speed_y += one->fall * GAME_STEP;
        one->x += one->speed_x * GAME_STEP;
        one->y += one->speed_y * GAME_STEP;
        one->size += one->growth * GAME_STEP;
    }
}

void draw_specks(void) {
    for (int i = 0; i < kSpecks; ++i) {
        const speck* const one = &specks[i].one;
        if (specks[i].left <= 0) continue;
        const float part = specks[i].left / one->seconds;
        if (one->round) {
            const float alpha = part * (float)(one->fill >> 24) / 255;
            draw_disc(one->x, one->y, one->size, faded(one->fill, alpha));
        } else {
            const float size = __builtin_ceilf(one->size * part);
            draw_box(one->x - size / 2, one->y - size / 2, size, size, one->fill);
        }
    }
}

// Around a width, whatever the sign.
static float Wrapped(float number, float width) {
    return number - __builtin_floorf(number / width) * width;
}

void draw_far(picture* image, float part, float drift, float y) {
    if (image->width < 1) return;
    const float width = (float)image->width;
    const float start = -__builtin_floorf(Wrapped(camera_x() * part + drift, width));
    camera_off();
    for (float x = start; x < (float)game_width(); x += width) draw_picture(image, x, y);
    camera_part(1);
}
