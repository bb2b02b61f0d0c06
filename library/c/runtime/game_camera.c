// The camera of a game.

#include "game.h"

static float atX, atY, boundWidth, boundHeight;
static float shakePixels, shakeSeconds, shakeLeft;
static float seenX, seenY;  // of the picture that is being drawn
static int drawnX, drawnY;  // the same for what is drawn next

static int Rounded(float number) {
    return (int)__builtin_floorf(number + 0.5f);
}

static float Limited(float at, float world, float shown) {
    if (world <= 0) return at;
    if (at > world - shown) at = world - shown;
    return at < 0 ? 0 : at;
}

static void KeepWithinBounds(void) {
    atX = Limited(atX, boundWidth, (float)game_width());
    atY = Limited(atY, boundHeight, (float)game_height());
}

void camera_at(float x, float y) {
    atX = x;
    atY = y;
    KeepWithinBounds();
    CameraOn();
}

void camera_follow(float x, float y, float part) {
    atX += (x - (float)game_width() / 2 - atX) * part;
    atY += (y - (float)game_height() / 2 - atY) * part;
    KeepWithinBounds();
}

void camera_bounds(float width, float height) {
    boundWidth = width;
    boundHeight = height;
    KeepWithinBounds();
}

void camera_shake(float pixels, float seconds) {
    shakePixels = pixels;
    shakeSeconds = shakeLeft = seconds;
}

float camera_x(void) {
    return atX;
}
float camera_y(void) {
    return atY;
}

void camera_off(void) {
    drawnX = drawnY = 0;
}

void camera_part(float part) {
    drawnX = Rounded(seenX * part);
    drawnY = Rounded(seenY * part);
}

void UpdateCamera(void) {
    shakeLeft = shakeLeft > GAME_STEP ? shakeLeft - GAME_STEP : 0;
}

void CameraOn(void) {
    const float shake = shakeLeft > 0 ? shakePixels * shakeLeft / shakeSeconds : 0;
    seenX = atX + (shake > 0 ? random_float(-shake, shake) : 0);
    seenY = atY + (shake > 0 ? random_float(-shake, shake) : 0);
    camera_part(1);
}

int OnCanvasX(float x) {
    return Rounded(x) - drawnX;
}
int OnCanvasY(float y) {
    return Rounded(y) - drawnY;
}
