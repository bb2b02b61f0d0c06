#include "desktop/pango/pairs.h"

#include <algorithm>
#include <memory>

namespace moxi {

namespace {

constexpr std::size_t kMostJoined = 64;  // the most characters that are shaped together

// Null when the face cannot be used by pairs.
PairTable* TableOf(const TextFont& font, SimpleScript script) {
    const u32 index = static_cast<u32>(script);
    if (index >= kPairScripts) {
        return nullptr;
    }
    const PairRules& rules = font.face->pairs[index];
    if (!rules.usable) {
        return nullptr;
    }
    std::unique_ptr<PairTable>& table = font.pairs[index];
    if (table == nullptr) {
        table = std::make_unique<PairTable>();
        table->rules = &rules;
        for (u32 i = 0; i < kPlainCharacters; ++i) {
            table->advances[i] = hb_font_get_glyph_h_advance(font.shaper, rules.glyphs[i]);
            std::fill(std::begin(table->kerning[i]), std::end(table->kerning[i]), kUnknownPair);
        }
    }
    return table.get();
}

u32 PlainIndex(char c) {
    return static_cast<u32>(static_cast<u8>(c)) - kFirstPlain;
}

bool IsPlain(char c) {
    return PlainIndex(c) < kPlainCharacters;
}

// A text that is being set: the glyphs so far, and where the last part begins that was set on its
// own, which is one glyph or the glyphs of characters that are joined.
struct Setting {
    const TextFont& font;
    const PairTable& table;
    std::string_view text;
    SimpleScript script;
    ShapedText& shaped;
    i64 x = 0;
    std::size_t partStart = 0, partGlyphs = 0;  // that part's first byte, and its first glyph
    i64 partX = 0;
    bool unsafe = false;  // ShapedGlyph::unsafe of the glyph that comes next

    // The kerning behind the character at `index`, 0 at the end of the text.
    i32 KerningAfter(std::size_t index) const {
        return index + 1 < text.size()
                   ? table.kerning[PlainIndex(text[index])][PlainIndex(text[index + 1])]
                   : 0;
    }
    bool JoinedAfter(std::size_t index) const {
        return index + 1 < text.size() &&
               table.rules->joined[PlainIndex(text[index])][PlainIndex(text[index + 1])];
    }

    // Sets the character at `index`, which is not joined to the next one. False when the pair that
    // they make is not known.
    bool SetPlain(std::size_t index) {
        i32 kerning = KerningAfter(index);
        if (kerning == kUnknownPair) {
            // Joined characters that follow are set together with this one.
            if (!JoinedAfter(index + 1)) {
                return false;
            }
            kerning = 0;
        }
        const u32 character = PlainIndex(text[index]);
        partStart = index;
        partGlyphs = shaped.glyphs.size();
        partX = x;
        shaped.glyphs.push_back(
            {table.rules->glyphs[character], static_cast<u32>(index), x, x, 0, unsafe});
        x += table.advances[character] + kerning;
        unsafe = kerning != 0;
        return true;
    }

    // Sets the joined characters that begin at `index`, anew with the part before them, whose
    // advance depends on what they become. `index` is then behind them. False when they are too
    // many.
    bool SetJoined(std::size_t& index) {
        std::size_t end = index + 1;
        while (JoinedAfter(end)) {
            ++end;
        }
        ++end;
        if (end - partStart > kMostJoined) {
            return false;
        }
        const std::size_t withNext = std::min(end + 1, text.size());
        const bool firstUnsafe =
            partGlyphs < shaped.glyphs.size() ? shaped.glyphs[partGlyphs].unsafe : unsafe;
        static ShapedText joined;
        ShapePart(font, text, partStart, withNext, script, joined);
        shaped.glyphs.resize(partGlyphs);
        i64 width = joined.width;
        bool nextUnsafe = false;
        for (const ShapedGlyph& glyph : joined.glyphs) {
            if (glyph.cluster >= end) {
                width = glyph.before;
                nextUnsafe = glyph.unsafe;
                break;
            }
            shaped.glyphs.push_back(
                {glyph.glyph, glyph.cluster, partX + glyph.x, partX + glyph.before, glyph.y,
                 shaped.glyphs.size() == partGlyphs ? firstUnsafe : glyph.unsafe});
        }
        x = partX + width;
        unsafe = nextUnsafe;
        index = end;
        return true;
    }
};

}  // namespace

bool SetByPairs(const TextFont& font, std::string_view text, SimpleScript script,
                ShapedText& shaped) {
    const PairTable* const table = TableOf(font, script);
    if (table == nullptr || !std::all_of(text.begin(), text.end(), IsPlain)) {
        return false;
    }
    shaped.glyphs.clear();
    Setting setting = {font, *table, text, script, shaped};
    for (std::size_t i = 0; i < text.size();) {
        if (setting.JoinedAfter(i)) {
            if (!setting.SetJoined(i)) {
                return false;
            }
        } else if (!setting.SetPlain(i++)) {
            return false;
        }
    }
    shaped.width = setting.x;
    return true;
}

bool MeasureByPairs(const TextFont& font, std::string_view text, SimpleScript script, i64& width) {
    const PairTable* const table = TableOf(font, script);
    if (table == nullptr || !std::all_of(text.begin(), text.end(), IsPlain)) {
        return false;
    }
    width = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const u32 character = PlainIndex(text[i]);
        width += table->advances[character];
        if (i + 1 == text.size()) {
            break;
        }
        const i32 kerning = table->kerning[character][PlainIndex(text[i + 1])];
        if (kerning == kUnknownPair) {
            return false;
        }
        width += kerning;
    }
    return true;
}

void LearnPairs(const TextFont& font, std::string_view text, SimpleScript script,
                const ShapedText& shaped) {
    PairTable* const table = TableOf(font, script);
    if (table == nullptr) {
        return;
    }
    for (std::size_t i = 0; i + 1 < shaped.glyphs.size(); ++i) {
        const ShapedGlyph& glyph = shaped.glyphs[i];
        const ShapedGlyph& next = shaped.glyphs[i + 1];
        if (next.cluster != glyph.cluster + 1) {
            continue;
        }
        if (!IsPlain(text[glyph.cluster]) || !IsPlain(text[next.cluster])) {
            continue;
        }
        const u32 a = PlainIndex(text[glyph.cluster]);
        const u32 b = PlainIndex(text[next.cluster]);
        // A ligature of the two, or with what follows, has other glyphs.
        if (table->rules->joined[a][b] || glyph.glyph != table->rules->glyphs[a] ||
            next.glyph != table->rules->glyphs[b]) {
            continue;
        }
        table->kerning[a][b] = static_cast<i32>(next.before - glyph.before) - table->advances[a];
    }
}

}  // namespace moxi
