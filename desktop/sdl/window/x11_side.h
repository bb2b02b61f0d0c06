#pragma once
// A connection of our own to the X server, for what SDL does not ask: the keyboard layouts, the
// keys that are down, and large texts on the clipboard. And a look at the X events before SDL makes
// events of its own of them. No X headers here, which have names and macros for everything.

#include <SDL_events.h>

#include <array>
#include <string>

#include "base/types.h"

namespace moxi {

// Main thread, once SDL has started, on X11 only: connects and begins to look. Events that wait in
// SDL's queue are lost.
void StartX11Side();
void StopX11Side();

// The window manager has told of borders since this was last asked.
bool X11BordersMayDiffer();
// Where the window is, as of one moment: x, y, width, height.
struct X11Placement {
    std::array<i32, 4> content;
    std::array<i32, 4> frame;    // of the window manager's window around it
    std::array<i32, 4> borders;  // left, right, top, bottom, as the window manager tells them
};
// Asks the X server, since SDL learns of the borders later than of the size. False where the window
// manager tells of none.
bool AskX11ForPlacement(unsigned long window, X11Placement& placement);

// The value of a resource of the server, such as "Xft.dpi"; "" for none.
std::string X11Resource(const std::string& name);

// What an X key press said and SDL does not tell.
struct X11KeyPress {
    bool known = false;       // else the press did not come from a key of the keyboard
    u32 group = 0;            // the layout that was active
    bool heldBefore = false;  // the key was down before the window got the keyboard: a repetition
};
X11KeyPress X11KeyPressOf(const SDL_KeyboardEvent& event);

}  // namespace moxi
