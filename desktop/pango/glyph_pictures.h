#pragma once
// Pictures of the single glyphs of one font at one size: how much of each pixel a glyph covers.
// Each is made at its first use. Outlines are placed at quarters of a pixel, which keeps the
// spacing of small text even; bitmaps, glyphs with colours and the boxes for characters that no
// font has are placed at whole pixels.

#include <cairo.h>
#include <pango/pango.h>

#include <array>
#include <memory>
#include <unordered_map>
#include <vector>

#include "base/types.h"
#include "desktop/text_engine.h"

namespace moxi {

// The rows of a glyph's coverage are filled up with zeros to a multiple of this many bytes.
constexpr std::size_t kGlyphBlock = 16;
constexpr i32 kGlyphPhases = 4;  // places within a pixel at which an outline can stand

// The coverage of one glyph, rows top first; its place is relative to the pixel of the glyph's
// origin, y downward.
struct GlyphPicture {
    bool drawn = false;  // it has been made
    i32 left = 0, top = 0, width = 0, height = 0;
    std::size_t stride = 0;    // bytes from row to row: the width, filled up
    std::vector<u8> coverage;  // empty for a glyph without ink
};

struct GlyphPictures {
    cairo_scaled_font_t* scaled = nullptr;  // referenced
    PangoFont* font = nullptr;              // referenced; null for a plain face
    bool outlines = false;                  // the font's glyphs are outlines
    bool colours = false;                   // some of its glyphs have colours
    bool thickened = false;                 // it lacks a bold style and is made bolder
    std::vector<std::unique_ptr<std::array<GlyphPicture, kGlyphPhases>>> byGlyph;
    std::unordered_map<u32, GlyphPicture> atWholePixels;
};

// Starts the pictures of a font, and takes a reference on it. A plain face is drawn by its outlines
// alone. Started pictures must not move in memory, and must be ended.
void StartGlyphPictures(GlyphPictures& pictures, cairo_scaled_font_t* plainFace);
void StartGlyphPictures(GlyphPictures& pictures, PangoFont* font);
void EndGlyphPictures(GlyphPictures& pictures);

// A glyph at its place in a text. Valid until the pictures are trimmed or ended.
struct PlacedGlyph {
    const GlyphPicture* picture;
    i32 left, top;
};

// The picture and place of the glyph whose origin is at (x, y), in 1/1024 pixel, y downward.
PlacedGlyph PlaceGlyph(GlyphPictures& pictures, u32 glyph, i64 x, i64 y);

// Drops the pictures of all fonts when they take too much memory. Called before a text is drawn.
void TrimGlyphPictures();

// Adds the glyphs up to one picture, of columns 0 to `columns` - 1 and `rows` rows above and below
// the baseline at most. Its rows lie in `bytes`, to which the caller has to point `coverage`.
TextPicture AddGlyphs(const std::vector<PlacedGlyph>& glyphs, i32 columns, i32 rows,
                      std::vector<u8>& bytes);

}  // namespace moxi
