#pragma once
// Text that one font sets in one run from left to right: shaped by HarfBuzz alone, with the same
// result as a Pango layout in a fraction of its time.

#include <string_view>

#include "desktop/pango/shaping.h"

namespace moxi {

// The script that the whole text has, Common when no character has one of its own, None when the
// text is not simple in this font.
SimpleScript ScriptOfText(const TextFont& font, std::string_view text);

i64 SimpleWidth(const TextFont& font, std::string_view text, SimpleScript script);

// The text shaped as far as it is needed to fill `columns` pixels, or all of it. Valid until the
// next call of a function of this file.
const ShapedText& ShapeStart(const TextFont& font, std::string_view text, SimpleScript script,
                             i32 columns);

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
