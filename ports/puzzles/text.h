// Text as masks of coverage. The text service draws a text once, on black; what it left is kept and
// drawn from then on by our own code, in any colour and on any ground, also on half a pixel of a
// shape. Sizes are those of the letters' em square in pixels.
#ifndef PUZZLES_TEXT_H
#define PUZZLES_TEXT_H

#include "pixels.h"

typedef enum { kSans, kSansBold, kSansItalic, kMono, kMonoBold, kFonts } font;

// How wide a text is; 0 for sizes that nobody could read.
int TextWidth(font face, int size, const char* text);
// How high capitals and digits are.
int CapHeight(font face, int size);
// Draws a text whose letters stand on `baseline`, from x to the right.
void DrawTextAt(surface* target, font face, int size, int x, int baseline, moxi_colour colour,
                const char* text);
// How many bytes of a text, whole characters, are at most so wide.
int FittingBytes(font face, int size, const char* text, int width);
// A text in a box, its capitals in the box's middle; one that is too wide ends with an ellipsis.
// where: -1 left, 0 centred, 1 right.
void DrawTextIn(surface* target, font face, int size, box area, int where, moxi_colour colour,
                const char* text);

#endif
