#pragma once
// Coverage of single glyphs of one font at one size, each made at its first use. Outlines stand at
// quarters of a pixel, which keeps the spacing of small text even; bitmaps, colour glyphs and the
// boxes for what no font has stand at whole pixels.

#include <cairo.h>
#include <pango/pango.h>

#include <array>
#include <memory>
#include <unordered_map>
#include <vector>

#include "base/types.h"
#include "desktop/text_engine.h"

namespace moxi {

// Rows of a glyph's coverage are made up to a multiple of this.
constexpr std::size_t kGlyphBlock = 16;
constexpr i32 kGlyphPhases = 4;  // places within a pixel

// Coverage of one glyph; its position is relative to the pixel of the glyph's origin, rows go down.
struct GlyphPicture {
    bool drawn = false;
    i32 left = 0, top = 0, width = 0, height = 0;
    std::size_t stride = 0;    // width, made up with zeros
    std::vector<u8> coverage;  // empty for a blank
};

struct GlyphPictures {
    cairo_scaled_font_t* scaled = nullptr;  // referenced
    PangoFont* font = nullptr;              // referenced; null for a plain face
    bool outlines = false;                  // the font has them
    bool colours = false;                   // some of its glyphs have colours
    bool thickened = false;                 // it lacks a bold style and is made bolder
    std::vector<std::unique_ptr<std::array<GlyphPicture, kGlyphPhases>>> byGlyph;
    std::unordered_map<u32, GlyphPicture> atWholePixels;
};

// Takes a reference on the font. A plain face has outlines and draws nothing else than them.
void StartGlyphPictures(GlyphPictures& pictures, cairo_scaled_font_t* plainFace);
void StartGlyphPictures(GlyphPictures& pictures, PangoFont* font);
void EndGlyphPictures(GlyphPictures& pictures);

// A glyph at its place in a text. Valid until the pictures are trimmed or ended.
struct PlacedGlyph {
    const GlyphPicture* picture;
    i32 left, top;
};

// The glyph whose origin is at (x, y), in 1/1024 pixel, y downward.
PlacedGlyph PlaceGlyph(GlyphPictures& pictures, u32 glyph, i64 x, i64 y);

// Drops the pictures of all fonts when they take too much memory. Called before a text is drawn.
void TrimGlyphPictures();

// Adds the glyphs to a picture of columns 0 to `columns` - 1 and `rows` rows above and below the
// baseline, at most. Its rows lie in `bytes`.
TextPicture AddGlyphs(const std::vector<PlacedGlyph>& glyphs, i32 columns, i32 rows,
                      std::vector<u8>& bytes);

}  // namespace moxi
