#pragma once
// Simple text, which one font sets in one run from left to right. It is shaped by HarfBuzz alone,
// with the same result as a Pango layout in a fraction of the time.

#include <string_view>

#include "desktop/pango/shaping.h"

namespace moxi {

// The one script of a text; Common when no character has a script of its own, None when the text is
// not simple in this font.
SimpleScript ScriptOfText(const TextFont& font, std::string_view text);

// The width of a simple text in 1/1024 pixel. `script`, here and below, is what ScriptOfText gives.
i64 SimpleWidth(const TextFont& font, std::string_view text, SimpleScript script);

// Shapes the beginning of a simple text that is needed to fill `columns` pixels, or all of it.
// Valid until the next call of a function of this file.
const ShapedText& ShapeStart(const TextFont& font, std::string_view text, SimpleScript script,
                             i32 columns);

// Gives the width, in 1/1024 pixel, of a text in several scripts, of which each stretch is simple.
// False, and `width` is of no use, when a character is not simple or has no script of its own.
bool MeasureRuns(const TextFont& font, std::string_view text, i64& width);

// The byte at which the first character starts with which a simple text is wider than `width`, in
// pixels; npos when there is none.
std::size_t FindSimpleOverflow(const TextFont& font, std::string_view text, SimpleScript script,
                               double width);

// Forgets the texts that were shaped last. For tests.
void ResetSimpleText();

}  // namespace moxi
