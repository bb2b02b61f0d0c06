#pragma once
// What the window shows: redraw requests, and the pixels that were drawn last. On X11 these are the
// window's own surface, of which only changed rectangles go to the server. Wayland has no such
// thing; there a texture keeps them, and all of it is shown each time.

#include <SDL_video.h>

#include "desktop/desktop.h"

namespace moxi {

// Prepares showing pixels in `window`, which must outlive it, in a view of this size. False when
// there is no way to.
bool StartView(SDL_Window* window, ViewSize size);
void StopView();

void RequestRedraw(ViewRect rect);
void RequestWholeRedraw();
// The view has this size from now on, and is to be drawn anew.
void ResizeView(ViewSize size);
bool RedrawIsWaiting();
// Has the application draw what was requested, and shows it; false when nothing waits.
bool ServeRedraw();
void PresentView(ViewPixels view, ViewRect rect);
// Shows once more what was drawn last.
void ShowView();
// The same, on a thread that has the gate and is not the main thread, where that is possible.
void ShowViewFromOtherThread();
// Shows what PresentView brought since the last time, if anything.
void ShowNewPixels();
// The graphics device has lost its textures.
void ForgetTexture();

}  // namespace moxi
