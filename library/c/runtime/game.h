// What the parts of moxi/game.h share.
#ifndef MOXI_RUNTIME_GAME_H
#define MOXI_RUNTIME_GAME_H

#include "moxi/game.h"

// --- game_draw.c

// Begins a picture: where it goes, and the camera is on.
void BeginDrawing(void);
// Shows what was drawn, in a view of this size.
void Present(int width, int height);
// A place of the view in places of the canvas.
void ToCanvas(int* x, int* y);
// The window's size has changed.
void SetViewSize(int width, int height);
void FreePicture(picture* image);
alignment TextAlignment(void);

// --- game_time.c: one update's worth of tweens and timers

void UpdateTweens(void);
void UpdateTimers(void);

// --- game_camera.c

void UpdateCamera(void);
void CameraOn(void);
// A place of the world on the canvas, in whole pixels.
int OnCanvasX(float x);
int OnCanvasY(float y);

// --- game_sound.c: the piece of music has ended

void MusicDone(void);

#endif
