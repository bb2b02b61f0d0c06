#pragma once
// A picture that surfaces are drawn on: boxes, texts and other pictures, with smooth edges. All
// lengths are pixels; parts outside the picture, or outside its clip, are left out.

#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

struct Box {
    double x = 0;
    double y = 0;  // downwards
    double width = 0;
    double height = 0;
};

bool Contains(const Box& box, double x, double y);
// The box without this much at each side.
Box Inset(const Box& box, double by);

struct Colour {
    u8 red = 0;
    u8 green = 0;
    u8 blue = 0;
    double alpha = 1;
};

// R, G, B, A a pixel, not premultiplied; rows top first.
struct RgbaPicture {
    i32 width = 0;
    i32 height = 0;
    std::vector<u8> pixels;
};

struct Canvas {
    i32 width = 0;
    i32 height = 0;
    std::vector<u8> pixels;  // R, G, B, unused; rows top first
    Box clip;
};

// An empty canvas of this size, black, with all of it in its clip.
void ResizeCanvas(Canvas& canvas, i32 width, i32 height);

void FillBox(Canvas& canvas, const Box& box, Colour colour);
// With round corners; a radius of half the height gives round ends.
void FillRoundBox(Canvas& canvas, const Box& box, double radius, Colour colour);
// The border of such a box, drawn inside it.
void DrawRoundBorder(Canvas& canvas, const Box& box, double radius, double thickness,
                     Colour colour);
// The picture scaled into the box, smoothly.
void DrawPicture(Canvas& canvas, const Box& box, const RgbaPicture& picture);
// Darkens every pixel: 0 leaves it as it is, 1 makes it black.
void Darken(Canvas& canvas, double by);

struct TextLook {
    double size = 16;
    bool bold = false;
};

double TextWidth(const TextLook& look, std::string_view text);
// The text as one line with its baseline at `y`, cut with "..." where it is wider than `width`.
// Bytes that are no UTF-8 are shown as the replacement character.
void PaintText(Canvas& canvas, double x, double y, double width, const TextLook& look,
               std::string_view text, Colour colour);
// The text in lines of this width, broken at blanks, or anywhere where there is none.
std::vector<std::string> WrapText(const TextLook& look, std::string_view text, double width);

}  // namespace moxi
