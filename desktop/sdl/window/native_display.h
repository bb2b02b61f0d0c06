#pragma once
// What SDL does not tell of the connection to the display server. The header includes none of ours,
// because its source includes those of X, which have names and macros of their own for everything.

#include <SDL_video.h>

#include "base/types.h"

namespace moxi {

// Called on whichever thread meets the loss, from deep inside of the libraries: they may only note
// it.
struct DisplayLossHandlers {
    void (*windowLost)();
    void (*connectionLost)();
};

// From now on a failed request does not end the process. SDL has to find this handler when it
// starts, because it puts the one that it found back before it closes its connections, and only
// then the last errors come in, of wake-ups that it sent to a window that was just destroyed.
void TakeX11Errors();

// From here on the loss of this window, or of its connection, is told to the handlers. Nothing on
// other desktops.
void HandleX11Errors(SDL_Window* window, const DisplayLossHandlers& handlers);

enum class ServerWait {
    Unknown,  // another desktop, or none
    Silent,   // nothing has come
    Spoken,   // something is there to be read
};

// Waits until the X server says something, at most so long. Reads nothing.
ServerWait WaitForX11(u64 nanoseconds);

// Asks the X server where the window's content is; windowLost is called when it does not exist. SDL
// believes what it asked for itself where a window manager refuses. False on other desktops, and
// when there is no answer.
bool AskX11ForWindow(SDL_Window* window, SDL_Rect& content);

// The X server's number of the window; 0 on other desktops.
unsigned long XWindow(SDL_Window* window);

// Mends a title that SDL has set: SDL gives the older of the two title properties the locale's own
// encoding, which other programs do not understand.
void NameX11Window(SDL_Window* window, const char* utf8);

// Keeps this window's connection to the Wayland compositor in mind. Nothing on other desktops.
void WatchWaylandConnection(SDL_Window* window);
// Whether that one is broken; false on other desktops. Any thread, until SDL ends.
bool WaylandConnectionIsBroken();

}  // namespace moxi
