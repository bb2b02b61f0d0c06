#pragma once
// HarfBuzz, asked for one run of text from left to right.

#include <string_view>
#include <vector>

#include "desktop/pango/text_font.h"

namespace moxi {

// A shaped glyph; lengths in 1/1024 pixel from the start of the text.
struct ShapedGlyph {
    u32 glyph;
    u32 cluster;  // byte at which its characters start; never decreasing
    i64 x;        // where it is drawn
    i64 before;   // advances of all glyphs before it
    i32 y;        // downward
    bool unsafe;  // text cut before it would be shaped otherwise
};

struct ShapedText {
    std::vector<ShapedGlyph> glyphs;
    i64 width = 0;
};

// Shapes text[from, to), seen as the end of a text; clusters count from the text's start.
void ShapePart(const TextFont& font, std::string_view text, std::size_t from, std::size_t to,
               SimpleScript script, ShapedText& shaped);

// The width of the same alone.
i64 PartWidth(const TextFont& font, std::string_view text, std::size_t from, std::size_t to,
              SimpleScript script);

// Gives back what shaping keeps. For tests.
void ResetShaping();

}  // namespace moxi
