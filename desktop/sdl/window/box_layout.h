#pragma once
// Size and drawing of the modal boxes.

#include <pango/pangocairo.h>

#include <string>
#include <vector>

#include "base/types.h"
#include "desktop/sdl/window/geometry.h"

namespace moxi {

// In units, each of `scale` pixels.
struct BoxLayout {
    double scale = 1;
    i32 width = 0;
    i32 height = 0;
    ScreenArea sign;                  // the warning sign
    ScreenArea message;               // the text
    std::vector<ScreenArea> buttons;  // in the order of the texts
    double fontSize = 0;
};

// A box for the texts that fits into `widest` x `highest` pixels, the font shrunk where it must.
BoxLayout LayOutBox(const std::string& message, const std::vector<std::string>& buttons, i32 widest,
                    i32 highest, double scale);

// Draws the box on the whole of `surface`. `focus` is the index of the button that the keyboard
// presses, `pressed` that of one that is held down, -1 for none.
void DrawBox(cairo_surface_t* surface, const BoxLayout& layout, const std::string& message,
             const std::vector<std::string>& buttons, int focus, int pressed);

// Draws the edge of a box that has no title bar around it.
void DrawFrame(cairo_surface_t* surface);

// Index of the button at the pixel, -1 for none.
int ButtonAt(const BoxLayout& layout, i32 x, i32 y);

}  // namespace moxi
