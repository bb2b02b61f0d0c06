#pragma once
// Plain ASCII text set from pairs of characters that HarfBuzz has set before: the same glyphs at
// the same places, many times faster. Only for faces whose rules allow it.

#include <string_view>

#include "desktop/pango/pair_rules.h"
#include "desktop/pango/simple_text.h"

namespace moxi {

// What a font at its size does to pairs: how far the second one moves towards the first.
struct PairTable {
    const PairRules* rules;
    i32 advances[kPlainCharacters];
    i32 kerning[kPlainCharacters][kPlainCharacters];  // kUnknownPair until seen
};

// Sets a text. False when it has a character or pair that is not known; `shaped` is then undefined.
bool SetByPairs(const TextFont& font, std::string_view text, SimpleScript script,
                ShapedText& shaped);

// The width of a text without joined pairs. False as above.
bool MeasureByPairs(const TextFont& font, std::string_view text, SimpleScript script, i64& width);

// Takes the pairs of a text from what HarfBuzz made of it.
void LearnPairs(const TextFont& font, std::string_view text, SimpleScript script,
                const ShapedText& shaped);

}  // namespace moxi
