#pragma once
// What the window shows: redraw requests, and the texture that the drawn pixels are kept in.

#include <SDL_video.h>

#include "desktop/desktop.h"

// Makes the renderer of `window`, which must outlive it. False when there is none to be had.
bool StartView(SDL_Window* window);
void StopView();

void RequestRedraw(ViewRect rect);
void RequestWholeRedraw();
bool RedrawIsWaiting();
// Has the application draw what was requested, and shows it; false when nothing waits.
bool ServeRedraw();
void PresentView(ViewPixels view, ViewRect rect);
// Shows once more what was drawn last.
void ShowView();
// Shows what PresentView brought since the last time, if anything.
void ShowNewPixels();
// The graphics device has lost its textures.
void ForgetTexture();
