#include "desktop/pango/simple_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

#include "base/utf8.h"
#include "desktop/pango/pairs.h"

namespace moxi {

namespace {

// A piece of text that has been shaped. The last one is kept, because a module that lays out a
// paragraph line by line asks for the rest of the same text next.
struct ShapedPiece {
    u64 font = 0;
    std::uintptr_t address = 0;  // where the text stood, only to be compared
    std::string text;
    SimpleScript script = SimpleScript::None;
    ShapedText shaped;
};
ShapedPiece piece;  // the last one that a line was cut from
ShapedPiece whole;  // the last text that was asked for as a whole

constexpr std::size_t kShortestPiece = 32;  // bytes
// Longer texts are measured in pieces of this many bytes.
constexpr std::size_t kPiece = 4096;
// So near to the end of a piece, in bytes, it is not cut.
constexpr std::size_t kPieceMargin = 64;
constexpr double kLinesAhead = 4;
constexpr double kUsualWidth = 0.5;  // of a character, in font sizes

// The script of a text whose characters are known to be simple in the face, and of one script.
SimpleScript ScriptOfSimple(const Typeface& face, std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const SimpleScript script = ScriptOf(face, NextCharacter(text, i));
        if (script != SimpleScript::Common) {
            return script;
        }
    }
    return SimpleScript::Common;
}

i64 ShapedWidth(const TextFont& font, std::string_view text, std::size_t from, std::size_t to,
                SimpleScript script) {
    i64 known = 0;
    if (MeasureByPairs(font, text.substr(from, to - from), script, known)) {
        return known;
    }
    return PartWidth(font, text, from, to, script);
}

void SetText(const TextFont& font, std::string_view text, SimpleScript script, ShapedText& shaped) {
    if (SetByPairs(font, text, script, shaped)) {
        return;
    }
    ShapePart(font, text, 0, text.size(), script, shaped);
    LearnPairs(font, text, script, shaped);
}

// The first glyph of the characters at `index` or after it.
std::vector<ShapedGlyph>::const_iterator FirstGlyphOf(const ShapedText& shaped, std::size_t index) {
    return std::lower_bound(shaped.glyphs.begin(), shaped.glyphs.end(), index,
                            [](const ShapedGlyph& g, std::size_t i) { return g.cluster < i; });
}

// The width of text.substr(0, end), in 1/1024 pixel. `shaped` is the text from its start to `end`
// or beyond; only the glyphs that change when it is cut at `end` are shaped anew.
i64 WidthBefore(const TextFont& font, std::string_view text, std::size_t end, SimpleScript script,
                const ShapedText& shaped) {
    const SimpleScript cutScript = ScriptOfSimple(*font.face, text.substr(0, end));
    if (cutScript != script) {
        return ShapedWidth(font, text, 0, end, cutScript);
    }
    auto glyph =
        std::lower_bound(shaped.glyphs.begin(), shaped.glyphs.end(), end,
                         [](const ShapedGlyph& g, std::size_t i) { return g.cluster < i; });
    if (glyph != shaped.glyphs.end() && glyph->cluster == end && !glyph->unsafe) {
        return glyph->before;
    }
    if (glyph == shaped.glyphs.begin()) {
        return ShapedWidth(font, text, 0, end, script);
    }
    do {
        --glyph;
    } while (glyph != shaped.glyphs.begin() &&
             (glyph->unsafe || std::prev(glyph)->cluster == glyph->cluster));
    return glyph->before + ShapedWidth(font, text, glyph->cluster, end, script);
}

// Cuts the part before `start` off the piece that was shaped last, if nothing changes by that.
bool CutPiece(std::size_t start) {
    std::vector<ShapedGlyph>& glyphs = piece.shaped.glyphs;
    const auto first = FirstGlyphOf(piece.shaped, start);
    if (first == glyphs.end() || first->cluster != start || first->unsafe) {
        return false;
    }
    const i64 before = first->before;
    glyphs.erase(glyphs.begin(), first);
    for (ShapedGlyph& glyph : glyphs) {
        glyph.cluster -= static_cast<u32>(start);
        glyph.x -= before;
        glyph.before -= before;
    }
    piece.shaped.width -= before;
    piece.text.erase(0, start);
    piece.address += start;
    return true;
}

// Makes `piece` start where `text` starts, if it is a later part of the text that was shaped last.
bool ReusePiece(const TextFont& font, std::string_view text, SimpleScript script) {
    if (piece.font != font.id || piece.script != script) {
        return false;
    }
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(text.data()) - piece.address;
    if (start >= piece.text.size()) {
        return false;
    }
    const std::string_view rest = std::string_view(piece.text).substr(start);
    return text.substr(0, rest.size()) == rest && (start == 0 || CutPiece(start));
}

// Makes `piece` the first `length` bytes of `text`, or a character's bytes more.
void ShapePiece(const TextFont& font, std::string_view text, SimpleScript script,
                std::size_t length) {
    std::size_t end = std::min(length, text.size());
    while (end < text.size() && IsContinuation(text[end])) {
        ++end;
    }
    piece.font = font.id;
    piece.address = reinterpret_cast<std::uintptr_t>(text.data());
    piece.text = text.substr(0, end);
    piece.script = script;
    SetText(font, piece.text, script, piece.shaped);
}

// Takes the glyphs of `text` from the piece, if it starts with the text and cutting there changes
// nothing.
bool TakeFromPiece(const TextFont& font, std::string_view text, SimpleScript script) {
    if (piece.font != font.id || piece.script != script || piece.text.size() <= text.size() ||
        std::string_view(piece.text).substr(0, text.size()) != text) {
        return false;
    }
    const auto end = FirstGlyphOf(piece.shaped, text.size());
    if (end == piece.shaped.glyphs.end() || end->cluster != text.size() || end->unsafe) {
        return false;
    }
    whole.shaped.glyphs.assign(piece.shaped.glyphs.cbegin(), end);
    whole.shaped.width = end->before;
    return true;
}

// The byte at which the first character of `piece` starts with which it is wider than `limit`, in
// 1/1024 pixel; npos when all of the piece fits.
std::size_t FindOverflow(const TextFont& font, double limit) {
    const std::string_view text = piece.text;
    const ShapedText& shaped = piece.shaped;
    // Cutting changes the last few glyphs at most: up to a font size before the limit nothing can
    // be too wide.
    const double margin = font.size * PANGO_SCALE;
    const auto near = std::partition_point(
        shaped.glyphs.begin(), shaped.glyphs.end(),
        [&](const ShapedGlyph& g) { return static_cast<double>(g.before) <= limit - margin; });
    std::size_t start = near == shaped.glyphs.begin() ? 0 : std::prev(near)->cluster;
    while (start < text.size()) {
        const std::size_t next = CharacterEnd(text, start);
        const i64 width = WidthBefore(font, text, next, piece.script, shaped);
        if (static_cast<double>(width) > limit) {
            return start;
        }
        start = next;
    }
    return std::string_view::npos;
}

// Shapes all of a text. Valid until the next call.
const ShapedText& Shape(const TextFont& font, std::string_view text, SimpleScript script) {
    if (whole.font == font.id && whole.script == script && whole.text == text) {
        return whole.shaped;
    }
    if (!TakeFromPiece(font, text, script)) {
        SetText(font, text, script, whole.shaped);
    }
    whole.font = font.id;
    whole.text = text;
    whole.script = script;
    return whole.shaped;
}

// The end of the first `length` bytes of the text from `from` on, or of a character's bytes more.
std::size_t PieceEnd(std::string_view text, std::size_t from, std::size_t length) {
    if (length >= text.size() - from) {
        return text.size();
    }
    return CharacterEnd(text, from + length - 1);
}

// The glyph before which a piece of `length` bytes is best cut off, when text follows the piece. If
// possible it is one where cutting changes nothing, else one between two characters.
const ShapedGlyph& CuttingGlyph(const ShapedText& shaped, std::size_t length) {
    const ShapedGlyph* any = &shaped.glyphs.back();
    for (std::size_t i = shaped.glyphs.size(); i-- > 1;) {
        const ShapedGlyph& glyph = shaped.glyphs[i];
        // Near its end the piece is not shaped as it would be with the text that follows.
        if (glyph.cluster + kPieceMargin > length) {
            continue;
        }
        if (glyph.cluster < length / 2) {
            break;
        }
        if (shaped.glyphs[i - 1].cluster == glyph.cluster) {
            continue;
        }
        if (!glyph.unsafe) {
            return glyph;
        }
        if (any == &shaped.glyphs.back()) {
            any = &glyph;
        }
    }
    return *any;
}

bool IsPlainAscii(std::string_view text) {
    // Eight bytes at a time: none below a space, none above a tilde.
    constexpr u64 kOnes = 0x0101010101010101;
    constexpr u64 kHigh = 0x8080808080808080;
    std::size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        u64 word = 0;
        std::memcpy(&word, text.data() + i, sizeof word);
        const u64 belowSpace = (word - kOnes * ' ') & ~word;
        const u64 aboveTilde = word + kOnes;
        if (((belowSpace | aboveTilde | word) & kHigh) != 0) {
            return false;
        }
    }
    for (; i < text.size(); ++i) {
        if (text[i] < ' ' || text[i] > '~') {
            return false;
        }
    }
    return true;
}

}  // namespace

