#pragma once
// A font at one size: what simple text needs of Cairo and HarfBuzz, and Pango's description for all
// other text.

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
    i32 underlineTop, underlineRows;  // pixels: from the baseline down, and the line's thickness
    // Null when all text of the typeface has to be set by Pango.
    cairo_scaled_font_t* scaled;
    hb_font_t* shaper;
    // One for each script of plain text: made when a text needs it, filled with what is shaped.
    mutable std::unique_ptr<PairTable> pairs[kPairScripts];
    GlyphPictures pictures;                                // of simple text
    std::unordered_map<PangoFont*, GlyphPictures> others;  // of the fonts that Pango chooses
};

// The font of a style at a size above 0, in pixels. Never null; the caller deletes it.
TextFont* NewTextFont(FontStyle style, double size);
void DeleteTextFont(TextFont* font);  // not null

// How many rows above and below the baseline are kept of a picture's ink.
i32 MostRows(const TextFont& font);

}  // namespace moxi
