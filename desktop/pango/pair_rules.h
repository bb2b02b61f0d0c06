#pragma once
// What a font does to neighbouring characters of plain ASCII text. Where it only moves each glyph
// by what stands next to it, a text can be put together from pairs that were seen before.

#include <hb.h>

#include "base/types.h"

namespace moxi {

constexpr u32 kFirstPlain = ' ';
constexpr u32 kPlainCharacters = '~' - ' ' + 1;

struct PairRules {
    // False when glyphs can depend on more than the next one; then nothing else here counts.
    bool usable;
    u32 glyphs[kPlainCharacters];
    // Two characters that may become other glyphs when they stand side by side.
    bool joined[kPlainCharacters][kPlainCharacters];
};

constexpr i32 kUnknownPair = 0x7FFFFFFF;

// What a font at its size does to pairs: how far the second one moves towards the first.
struct PairTable {
    const PairRules* rules;
    i32 advances[kPlainCharacters];
    i32 kerning[kPlainCharacters][kPlainCharacters];  // kUnknownPair until seen
};

// Reads the rules of a face for a script and language, as HarfBuzz applies them unasked.
PairRules ReadPairRules(hb_face_t* face, hb_script_t script, hb_language_t language);

}  // namespace moxi
