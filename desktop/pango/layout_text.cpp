#include "desktop/pango/layout_text.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "desktop/pango/cairo_picture.h"
#include "desktop/pango/simple_text.h"

namespace {

constexpr std::size_t kFirstPiece = 32;  // characters
// Cutting a text changes what stands near the cut: an Arabic letter that was joined on gets its
// final form. In font sizes.
constexpr double kMargin = 4;
// So many prefixes are measured one by one; the advances decide for the rest (a pile of combining
// marks has thousands of prefixes of the same width).
constexpr int kMeasuredPrefixes = 64;
constexpr int kTabStop = 28 * PANGO_SCALE;
constexpr std::string_view kNoRoom = "\xE2\x80\x8B";  // zero width space

// Replaces what would break the line or show as a box: control characters but the tab, and the
// line and paragraph separators.
std::string OneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const u8 byte = static_cast<u8>(text[i]);
        const u8 next = i + 1 < text.size() ? static_cast<u8>(text[i + 1]) : 0;
        const u8 third = i + 2 < text.size() ? static_cast<u8>(text[i + 2]) : 0;
        if ((byte < ' ' && byte != '\t') || byte == 0x7F) {
            line += kNoRoom;
        } else if (byte == 0xC2 && next < 0xA0) {
            line += kNoRoom;
            i += 1;
        } else if (byte == 0xE2 && next == 0x80 && (third == 0xA8 || third == 0xA9)) {
            line += kNoRoom;
            i += 2;
        } else {
            line += text[i];
        }
    }
    return line;
}

PangoLayout* NewLayout(const TextFont& font) {
    PangoLayout* const layout = pango_layout_new(TextContext());
    pango_layout_set_font_description(layout, font.description);
    pango_layout_set_single_paragraph_mode(layout, TRUE);
    PangoTabArray* const tabs = pango_tab_array_new(2, FALSE);
    pango_tab_array_set_tab(tabs, 0, PANGO_TAB_LEFT, kTabStop);
    pango_tab_array_set_tab(tabs, 1, PANGO_TAB_LEFT, 2 * kTabStop);
    pango_layout_set_tabs(layout, tabs);
    pango_tab_array_free(tabs);
    return layout;
}

PangoLayoutLine* SetText(TextFont& font, std::string_view text) {
    if (font.layout == nullptr) font.layout = NewLayout(font);
    const std::string line = OneLine(text);
    pango_layout_set_text(font.layout, line.data(), static_cast<int>(line.size()));
    return pango_layout_get_line_readonly(font.layout, 0);
}

struct Measured {
    i32 width;
    LineHeight line;
};

Measured Measure(TextFont& font, std::string_view text) {
    PangoRectangle logical;
    pango_layout_line_get_extents(SetText(font, text), nullptr, &logical);
    return {logical.width, {-logical.y, logical.height + logical.y}};
}

LineHeight Union(LineHeight a, LineHeight b) {
    return {std::max(a.ascent, b.ascent), std::max(a.descent, b.descent)};
}

u32 Characters(std::string_view text) {
    return static_cast<u32>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<u8>(c) & 0xC0) != 0x80; }));
}

std::size_t CharacterEnd(std::string_view text, std::size_t index) {
    do {
        ++index;
    } while (index < text.size() && (static_cast<u8>(text[index]) & 0xC0) == 0x80);
    return index;
}

// The byte at which the first `count` characters end.
std::size_t PrefixEnd(std::string_view text, std::size_t count) {
    std::size_t end = 0;
    while (count-- > 0 && end < text.size()) end = CharacterEnd(text, end);
    return end;
}

// What each character of the laid out text adds to its width, in the order of the text.
std::vector<i32> CharacterWidths(const PangoLayoutLine* line, std::string_view lineText) {
    std::vector<i32> widths(Characters(lineText), 0);
    std::vector<int> runWidths;
    for (GSList* link = line->runs; link != nullptr; link = link->next) {
        PangoGlyphItem* const run = static_cast<PangoGlyphItem*>(link->data);
        const std::size_t first =
            Characters(lineText.substr(0, static_cast<std::size_t>(run->item->offset)));
        runWidths.assign(static_cast<std::size_t>(run->item->num_chars), 0);
        pango_glyph_item_get_logical_widths(run, lineText.data(), runWidths.data());
        for (std::size_t i = 0; i < runWidths.size() && first + i < widths.size(); ++i) {
            widths[first + i] = runWidths[i];
        }
    }
    return widths;
}