SimpleScript ScriptOfText(const TextFont& font, std::string_view text) {
    if (font.scaled == nullptr) {
        return SimpleScript::None;
    }
    const Typeface& face = *font.face;
    if (face.wholeAscii && IsPlainAscii(text)) {
        const bool latin = std::any_of(text.begin(), text.end(), [](char c) {
            return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        });
        return latin ? SimpleScript::Latin : SimpleScript::Common;
    }
    SimpleScript script = SimpleScript::Common;
    for (std::size_t i = 0; i < text.size();) {
        const SimpleScript one = ScriptOf(face, NextCharacter(text, i));
        if (one == SimpleScript::None) {
            return SimpleScript::None;
        }
        if (one == SimpleScript::Common || one == script) {
            continue;
        }
        if (script != SimpleScript::Common) {
            return SimpleScript::None;
        }
        script = one;
    }
    return script;
}

i64 SimpleWidth(const TextFont& font, std::string_view text, SimpleScript script) {
    if (text.size() <= kPiece) {
        return Shape(font, text, script).width;
    }
    static ShapedText part;
    i64 width = 0;
    std::size_t from = 0;
    while (true) {
        const std::size_t end = PieceEnd(text, from, kPiece);
        SetText(font, text.substr(from, end - from), script, part);
        if (end == text.size()) {
            return width + part.width;
        }
        const ShapedGlyph& cut = CuttingGlyph(part, end - from);
        if (cut.cluster == 0) {
            return width + part.width;  // all of it is one glyph
        }
        width += cut.before;
        from += cut.cluster;
    }
}

