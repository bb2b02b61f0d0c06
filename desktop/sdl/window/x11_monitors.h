#pragma once
// The monitors as the X server has them just now. SDL 2.26 learns of monitors that come and go, but
// not of one that gets another size, and has no way to ask.

#include <SDL_video.h>

#include <vector>

#include "base/types.h"

namespace moxi {

// Xlib has a Screen of its own, so this header stays clear of desktop.h.
struct Monitor {
    i32 x = 0;
    i32 y = 0;
    i32 width = 0;
    i32 height = 0;
};

// The primary monitor first. Empty where there is no X server behind `window`, where it does not
// tell, or while all monitors are off.
std::vector<Monitor> X11Monitors(SDL_Window* window);

}  // namespace moxi
