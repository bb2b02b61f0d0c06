#pragma once
// Size and drawing of the modal boxes.

#include <pango/pangocairo.h>

#include <string>
#include <vector>

#include "base/types.h"
#include "desktop/sdl/geometry.h"

struct BoxLayout {
    i32 width = 0;
    i32 height = 0;
    Area sign;                  // the warning sign
    Area message;               // the text
    std::vector<Area> buttons;  // in the order of the texts
    double fontSize = 0;        // in pixels
};

// A box for the texts that fits into `widest` x `highest`, the font shrunk where it must.
BoxLayout LayOutBox(const std::string& message, const std::vector<std::string>& buttons, i32 widest,
                    i32 highest);

// Draws the box on the whole of `surface`. `pressed` is the index of a button that is held down,
// -1 for none.
void DrawBox(cairo_surface_t* surface, const BoxLayout& layout, const std::string& message,
             const std::vector<std::string>& buttons, int pressed);

// Index of the button at the point, -1 for none.
int ButtonAt(const BoxLayout& layout, i32 x, i32 y);
