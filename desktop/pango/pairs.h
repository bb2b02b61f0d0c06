#pragma once
// Sets plain ASCII text from pairs of characters that HarfBuzz has set before: the same glyphs at
// the same places, many times faster. Only works with faces whose rules allow it.

#include <string_view>

#include "desktop/pango/shaping.h"

namespace moxi {

// Sets a text. False when the face's rules do not allow it, or the text has a character or pair
// that is not known; what `shaped` holds is then of no use.
bool SetByPairs(const TextFont& font, std::string_view text, SimpleScript script,
                ShapedText& shaped);

// Gives the width of a text in 1/1024 pixel. False as above, and when the text has a joined pair;
// `width` is then of no use.
bool MeasureByPairs(const TextFont& font, std::string_view text, SimpleScript script, i64& width);

// Takes the pairs of a text from `shaped`, which HarfBuzz made of all of it.
void LearnPairs(const TextFont& font, std::string_view text, SimpleScript script,
                const ShapedText& shaped);

}  // namespace moxi
