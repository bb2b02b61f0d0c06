#pragma once
// Plain ASCII text set from pairs of characters that HarfBuzz has set before: the same glyphs at
// the same places, many times faster. Only for faces whose rules allow it.

#include <string_view>

#include "desktop/pango/shaping.h"

namespace moxi {

// Sets a text. False when it has a character or pair that is not known; `shaped` is then undefined.
bool SetByPairs(const TextFont& font, std::string_view text, SimpleScript script,
                ShapedText& shaped);

// The width of a text without joined pairs. False as above.
bool MeasureByPairs(const TextFont& font, std::string_view text, SimpleScript script, i64& width);

// Takes the pairs of a text from what HarfBuzz made of it.
void LearnPairs(const TextFont& font, std::string_view text, SimpleScript script,
                const ShapedText& shaped);

}  // namespace moxi
