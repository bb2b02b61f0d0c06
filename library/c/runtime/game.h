// What the parts of moxi/game.h share.
#ifndef MOXI_RUNTIME_GAME_H
#define MOXI_RUNTIME_GAME_H

#include "moxi/game.h"

// --- game_canvas.c

// What is drawn on: the screen, or a bitmap of the size that the game has chosen.
extern moxi_bitmap gameCanvas;
// Shows in the view what was drawn.
void Present(void);
// Turns a place of the view into that of the canvas below it.
void ToCanvas(int* x, int* y);
// The window's size has changed.
void SetViewSize(int width, int height);

// --- game_draw.c

// Begins a picture: plain text, and the camera is on.
void BeginDrawing(void);
void FreePicture(picture* image);
alignment TextAlignment(void);

// --- game_time.c: one update's worth of tweens and timers

void UpdateTweens(void);
void UpdateTimers(void);

// --- game_specks.c

void UpdateSpecks(void);

// --- game_camera.c

void UpdateCamera(void);
void CameraOn(void);
// A place of the world on the canvas, in whole pixels.
int OnCanvasX(float x);
int OnCanvasY(float y);

// --- game_sound.c: the piece of music has ended

void MusicDone(void);

#endif
