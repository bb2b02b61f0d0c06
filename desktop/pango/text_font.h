#pragma once
// A font at one size: what the simple path needs of Cairo and HarfBuzz, and Pango's layout for the
// rest.

#include <cairo.h>
#include <hb.h>
#include <pango/pango.h>

#include <memory>
#include <unordered_map>
#include <vector>

#include "desktop/pango/typeface.h"
#include "desktop/text_engine.h"

// Lengths in Pango's units, 1/1024 of a pixel.
struct LineHeight {
    i32 ascent;
    i32 descent;
    double Height() const { return static_cast<double>(ascent + descent) / PANGO_SCALE; }
};

// Rows of a glyph's coverage are made up to a multiple of this.
constexpr std::size_t kGlyphBlock = 16;

// Coverage of one glyph; its position is relative to the glyph's origin, rows go down.
struct GlyphPicture {
    bool drawn;
    i32 left, top, width, height;
    std::size_t stride;        // width, made up with zeros
    std::vector<u8> coverage;  // empty for a blank
};

struct PairTable;  // pairs.h

struct TextFont {
    u64 id;  // never used again for another font
    const Typeface* face;
    double size;
    PangoFontDescription* description;
    LineHeight line;                  // of the face itself
    i32 underlineTop, underlineRows;  // below the baseline
    // Null when the typeface needs Pango.
    cairo_scaled_font_t* scaled;
    hb_font_t* shaper;
    // By script, made when a text asks for it, and then filled by what is shaped.
    mutable std::unique_ptr<PairTable> pairs[kPairScripts];
    PangoLayout* layout;                              // made by LayoutOf
    std::vector<GlyphPicture> glyphs;                 // by glyph number
    std::unordered_map<u32, LineHeight> lineHeights;  // by character, of fonts that step in
};

TextFont* NewTextFont(FontStyle style, double size);
void DeleteTextFont(TextFont* font);

// The picture of a glyph, drawn at its first use. `font` has a scaled font.
const GlyphPicture& PictureOf(TextFont& font, u32 glyph);
