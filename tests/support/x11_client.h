#pragma once
// What other programs do on an X server: other clients, and window managers with a will of their
// own. All on the server that DISPLAY names.

#include <sys/types.h>

#include <vector>

namespace moxi {

// Destroys a window of another program.
void DestroyX11Window(unsigned long window);

// Paints a rectangle of a window of another program, 0xRRGGBB.
void PaintX11Window(unsigned long window, int x, int y, int width, int height, unsigned colour);

// The pixel of a window as 0xRRGGBB.
unsigned X11Pixel(unsigned long window, int x, int y);

// How many of a window's pixels have another colour than 0xRRGGBB.
long OtherX11Pixels(unsigned long window, int width, int height, unsigned colour);

// Presses and releases a key, as from the keyboard; X's number of the key. False without XTEST.
bool PressX11Key(unsigned code);

// Presses the keys one after the other and releases them in the opposite order. Unlike xdotool it
// leaves the keyboard layout as it is.
bool PressX11Keys(const std::vector<unsigned>& codes);

// The layout that is active from now on, an index of those that setxkbmap has set.
void UseX11Layout(unsigned layout);

// Maximises a window of another program, or takes that back, as a click of the user would.
void MaximizeX11Window(unsigned long window, bool maximized);

// Asks a window to close, as the window manager does for its button.
void CloseX11Window(unsigned long window);

// Presses a key and gives the nanoseconds until the window's pixel has another colour than this on
// the screen; -1 when it has not within two seconds.
long KeyToPixel(unsigned long window, unsigned code, int x, int y, unsigned colour);

// A window manager without decorations that lets no window be larger than this; with 0 it lets no
// window be moved or sized at all. A process of its own that has taken over when this returns; -1
// when there is another manager.
pid_t StartStrictManager(int largestWidth, int largestHeight);

}  // namespace moxi
