#pragma once
// What other programs do on an X server: other clients, and window managers with a will of their
// own. All on the server that DISPLAY names.

#include <sys/types.h>

// Destroys a window of another program.
void DestroyX11Window(unsigned long window);

// Paints a rectangle of a window of another program, 0xRRGGBB.
void PaintX11Window(unsigned long window, int x, int y, int width, int height, unsigned colour);

// The pixel of a window as 0xRRGGBB.
unsigned X11Pixel(unsigned long window, int x, int y);

// A window manager without decorations that lets no window be larger than this; with 0 it lets no
// window be moved or sized at all. A process of its own that has taken over when this returns; -1
// when there is another manager.
pid_t StartStrictManager(int largestWidth, int largestHeight);
