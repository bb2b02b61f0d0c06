#pragma once
// The end of the display under a running game: the X server or the compositor is gone, or another
// program has cut the connection or destroyed the window. The libraries would end the process on
// the spot; here it is noted, and the run loop ends the program in order.

#include <SDL_video.h>

#include "base/types.h"

namespace moxi {

enum class Loss {
    None,
    Window,      // destroyed by another program; the display is still there
    Connection,  // nothing can be shown any more
};

// Main thread, inside: from here on losses of this window's display are noted.
void WatchDisplay(SDL_Window* window);

// From now on the process ends where the loss of the connection is met: all that it still does is
// to give back what it has of the display, and the libraries would wait for the display's answers
// for ever.
void LetLossEndProcess();

Loss DisplayLoss();     // any thread
u64 DisplayLossTime();  // nanoseconds; when it was noted

// Asks the X server for the window, which notes its loss. Otherwise an idle game, which asks for
// nothing, would not notice. Main thread, inside.
void LookWhetherWindowExists();

// Notes a loss when the connection to a Wayland compositor is broken, and tells whether it is. Any
// thread.
bool NoteLostWayland();

}  // namespace moxi
