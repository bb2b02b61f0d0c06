#pragma once
// Text that one font sets in one run from left to right: shaped by HarfBuzz alone, with the same
// result as a Pango layout in a fraction of its time.

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

// The script that the whole text has, Common when no character has one of its own, None when the
// text is not simple in this font.
SimpleScript ScriptOfText(const TextFont& font, std::string_view text);

i64 SimpleWidth(const TextFont& font, std::string_view text, SimpleScript script);

// The text shaped as far as it is needed to fill `columns` pixels, or all of it. Valid until the
// next call of a function of this file.
const ShapedText& ShapeStart(const TextFont& font, std::string_view text, SimpleScript script,
                             i32 columns);

// Shapes text[from, to), seen as the end of a text; clusters count from the text's start.
void ShapePart(const TextFont& font, std::string_view text, std::size_t from, std::size_t to,
               SimpleScript script, ShapedText& shaped);

// The width of a text whose characters all have a script of their own, though not all the same:
// a run for each. False when the text is another.
bool MeasureRuns(const TextFont& font, std::string_view text, i64& width);

// The byte at which the first character starts with which the text is wider than `width`; npos when
// there is none.
std::size_t FindSimpleOverflow(const TextFont& font, std::string_view text, SimpleScript script,
                               double width);

// Forgets what was shaped last.
void ResetSimpleText();

}  // namespace moxi
