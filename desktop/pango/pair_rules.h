#pragma once
// What a font does to neighbouring characters of plain ASCII text, from space to tilde. Where it
// only moves each glyph by what stands next to it, a text can be put together from pairs of
// characters that were seen before.

#include <hb.h>

#include "base/types.h"

namespace moxi {

constexpr u32 kFirstPlain = ' ';
constexpr u32 kPlainCharacters = '~' - ' ' + 1;

struct PairRules {
    // False when glyphs can depend on more than the next one; then nothing else here counts.
    bool usable;
    u32 glyphs[kPlainCharacters];  // the glyph of each character
    // Two characters that may become other glyphs when they stand side by side.
    bool joined[kPlainCharacters][kPlainCharacters];
};

constexpr i32 kUnknownPair = 0x7FFFFFFF;

// What a font at one size does to pairs, in 1/1024 pixel: the advance of each character, and what
// is added to it when another one follows.
struct PairTable {
    const PairRules* rules;
    i32 advances[kPlainCharacters];
    i32 kerning[kPlainCharacters][kPlainCharacters];  // kUnknownPair until the pair was seen
};

// Reads the rules of a face for a script and language: those that HarfBuzz applies when no features
// are asked for. Damaged font tables give rules that are not usable.
PairRules ReadPairRules(hb_face_t* face, hb_script_t script, hb_language_t language);

}  // namespace moxi
