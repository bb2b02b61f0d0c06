#include "desktop/pango/layout_text.h"

#include <algorithm>
#include <memory>
#include <string>

#include "base/utf8.h"
#include "desktop/pango/line_runs.h"

namespace moxi {

namespace {

constexpr std::size_t kFirstPiece = 32;  // characters
// Cutting a text changes what stands near the cut: an Arabic letter that was joined on gets its
// final form. In font sizes.
constexpr double kMargin = 4;
// So many prefixes are measured one by one; the advances decide for the rest (a pile of combining
// marks has thousands of prefixes of the same width).
constexpr int kMeasuredPrefixes = 64;
// Of a longer prefix only the end is set anew, so many characters at least and at most.
constexpr std::size_t kShortestEnd = 64;
constexpr std::size_t kLongestEnd = 256;

// The byte at which the first `count` characters end.
std::size_t PrefixEnd(std::string_view text, std::size_t count) {
    std::size_t end = 0;
    while (count-- > 0 && end < text.size()) {
        end = CharacterEnd(text, end);
    }
    return end;
}

// Sets a text part by part, and calls `take` with each part and where it starts in its line, until
// that is false. `start` is where the text itself starts.
template <class Take>
void ForEachPart(const TextFont& font, std::string_view text, PangoDirection direction, i64 start,
                 const Take& take) {
    while (!text.empty()) {
        const std::string_view part = FirstPart(text);
        LineOfRuns line;
        SetRuns(font, part, direction, start, line);
        if (!take(line, start)) {
            return;
        }
        start += line.width;
        text.remove_prefix(part.size());
    }
}

// The width of a text that starts `start` into its line.
i64 Measure(const TextFont& font, std::string_view text, PangoDirection direction, i64 start) {
    i64 width = 0;
    ForEachPart(font, text, direction, start, [&](const LineOfRuns& line, i64) {
        width += line.width;
        return true;
    });
    return width;
}

// The text that was set last as one part: it is measured first and drawn next.
struct LastLine {
    u64 font = 0;
    std::string text;
    std::unique_ptr<LineOfRuns> line;
};
LastLine last;

const LineOfRuns& SetAsOnePart(const TextFont& font, std::string_view text,
                               PangoDirection direction) {
    if (last.line == nullptr || last.font != font.id || last.text != text) {
        last = {font.id, std::string(text), std::make_unique<LineOfRuns>()};
        SetRuns(font, text, direction, 0, *last.line);
    }
    return *last.line;
}

bool IsOnePart(std::string_view text) {
    return FirstPart(text).size() == text.size();
}

// A piece of a text, of which each character has its place: `bytes[i]` is where the i-th starts,
// `before[i]` how wide the piece is up to it. Both have one more for the end.
struct Piece {
    std::string_view text;
    PangoDirection direction;
    std::vector<std::size_t> bytes;
    std::vector<i64> before;

