#pragma once
// Finds the fonts of this desktop that stand in for Helvetica, Times and Courier. Looking one up
// asks fontconfig, which is slow, so each of the twelve styles is looked up once, at its first use.

#include <cairo.h>
#include <hb.h>
#include <pango/pangocairo.h>

#include "desktop/pango/pair_rules.h"
#include "desktop/text_engine.h"

namespace moxi {

// The scripts whose text needs only one font and one direction. Common are the characters without a
// script of their own (digits, punctuation), which go with any of them.
enum class SimpleScript : u8 { Common, Latin, Greek, Cyrillic, None };
constexpr u32 kSimpleScripts = 4;
constexpr u32 kPairScripts = 2;  // those of plain ASCII text: Common and Latin

// Code points that can be simple: below kSimpleLimit, dashes and quotes, the euro sign.
constexpr u32 kSimpleLimit = 0x500;
constexpr u32 kPunctuationStart = 0x2010;
constexpr u32 kPunctuationEnd = 0x2028;
constexpr u32 kEuroSign = 0x20AC;

struct ScriptSettings {
    bool simple;  // Pango would set the script in this face
    hb_script_t script;
    hb_language_t language;
};

struct Typeface {
    PangoFontDescription* description;  // family and style; the size is added by each font
    // Null when this face cannot be used without Pango (none installed, variable, slanted or
    // thickened by fontconfig); then all of its text is set by Pango.
    cairo_font_face_t* cairoFace;
    hb_face_t* hbFace;
    ScriptSettings scripts[kSimpleScripts];
    // The script of each code point that can be simple; None when it is not simple in this face.
    SimpleScript characters[kSimpleLimit];
    SimpleScript punctuation[kPunctuationEnd - kPunctuationStart];
    SimpleScript euro;
    PairRules pairs[kPairScripts];
    bool wholeAscii;  // every printable ASCII character is simple
};

// The context that every measuring and drawing goes through: no hinting, grey antialiasing,
// fractional positions, one point a pixel.
PangoContext* TextContext();
const cairo_font_options_t* TextFontOptions();

// The typeface of a style, looked up at the first call. Valid until ResetTypefaces.
const Typeface& TypefaceOf(FontStyle style);

// The script of a character, or None when it is not simple in this face.
inline SimpleScript ScriptOf(const Typeface& face, u32 character) {
    if (character < kSimpleLimit) {
        return face.characters[character];
    }
    if (character >= kPunctuationStart && character < kPunctuationEnd) {
        return face.punctuation[character - kPunctuationStart];
    }
    return character == kEuroSign ? face.euro : SimpleScript::None;
}

// Forgets all typefaces and the context. For tests.
void ResetTypefaces();

}  // namespace moxi
