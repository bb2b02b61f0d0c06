#include "desktop/pango/labels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <list>
#include <string>
#include <unordered_map>

#include "desktop/pango/layout_text.h"
#include "desktop/pango/simple_text.h"

namespace moxi {

namespace {

constexpr std::size_t kMostLabels = 512;
constexpr std::size_t kMostBytes = 8 << 20;       // of all their pictures
constexpr std::size_t kLongestText = 1024;        // bytes; of longer ones only the last is kept
constexpr std::size_t kLargestPicture = 1 << 20;  // bytes; a larger one is drawn anew each time

struct Key {
    u64 font;
    bool underline;
    std::string_view text;
    bool operator==(const Key&) const = default;
};
struct HashKey {
    std::size_t operator()(const Key& key) const {
        return std::hash<std::string_view>()(key.text) ^
               (key.font * 2 + (key.underline ? 1 : 0)) * 0x9E3779B97F4A7C15;
    }
};

struct Entry {
    u64 font;
    bool underline;
    std::string text;
    Label label;
    Key GetKey() const { return {font, underline, text}; }
};

// The most recently used first.
std::list<Entry> labels;
std::unordered_map<Key, std::list<Entry>::iterator, HashKey> byKey;
std::size_t keptBytes = 0;
// The last one that is too long to be kept with the others.
Entry longLabel;

void DropOldest() {
    const Entry& oldest = labels.back();
    keptBytes -= oldest.label.bytes.size();
    byKey.erase(oldest.GetKey());
    labels.pop_back();
}

i64 MeasureText(TextFont& font, std::string_view text) {
    const SimpleScript script = ScriptOfText(font, text);
    if (script != SimpleScript::None) {
        return SimpleWidth(font, text, script);
    }
    i64 width = 0;
    return MeasureRuns(font, text, width) ? width : MeasureLayout(font, text);
}

// Measures the text of a label that is new.
void Measure(TextFont& font, std::string_view text, Label& label) {
    label.width = static_cast<double>(MeasureText(font, text)) / PANGO_SCALE;
}

TextPicture DrawSimple(TextFont& font, std::string_view text, SimpleScript script, i32 columns,
                       std::vector<u8>& bytes) {
    static std::vector<PlacedGlyph> placed;
    placed.clear();
    for (const ShapedGlyph& glyph : ShapeStart(font, text, script, columns).glyphs) {
        placed.push_back(PlaceGlyph(font.pictures, glyph.glyph, glyph.x, glyph.y));
    }
    return AddGlyphs(placed, columns, MostRows(font), bytes);
}

// Extends the picture so that it holds the underline, and draws that.
void AddUnderline(const TextFont& font, double width, i32 columns, TextPicture& picture,
                  std::vector<u8>& bytes) {
    const i32 lineRight = std::min(columns, static_cast<i32>(std::lround(std::min(width, 1e9))));
    if (lineRight <= 0) {
        return;
    }
    const i32 lineTop = font.underlineTop;
    const i32 lineBottom = lineTop + font.underlineRows;
    const bool empty = picture.width == 0;
    TextPicture larger = {};
    larger.top = empty ? lineTop : std::min(picture.top, lineTop);
    const i32 bottom = empty ? lineBottom : std::max(picture.top + picture.height, lineBottom);
    const i32 right = empty ? lineRight : std::max(picture.left + picture.width, lineRight);
    larger.width = right;
    larger.height = bottom - larger.top;
    larger.stride = static_cast<std::size_t>(right);
    std::vector<u8> rows(larger.stride * static_cast<std::size_t>(larger.height), 0);
    const auto at = [&](i32 row, i32 column) {
        return rows.data() + static_cast<std::ptrdiff_t>(row - larger.top) * larger.width + column;
    };
    for (i32 row = 0; row < picture.height; ++row) {
        std::memcpy(at(picture.top + row, picture.left),
                    bytes.data() + static_cast<std::ptrdiff_t>(row) * picture.width,
                    static_cast<std::size_t>(picture.width));
    }
    for (i32 row = lineTop; row < lineBottom; ++row) {
        std::memset(at(row, 0), 255, static_cast<std::size_t>(lineRight));
    }
    bytes.swap(rows);
    picture = larger;
}

}  // namespace

Label& FindLabel(TextFont& font, std::string_view text, bool underline) {
    const Key key = {font.id, underline, text};
    if (text.size() > kLongestText) {
        if (longLabel.font != font.id || longLabel.text != text) {
            longLabel = {font.id, underline, std::string(text), {}};
            Measure(font, text, longLabel.label);
        }
        // Its width is the same with an underline.
        if (longLabel.underline != underline) {
            longLabel.label.drawn = false;
        }
        longLabel.underline = underline;
        return longLabel.label;
    }
    if (const auto found = byKey.find(key); found != byKey.end()) {
        labels.splice(labels.begin(), labels, found->second);
        return found->second->label;
    }
    while (labels.size() >= kMostLabels || keptBytes > kMostBytes) {
        DropOldest();
    }
    labels.push_front({font.id, underline, std::string(text), {}});
    Measure(font, text, labels.front().label);
    byKey.emplace(labels.front().GetKey(), labels.begin());
    return labels.front().label;
}

void DrawLabel(TextFont& font, std::string_view text, bool underline, i32 columns, Label& label) {
    // A picture that ends before its columns do is complete for more columns as well.
    if (label.drawn && (label.columns == columns || label.picture.left + label.picture.width <
                                                        std::min(label.columns, columns))) {
        return;
    }
    const bool kept = &label != &longLabel.label;
    if (kept) {
        keptBytes -= label.bytes.size();
    }
    label.bytes.clear();
    TrimGlyphPictures();
    const SimpleScript script = ScriptOfText(font, text);
    label.picture = script == SimpleScript::None
                        ? DrawLayout(font, text, columns, label.bytes)
                        : DrawSimple(font, text, script, columns, label.bytes);
    if (underline) {
        AddUnderline(font, label.width, columns, label.picture, label.bytes);
    }
    label.picture.coverage = label.bytes.empty() ? nullptr : label.bytes.data();
    label.columns = columns;
    label.drawn = label.bytes.size() <= kLargestPicture;
    if (kept) {
        keptBytes += label.bytes.size();
    }
}

void ForgetLabels() {
    labels.clear();
    byKey.clear();
    keptBytes = 0;
    longLabel = {};
}

}  // namespace moxi