// The fonts of the rest of a long text, found character by character without laying it out.
LineHeight HeightOfRest(TextFont& font, std::string_view rest) {
    LineHeight line = font.line;
    while (!rest.empty()) {
        const std::size_t end = CharacterEnd(rest, 0);
        const std::string_view character = rest.substr(0, end);
        rest.remove_prefix(end);
        u32 key = 0;
        for (const char c : character) key = key << 8 | static_cast<u8>(c);
        const auto [place, isNew] = font.lineHeights.try_emplace(key, font.line);
        if (isNew && ScriptOfText(font, character) == SimpleScript::None) {
            place->second = Measure(font, character).line;
        }
        line = Union(line, place->second);
    }
    return line;
}

// The first character of `piece` with which it measures more than `limit`; npos when all of it
// fits.
std::size_t FindOverflow(TextFont& font, std::string_view piece, const std::vector<i32>& widths,
                         double limit) {
    const double margin = kMargin * font.size * PANGO_SCALE;
    double rough = 0;
    int measured = 0;
    std::size_t start = 0;
    for (const i32 width : widths) {
        const std::size_t end = CharacterEnd(piece, start);
        rough += width;
        if (rough > limit - margin) {
            const bool over = measured++ < kMeasuredPrefixes
                                  ? Measure(font, piece.substr(0, end)).width > limit
                                  : rough > limit;
            if (over) return start;
        }
        start = end;
    }
    return std::string_view::npos;
}

}  // namespace

TextSize MeasureLayout(TextFont& font, std::string_view text) {
    const Measured measured = Measure(font, text);
    return {static_cast<double>(measured.width) / PANGO_SCALE, measured.line.Height()};
}

std::size_t FindLayoutOverflow(TextFont& font, std::string_view text, double width) {
    const double limit = width * PANGO_SCALE;
    std::size_t count = kFirstPiece;
    while (true) {
        const std::string_view piece = text.substr(0, PrefixEnd(text, count));
        const bool all = piece.size() == text.size();
        const i32 pieceWidth = Measure(font, piece).width;
        if (all && pieceWidth <= limit) return std::string_view::npos;
        if (all || pieceWidth > limit + kMargin * font.size * PANGO_SCALE) {
            const std::vector<i32> widths = CharacterWidths(
                pango_layout_get_line_readonly(font.layout, 0), pango_layout_get_text(font.layout));
            const std::size_t overflow = FindOverflow(font, piece, widths, limit);
            if (all || overflow != std::string_view::npos) return overflow;
        }
        count *= 2;
    }
}

double LayoutHeight(TextFont& font, std::string_view text, std::size_t laidOut) {
    return Union(Measure(font, text.substr(0, laidOut)).line,
                 HeightOfRest(font, text.substr(laidOut)))
        .Height();
}

TextPicture DrawLayout(TextFont& font, std::string_view text, i32 columns, std::vector<u8>& bytes) {
    PangoLayoutLine* const line = SetText(font, text);
    PangoRectangle ink;
    pango_layout_line_get_extents(line, &ink, nullptr);
    const auto floorPixel = [](int units) {
        return static_cast<i32>(std::floor(static_cast<double>(units) / PANGO_SCALE));
    };
    // Glyphs are put on whole pixels, which may move them by half of one.
    const i32 left = std::max(0, floorPixel(ink.x) - 1);
    const i32 top = floorPixel(ink.y) - 1;
    const i32 right = std::min(columns, floorPixel(ink.x + ink.width) + 2);
    const i32 bottom = floorPixel(ink.y + ink.height) + 2;
    if (ink.width <= 0 || ink.height <= 0 || left >= right) return {};
    const i32 width = right - left;
    const i32 height = bottom - top;
    bytes.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
    DrawCoverage(bytes, static_cast<std::size_t>(width), width, height, [&](cairo_t* cairo) {
        cairo_move_to(cairo, -left, -top);
        pango_cairo_show_layout_line(cairo, line);
    });
    return {bytes.data(), static_cast<std::size_t>(width), left, top, width, height};
}
