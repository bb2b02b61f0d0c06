#pragma once
// What the window shows: redraw requests, and the pixels that were drawn last. On X11 these are the
// window's own surface, of which only changed rectangles go to the server. Wayland has no such
// thing; there a texture keeps them, and all of it is shown each time. A view that is enlarged is a
// texture on X11, too, where a graphics processor does the work.

#include <SDL_video.h>

#include "desktop/desktop.h"
#include "desktop/sdl/window/points.h"

namespace moxi {

// Prepares showing pixels in `window`, which must outlive it, in a view of this size. It may give
// the window another native one. False when there is no way to.
bool StartView(SDL_Window* window, ViewSize size);
void StopView();

void RequestRedraw(ViewRect rect);
void RequestWholeRedraw();
// The view has this size from now on, and is to be drawn anew.
void ResizeView(ViewSize size);
// How the view is shown from now on; drawn anew, too. May come before StartView.
void FitView(Fitting fitting, i32 steps, bool smooth);

// Between the window's points as SDL tells them and the view's pixels. A position outside of the
// view is its nearest one, where that is wished for.
Point ViewPoint(Point inWindow, bool nearest);
Point WindowPoint(Point inView);
bool IsOnView(i32 x, i32 y);
bool RedrawIsWaiting();
// Has the application draw what was requested, and shows it; false when nothing waits.
bool ServeRedraw();
void PresentView(ViewPixels view, ViewRect rect);
// The host's own surface in the view's place, until it is hidden.
void PresentSurface(const u8* pixels, ViewSize size);
void HideSurface();
// The window's content in the screen's own pixels.
ViewSize WindowPixels();
// Shows once more what was drawn last.
void ShowView();
// The same, on a thread that has the gate and is not the main thread, where that is possible.
void ShowViewFromOtherThread();
// Shows what PresentView brought since the last time, if anything.
void ShowNewPixels();
// The graphics device has lost its textures.
void ForgetTexture();

}  // namespace moxi
