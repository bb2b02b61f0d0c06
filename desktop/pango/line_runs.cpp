#include "desktop/pango/line_runs.h"

#include <algorithm>

#include "base/utf8.h"

namespace moxi {

namespace {

constexpr i64 kTabStop = i64{28} * PANGO_SCALE;
constexpr std::string_view kNoRoom = "\xE2\x80\x8B";  // zero width space
constexpr std::size_t kLongestPart = 32768;           // bytes
constexpr std::size_t kPartsEnd = 4096;               // bytes at its end with a space to cut behind
constexpr std::size_t kMostMarksInPart = 1 << 20;     // bytes, if marks alone make it longer
// The most combining marks that are set with one letter; those beyond start a run of their own.
// HarfBuzz's time grows with the square of them, and beyond 32,767 it ends the process.
constexpr int kMostMarks = 64;

// Appends the text to the line, with what would break the line or show as a box replaced: control
// characters but the tab, and the line and paragraph separators.
void AppendOneLine(std::string_view text, std::string& line) {
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
}

i64 WidthOf(const PangoGlyphString* glyphs) {
    i64 width = 0;
    for (int i = 0; i < glyphs->num_glyphs; ++i) {
        width += glyphs->glyphs[i].geometry.width;
    }
    return width;
}

// Sets the runs of one text, in the order of the text.
struct Setter {
    LineOfRuns& into;
    i64 start;

    void AddTab(const PangoItem& item) {
        const i64 at = start + into.width;
        Add({item, nullptr, (at / kTabStop + 1) * kTabStop - at});
    }

    void AddGlyphs(const PangoItem& item) {
        PangoGlyphString* const glyphs = pango_glyph_string_new();
        pango_shape_full(into.text.data() + item.offset, item.length, into.text.data(),
                         static_cast<int>(into.text.size()), &item.analysis, glyphs);
        Add({item, glyphs, WidthOf(glyphs)});
    }

    void Add(const LineRun& run) {
        into.runs.push_back(run);
        into.width += run.width;
    }

    // Sets an item, cut into pieces of which none has too many marks on one letter.
    void AddItem(const PangoItem& item) {
        const char* const text = into.text.data();
        if (text[item.offset] == '\t') {
            return AddTab(item);
        }
        PangoItem piece = item;
        piece.length = piece.num_chars = 0;
        int marks = 0;
        for (const char* at = text + item.offset; at < text + item.offset + item.length;) {
            const bool isMark = g_unichar_ismark(g_utf8_get_char(at)) != FALSE;
            marks = isMark ? marks + 1 : 0;
            if (marks > kMostMarks) {
                AddGlyphs(piece);
                piece.offset += piece.length;
                piece.length = piece.num_chars = 0;
                marks = 0;
            }
            const char* const next = g_utf8_next_char(at);
            piece.length += static_cast<int>(next - at);
            piece.num_chars += 1;
            at = next;
        }
        AddGlyphs(piece);
    }
};

}  // namespace

LineOfRuns::~LineOfRuns() {
    for (const LineRun& run : runs) {
        if (run.glyphs != nullptr) {
            pango_glyph_string_free(run.glyphs);
        }
    }
    g_list_free_full(items, reinterpret_cast<GDestroyNotify>(pango_item_free));
}

PangoDirection LineDirection(std::string_view text) {
    PangoDirection direction = PANGO_DIRECTION_WEAK_LTR;
    const std::string_view part = FirstPart(text);
    if (part.size() < text.size()) {
        g_free(pango_log2vis_get_embedding_levels(part.data(), static_cast<int>(part.size()),
                                                  &direction));
    }
    return direction;
}

void SetRuns(const TextFont& font, std::string_view text, PangoDirection direction, i64 start,
             LineOfRuns& into) {
    into.text.reserve(text.size());
    AppendOneLine(text, into.text);
    pango_context_set_font_description(TextContext(), font.description);
    PangoAttrList* const attributes = pango_attr_list_new();
    into.items =
        pango_itemize_with_base_dir(TextContext(), direction, into.text.data(), 0,
                                    static_cast<int>(into.text.size()), attributes, nullptr);
    pango_attr_list_unref(attributes);
    Setter setter = {into, start};
    for (const GList* link = into.items; link != nullptr; link = link->next) {
        setter.AddItem(*static_cast<const PangoItem*>(link->data));
    }
}

std::vector<const LineRun*> VisualOrder(const LineOfRuns& line) {
    std::vector<const LineRun*> order;
    order.reserve(line.runs.size());
    int highest = 0;
    for (const LineRun& run : line.runs) {
        order.push_back(&run);
        highest = std::max(highest, int{run.item.analysis.level});
    }
    // Level by level, from the innermost direction outward, each stretch of runs of that level or a
    // deeper one is turned around.
    for (int level = highest; level > 0; --level) {
        const auto isInside = [level](const LineRun* run) {
            return run->item.analysis.level >= level;
        };
        for (auto first = order.begin(); first != order.end();) {
            first = std::find_if(first, order.end(), isInside);
            const auto last = std::find_if_not(first, order.end(), isInside);
            std::reverse(first, last);
            first = last;
        }
    }
    return order;
}

std::string_view FirstPart(std::string_view text) {
    if (text.size() <= kLongestPart) {
        return text;
    }
    // Cut behind a space; else before a character that is no combining mark, as a mark belongs to
    // the letter before it.
    const std::size_t space = text.substr(0, kLongestPart).find_last_of(" \t");
    if (space != std::string_view::npos && space > kLongestPart - kPartsEnd) {
        return text.substr(0, space + 1);
    }
    const char* at = text.data() + CharacterStart(text, kLongestPart);
    const char* const end = text.data() + std::min(text.size(), kMostMarksInPart);
    while (at < end && g_unichar_ismark(g_utf8_get_char(at)) != FALSE) {
        at = g_utf8_next_char(at);
    }
    return text.substr(0, static_cast<std::size_t>(at - text.data()));
}

}  // namespace moxi
