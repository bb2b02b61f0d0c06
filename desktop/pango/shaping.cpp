#include "desktop/pango/shaping.h"

namespace moxi {

namespace {

hb_buffer_t* buffer = nullptr;

void TakeGlyphs(ShapedText& shaped) {
    unsigned count = 0;
    const hb_glyph_info_t* const infos = hb_buffer_get_glyph_infos(buffer, &count);
    const hb_glyph_position_t* const positions = hb_buffer_get_glyph_positions(buffer, &count);
    shaped.glyphs.resize(count);
    i64 x = 0;
    for (unsigned i = 0; i < count; ++i) {
        shaped.glyphs[i] = {
            infos[i].codepoint,
            infos[i].cluster,
            x + positions[i].x_offset,
            x,
            -positions[i].y_offset,
            (hb_glyph_info_get_glyph_flags(&infos[i]) & HB_GLYPH_FLAG_UNSAFE_TO_BREAK) != 0};
        x += positions[i].x_advance;
    }
    shaped.width = x;
}

// Shapes text[from, to) into the buffer, as if the text ended there.
void FillBuffer(const TextFont& font, std::string_view text, std::size_t from, std::size_t to,
                SimpleScript script) {
    if (buffer == nullptr) {
        buffer = hb_buffer_create();
    }
    hb_buffer_clear_contents(buffer);
    hb_buffer_add_utf8(buffer, text.data(), static_cast<int>(to), static_cast<unsigned>(from),
                       static_cast<int>(to - from));
    const ScriptSettings& settings = font.face->scripts[static_cast<u32>(script)];
    hb_buffer_set_direction(buffer, HB_DIRECTION_LTR);
    hb_buffer_set_script(buffer, settings.script);
    hb_buffer_set_language(buffer, settings.language);
    hb_shape(font.shaper, buffer, nullptr, 0);
}

}  // namespace

void ShapePart(const TextFont& font, std::string_view text, std::size_t from, std::size_t to,
               SimpleScript script, ShapedText& shaped) {
    FillBuffer(font, text, from, to, script);
    TakeGlyphs(shaped);
}

i64 PartWidth(const TextFont& font, std::string_view text, std::size_t from, std::size_t to,
              SimpleScript script) {
    FillBuffer(font, text, from, to, script);
    unsigned count = 0;
    const hb_glyph_position_t* const positions = hb_buffer_get_glyph_positions(buffer, &count);
    i64 width = 0;
    for (unsigned i = 0; i < count; ++i) {
        width += positions[i].x_advance;
    }
    return width;
}

void ResetShaping() {
    if (buffer != nullptr) {
        hb_buffer_destroy(buffer);
    }
    buffer = nullptr;
}

}  // namespace moxi