const ShapedText& ShapeStart(const TextFont& font, std::string_view text, SimpleScript script,
                             i32 columns) {
    if (text.size() <= kPiece) {
        return Shape(font, text, script);
    }
    // When the piece is a font size wider than the columns, its end no longer matters.
    const double needed = (columns + font.size) * PANGO_SCALE;
    for (std::size_t length = kPiece;; length *= 2) {
        const std::size_t end = PieceEnd(text, 0, length);
        const ShapedText& shaped = Shape(font, text.substr(0, end), script);
        if (end == text.size() || static_cast<double>(shaped.width) > needed) {
            return shaped;
        }
    }
}

bool MeasureRuns(const TextFont& font, std::string_view text, i64& width) {
    width = 0;
    std::size_t start = 0;
    SimpleScript script = SimpleScript::None;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t at = i;
        const SimpleScript one = ScriptOf(*font.face, NextCharacter(text, i));
        if (one == SimpleScript::None || one == SimpleScript::Common) {
            return false;
        }
        if (at > 0 && one != script) {
            width += ShapedWidth(font, text, start, at, script);
            start = at;
        }
        script = one;
    }
    width += ShapedWidth(font, text, start, text.size(), script);
    return true;
}

std::size_t FindSimpleOverflow(const TextFont& font, std::string_view text, SimpleScript script,
                               double width) {
    const double limit = width * PANGO_SCALE;
    // About four lines, if the text is a paragraph that is laid out line by line.
    const double lines = std::clamp(kLinesAhead * width / (font.size * kUsualWidth), 0.0, 1e9);
    std::size_t length = kShortestPiece + static_cast<std::size_t>(lines);
    bool shaped = ReusePiece(font, text, script);
    while (true) {
        if (!shaped) {
            ShapePiece(font, text, script, length);
        }
        const bool all = piece.text.size() == text.size();
        const double pieceWidth = static_cast<double>(piece.shaped.width);
        if (all && pieceWidth <= limit) {
            return std::string_view::npos;
        }
        // Near its end a piece is not shaped as the whole text is, so it has to go on a font size
        // beyond the limit.
        if (all || pieceWidth > limit + font.size * PANGO_SCALE) {
            const std::size_t overflow = FindOverflow(font, limit);
            if (all || overflow != std::string_view::npos) {
                return overflow;
            }
        }
        shaped = false;
        length = std::max(length, piece.text.size() * 2);
    }
}

void ResetSimpleText() {
    piece = {};
    whole = {};
    ResetShaping();
}

}  // namespace moxi
