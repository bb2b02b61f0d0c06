#pragma once
// A font file with one glyph of two colours, byte by byte.

#include <string>

namespace moxi {

// A TrueType font of the family "Two Colours". Its one picture stands for U+2605 and U+1FAE0: a
// square as wide and as high as the font's size, on the baseline, white with a black left half.
std::string ColourFont();

}  // namespace moxi
