#pragma once
// Asks HarfBuzz to shape one run of text from left to right: to choose its glyphs and their places.

#include <string_view>
#include <vector>

#include "desktop/pango/text_font.h"

namespace moxi {

// A shaped glyph; lengths in 1/1024 pixel from the start of the text.
struct ShapedGlyph {
    u32 glyph;
    u32 cluster;  // byte at which its characters start; never decreases from glyph to glyph
    i64 x;        // where it is drawn
    i64 before;   // the sum of the advances of all glyphs before it
    i32 y;        // where it is drawn, downward from the baseline
    bool unsafe;  // the text, if it were cut before this glyph, would be shaped otherwise
};

struct ShapedText {
    std::vector<ShapedGlyph> glyphs;
    i64 width = 0;  // the sum of all advances, in 1/1024 pixel
};

// Shapes text[from, to) as if the text ended there; what stands before `from` is seen. Clusters
// count from the text's start, lengths from `from`. The script must not be None.
void ShapePart(const TextFont& font, std::string_view text, std::size_t from, std::size_t to,
               SimpleScript script, ShapedText& shaped);

// Only the width of the same, in 1/1024 pixel.
i64 PartWidth(const TextFont& font, std::string_view text, std::size_t from, std::size_t to,
              SimpleScript script);

// Releases the memory that shaping keeps. For tests.
void ResetShaping();

}  // namespace moxi
