#include "desktop/pango/text_font.h"

#include <hb-ot.h>

#include <algorithm>
#include <cmath>

#include "desktop/pango/cairo_picture.h"
#include "desktop/pango/pairs.h"

namespace {

constinit u64 lastId = 0;

void SetUnderline(TextFont& font, double position, double thickness) {
    font.underlineTop = static_cast<i32>(std::lround(position));
    font.underlineRows = std::max(1, static_cast<i32>(std::lround(thickness)));
}

// The same numbers that Pango takes from the font.
void ReadMetricsFromFace(TextFont& font) {
    cairo_font_extents_t extents;
    cairo_scaled_font_extents(font.scaled, &extents);
    font.line.ascent = pango_units_from_double(extents.ascent);
    font.line.descent =
        pango_units_from_double(extents.ascent + extents.descent) - font.line.ascent;
}

void ReadMetricsFromPango(TextFont& font) {
    PangoFontMetrics* const metrics =
        pango_context_get_metrics(TextContext(), font.description, nullptr);
    font.line.ascent = pango_font_metrics_get_ascent(metrics);
    font.line.descent = pango_font_metrics_get_descent(metrics);
    pango_font_metrics_unref(metrics);
}

}  // namespace

TextFont* NewTextFont(FontStyle style, double size) {
    TextFont* const font = new TextFont{};
    font->id = ++lastId;
    font->face = &TypefaceOf(style);
    font->size = size;
    font->description = pango_font_description_copy(font->face->description);
    pango_font_description_set_absolute_size(font->description, size * PANGO_SCALE);
    // A twentieth of the size is the usual weight of the line.
    SetUnderline(*font, size / 10, size / 20);
    if (font->face->cairoFace == nullptr) {
        ReadMetricsFromPango(*font);
        return font;
    }
    cairo_matrix_t scale;
    cairo_matrix_t identity;
    cairo_matrix_init_scale(&scale, size, size);
    cairo_matrix_init_identity(&identity);
    font->scaled =
        cairo_scaled_font_create(font->face->cairoFace, &scale, &identity, TextFontOptions());
    font->shaper = hb_font_create(font->face->hbFace);
    const int units = static_cast<int>(size * PANGO_SCALE);
    hb_font_set_scale(font->shaper, units, units);
    ReadMetricsFromFace(*font);
    hb_position_t position = 0;
    hb_position_t thickness = 0;
    if (hb_ot_metrics_get_position(font->shaper, HB_OT_METRICS_TAG_UNDERLINE_OFFSET, &position) &&
        hb_ot_metrics_get_position(font->shaper, HB_OT_METRICS_TAG_UNDERLINE_SIZE, &thickness)) {
        SetUnderline(*font, -static_cast<double>(position) / PANGO_SCALE,
                     static_cast<double>(thickness) / PANGO_SCALE);
    }
    return font;
}

void DeleteTextFont(TextFont* font) {
    if (font->layout != nullptr) g_object_unref(font->layout);
    if (font->shaper != nullptr) hb_font_destroy(font->shaper);
    if (font->scaled != nullptr) cairo_scaled_font_destroy(font->scaled);
    pango_font_description_free(font->description);
    delete font;
}

const GlyphPicture& PictureOf(TextFont& font, u32 glyph) {
    if (glyph >= font.glyphs.size()) font.glyphs.resize(std::size_t{glyph} + 1);
    GlyphPicture& picture = font.glyphs[glyph];
    if (picture.drawn) return picture;
    picture.drawn = true;
    cairo_glyph_t at = {glyph, 0, 0};
    cairo_text_extents_t ink;
    cairo_scaled_font_glyph_extents(font.scaled, &at, 1, &ink);
    picture.left = static_cast<i32>(std::floor(ink.x_bearing));
    picture.top = static_cast<i32>(std::floor(ink.y_bearing));
    picture.width = static_cast<i32>(std::ceil(ink.x_bearing + ink.width)) - picture.left;
    picture.height = static_cast<i32>(std::ceil(ink.y_bearing + ink.height)) - picture.top;
    if (picture.width <= 0 || picture.height <= 0) {
        picture.width = picture.height = 0;
        return picture;
    }
    picture.stride =
        (static_cast<std::size_t>(picture.width) + kGlyphBlock - 1) / kGlyphBlock * kGlyphBlock;
    picture.coverage.resize(picture.stride * static_cast<std::size_t>(picture.height));
    DrawCoverage(picture.coverage, picture.stride, picture.width, picture.height,
                 [&](cairo_t* cairo) {
                     cairo_set_scaled_font(cairo, font.scaled);
                     at.x = -picture.left;
                     at.y = -picture.top;
                     cairo_show_glyphs(cairo, &at, 1);
                 });
    return picture;
}