    std::size_t Characters() const { return bytes.size() - 1; }
    i64 Width() const { return before.back(); }
};

void AddWidths(const LineRun& run, const std::string& text, std::vector<int>& widths,
               std::vector<i64>& before) {
    widths.assign(static_cast<std::size_t>(run.item.num_chars), 0);
    if (run.glyphs == nullptr) {
        before.push_back(before.back() + run.width);
        return;
    }
    PangoItem item = run.item;
    PangoGlyphItem glyphs = {};
    glyphs.item = &item;
    glyphs.glyphs = run.glyphs;
    pango_glyph_item_get_logical_widths(&glyphs, text.data(), widths.data());
    for (const int width : widths) {
        before.push_back(before.back() + width);
    }
}

Piece SetPiece(const TextFont& font, std::string_view text, PangoDirection direction) {
    Piece piece = {text, direction, {}, {0}};
    for (std::size_t at = 0; at < text.size(); at = CharacterEnd(text, at)) {
        piece.bytes.push_back(at);
    }
    piece.bytes.push_back(text.size());
    std::vector<int> widths;
    ForEachPart(font, text, direction, 0, [&](const LineOfRuns& line, i64) {
        for (const LineRun& run : line.runs) {
            AddWidths(run, line.text, widths, piece.before);
        }
        return true;
    });
    piece.before.resize(piece.bytes.size(), piece.before.back());
    return piece;
}

// The character from which on the end of a prefix is set anew, without what stands before it: if
// possible one behind a space, which joins nothing.
std::size_t StartOfEnd(const Piece& piece, std::size_t count) {
    if (count <= kLongestEnd) {
        return 0;
    }
    for (std::size_t i = count - kShortestEnd; i > count - kLongestEnd; --i) {
        if (piece.text[piece.bytes[i] - 1] == ' ') {
            return i;
        }
    }
    return count - kLongestEnd;
}

// What the first `count` characters measure by themselves.
i64 PrefixWidth(const TextFont& font, const Piece& piece, std::size_t count) {
    const std::size_t from = StartOfEnd(piece, count);
    const std::string_view end =
        piece.text.substr(piece.bytes[from], piece.bytes[count] - piece.bytes[from]);
    return piece.before[from] + Measure(font, end, piece.direction, piece.before[from]);
}

// The byte at which the first character starts with which the piece measures more than `limit`, in
// 1/1024 pixel; npos when all of it fits.
std::size_t FindOverflow(const TextFont& font, const Piece& piece, double limit) {
    const double margin = kMargin * font.size * PANGO_SCALE;
    int measured = 0;
    for (std::size_t i = 0; i < piece.Characters(); ++i) {
        const double rough = static_cast<double>(piece.before[i + 1]);
        if (rough <= limit - margin) {
            continue;
        }
        const bool over = measured++ < kMeasuredPrefixes
                              ? static_cast<double>(PrefixWidth(font, piece, i + 1)) > limit
                              : rough > limit;
        if (over) {
            return piece.bytes[i];
        }
    }
    return std::string_view::npos;
}

// Places the glyphs of a set text whose left end is at `x`.
void PlaceRuns(TextFont& font, const LineOfRuns& line, i64 x, i32 columns,
               std::vector<PlacedGlyph>& placed) {
    // A glyph that is farther outside than this has no ink inside.
    const i64 reach = static_cast<i64>(font.size * 32) * PANGO_SCALE;
    const i64 right = i64{columns} * PANGO_SCALE + reach;
    for (const LineRun* const run : VisualOrder(line)) {
        const i64 end = x + run->width;
        if (run->glyphs != nullptr && end >= -reach && x <= right) {
            const auto [place, isNew] = font.others.try_emplace(run->item.analysis.font);
            if (isNew) {
                StartGlyphPictures(place->second, run->item.analysis.font);
            }
            for (int i = 0; i < run->glyphs->num_glyphs; ++i) {
                const PangoGlyphInfo& glyph = run->glyphs->glyphs[i];
                if (glyph.glyph != PANGO_GLYPH_EMPTY && x >= -reach && x <= right) {
                    placed.push_back(PlaceGlyph(place->second, glyph.glyph,
                                                x + glyph.geometry.x_offset,
                                                glyph.geometry.y_offset));
                }
                x += glyph.geometry.width;
            }
        }
        x = end;
    }
}

}  // namespace

i64 MeasureLayout(const TextFont& font, std::string_view text) {
    const PangoDirection direction = LineDirection(text);
    return IsOnePart(text) ? SetAsOnePart(font, text, direction).width
                           : Measure(font, text, direction, 0);
}

std::size_t FindLayoutOverflow(const TextFont& font, std::string_view text, double width) {
    const double limit = width * PANGO_SCALE;
    for (std::size_t count = kFirstPiece;; count *= 2) {
        const std::string_view start = text.substr(0, PrefixEnd(text, count));
        const bool all = start.size() == text.size();
        const Piece piece = SetPiece(font, start, LineDirection(start));
        const double pieceWidth = static_cast<double>(piece.Width());
        if (all && pieceWidth <= limit) {
            return std::string_view::npos;
        }
        if (all || pieceWidth > limit + kMargin * font.size * PANGO_SCALE) {
            const std::size_t overflow = FindOverflow(font, piece, limit);
            if (all || overflow != std::string_view::npos) {
                return overflow;
            }
        }
    }
}

TextPicture DrawLayout(TextFont& font, std::string_view text, i32 columns, std::vector<u8>& bytes) {
    std::vector<PlacedGlyph> placed;
    const PangoDirection direction = LineDirection(text);
    if (IsOnePart(text)) {
        PlaceRuns(font, SetAsOnePart(font, text, direction), 0, columns, placed);
        return AddGlyphs(placed, columns, MostRows(font), bytes);
    }
    // A line from right to left begins at its right end.
    const bool fromRight =
        direction == PANGO_DIRECTION_RTL || direction == PANGO_DIRECTION_WEAK_RTL;
    const i64 width = fromRight ? Measure(font, text, direction, 0) : 0;
    ForEachPart(font, text, direction, 0, [&](const LineOfRuns& line, i64 start) {
        PlaceRuns(font, line, fromRight ? width - start - line.width : start, columns, placed);
        return fromRight || start + line.width <= i64{columns} * PANGO_SCALE * 2;
    });
    return AddGlyphs(placed, columns, MostRows(font), bytes);
}

void ResetLayoutText() {
    last = {};
}

}  // namespace moxi
