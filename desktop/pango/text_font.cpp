#include "desktop/pango/text_font.h"

#include <hb-ot.h>

#include <algorithm>
#include <cmath>

namespace moxi {

namespace {

constinit u64 lastId = 0;

void SetUnderline(TextFont& font, double position, double thickness) {
    font.underlineTop = static_cast<i32>(std::lround(position));
    font.underlineRows = std::max(1, static_cast<i32>(std::lround(thickness)));
}

// A line is the same in every style and whatever the font's file says, so that capitals keep their
// accents and a word in italics stands on the line of its neighbours. Thousandths of the size.
constexpr double kDescents[] = {230, 250, 246};

TextLine LineOf(FontFamily family, double size) {
    // In this order whole sizes give the nearest number: a line of size 50 is 60 high.
    return {size * 6 / 5, size * kDescents[static_cast<u32>(family)] / 1000};
}

}  // namespace

TextFont* NewTextFont(FontStyle style, double size) {
    TextFont* const font = new TextFont{};
    font->id = ++lastId;
    font->face = &TypefaceOf(style);
    font->size = size;
    font->line = LineOf(style.family, size);
    font->description = pango_font_description_copy(font->face->description);
    pango_font_description_set_absolute_size(font->description, size * PANGO_SCALE);
    // A twentieth of the size is the usual weight of the line.
    SetUnderline(*font, size / 10, size / 20);
    if (font->face->cairoFace == nullptr) {
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
    StartGlyphPictures(font->pictures, font->scaled);
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
    EndGlyphPictures(font->pictures);
    for (auto& [pangoFont, pictures] : font->others) {
        EndGlyphPictures(pictures);
    }
    if (font->shaper != nullptr) {
        hb_font_destroy(font->shaper);
    }
    if (font->scaled != nullptr) {
        cairo_scaled_font_destroy(font->scaled);
    }
    pango_font_description_free(font->description);
    delete font;
}

i32 MostRows(const TextFont& font) {
    constexpr double kSizes = 8;
    return static_cast<i32>(std::min(font.size * kSizes, 1e6)) + 1;
}

}  // namespace moxi
