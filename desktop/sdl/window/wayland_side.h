#pragma once
// What SDL does not do on a Wayland compositor: the keyboard layouts, and a picture laid over the
// game's window. It goes over SDL's own connection, with a queue of events beside SDL's.

#include <SDL_video.h>

#include "base/types.h"

namespace moxi {

// Main thread, on Wayland only. The window is the one whose connection is used.
void StartWaylandSide(SDL_Window* window);
void StopWaylandSide();
// Takes the events that have come for this side and would pile up otherwise. Called whenever a key
// is released.
void TakeWaylandEvents();

// A picture over a part of a window, which goes on getting the keyboard and the pointer there.
struct WaylandOverlay;

// The place is the picture's top-left corner in the window, which may lie outside. Null where the
// compositor cannot do it.
WaylandOverlay* OpenOverlay(SDL_Window* window, i32 x, i32 y);
void MoveOverlay(WaylandOverlay* overlay, i32 x, i32 y);
// Shows the picture: x, R, G, B in words from the top byte down, rows top first and without gaps.
void ShowOverlay(WaylandOverlay* overlay, const u8* pixels, i32 width, i32 height);
void CloseOverlay(WaylandOverlay* overlay);

}  // namespace moxi
