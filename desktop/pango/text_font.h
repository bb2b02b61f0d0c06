#pragma once
// A font at one size: what the simple path needs of Cairo and HarfBuzz, and Pango's description for
// the rest.

#include <cairo.h>
#include <hb.h>
#include <pango/pango.h>

#include <memory>
#include <unordered_map>

#include "desktop/pango/glyph_pictures.h"
#include "desktop/pango/typeface.h"
#include "desktop/text_engine.h"

namespace moxi {

struct TextFont {
    u64 id;  // never used again for another font
    const Typeface* face;
    double size;
    PangoFontDescription* description;
    TextLine line;
    i32 underlineTop, underlineRows;  // below the baseline
    // Null when the typeface needs Pango.
    cairo_scaled_font_t* scaled;
    hb_font_t* shaper;
    // By script, made when a text asks for it, and then filled by what is shaped.
    mutable std::unique_ptr<PairTable> pairs[kPairScripts];
    GlyphPictures pictures;                                // of the simple path
    std::unordered_map<PangoFont*, GlyphPictures> others;  // of the fonts that Pango takes
};

TextFont* NewTextFont(FontStyle style, double size);
void DeleteTextFont(TextFont* font);

// Ink is kept up to so many rows above and below the baseline.
i32 MostRows(const TextFont& font);

}  // namespace moxi
