// The camera of a game.

#include "game.h"

static float atX, atY, boundWidth, boundHeight;
static float shakePixels, shakeSeconds, shakeLeft;
static int drawnX, drawnY;  // of the picture that is being drawn

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

void UpdateCamera(void) {
    shakeLeft = shakeLeft > GAME_STEP ? shakeLeft - GAME_STEP : 0;
}

static int Rounded(float number) {
    return (int)__builtin_floorf(number + 0.5f);
}

void CameraOn(void) {
    drawnX = Rounded(atX);
    drawnY = Rounded(atY);
    if (shakeLeft <= 0) return;
    const float shake = shakePixels * shakeLeft / shakeSeconds;
    drawnX = Rounded(atX + random_float(-shake, shake));
    drawnY = Rounded(atY + random_float(-shake, shake));
}

int OnCanvasX(float x) {
    return Rounded(x) - drawnX;
}
int OnCanvasY(float y) {
    return Rounded(y) - drawnY;
}
