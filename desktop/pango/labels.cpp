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

namespace {

constexpr std::size_t kMostLabels = 512;
constexpr std::size_t kMostBytes = 8 << 20;
constexpr std::size_t kLongestText = 1024;  // a longer one is not kept
constexpr std::size_t kLargestPicture = 1 << 20;

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
Label longLabel;

void DropOldest() {
    const Entry& oldest = labels.back();
    keptBytes -= oldest.label.bytes.size();
    byKey.erase(oldest.GetKey());
    labels.pop_back();
}

TextSize MeasureText(TextFont& font, std::string_view text) {
    const SimpleScript script = ScriptOfText(font, text);
    i32 width = 0;
    if (script == SimpleScript::None) {
        return MeasureRuns(font, text, width)
                   ? TextSize{static_cast<double>(width) / PANGO_SCALE, font.line.Height()}
                   : MeasureLayout(font, text);
    }
    return {static_cast<double>(Shape(font, text, script).width) / PANGO_SCALE, font.line.Height()};
}

struct PlacedGlyph {
    u32 glyph;
    i32 left, top;
};

// Glyphs are added a block of bytes at a time, so a picture's bytes end with room for one.
using Block = u8 __attribute__((vector_size(kGlyphBlock)));

// The sums of the bytes, at most 255 each.
void AddBytes(u8* target, const u8* source) {
    Block a;
    Block b;
    std::memcpy(&a, target, sizeof a);
    std::memcpy(&b, source, sizeof b);
    const Block sum = a + b;
    const Block most = sum | reinterpret_cast<Block>(sum < a);
    std::memcpy(target, &most, sizeof most);
}

void AddGlyph(const GlyphPicture& from, const PlacedGlyph& glyph, const TextPicture& into,
              std::vector<u8>& bytes) {
    const i32 first = std::max(0, into.left - glyph.left);
    const i32 end = std::min(from.width, into.left + into.width - glyph.left);
    const bool isWhole = first == 0 && end == from.width;
    const u8* source = from.coverage.data();
    u8* target = bytes.data() + static_cast<std::ptrdiff_t>(glyph.top - into.top) * into.width +
                 (glyph.left - into.left);
    for (i32 row = 0; row < from.height; ++row, source += from.stride, target += into.width) {
        if (isWhole) {
            // What is beyond the glyph's width adds nothing to the bytes that follow.
            for (std::size_t x = 0; x < from.stride; x += kGlyphBlock) {
                AddBytes(target + x, source + x);
            }
            continue;
        }
        for (i32 x = first; x < end; ++x) {
            target[x] = static_cast<u8>(std::min(255, target[x] + source[x]));
        }
    }
}

// The same picture that Cairo draws: glyphs on whole pixels, their coverage added.
TextPicture DrawSimple(TextFont& font, std::string_view text, SimpleScript script, i32 columns,
                       std::vector<u8>& bytes) {
    static std::vector<PlacedGlyph> placed;
    const ShapedText& shaped = Shape(font, text, script);
    placed.clear();
    i32 left = columns;
    i32 right = 0;
    i32 top = 0;
    i32 bottom = 0;
    for (const ShapedGlyph& glyph : shaped.glyphs) {
        const GlyphPicture& picture = PictureOf(font, glyph.glyph);
        if (picture.width == 0) continue;
        const auto pixel = [](i32 units) {
            return static_cast<i32>(std::floor(static_cast<double>(units) / PANGO_SCALE + 0.5));
        };
        const PlacedGlyph one = {glyph.glyph, pixel(glyph.x) + picture.left,
                                 pixel(glyph.y) + picture.top};
        if (one.left >= columns || one.left + picture.width <= 0) continue;
        top = placed.empty() ? one.top : std::min(top, one.top);
        bottom =
            placed.empty() ? one.top + picture.height : std::max(bottom, one.top + picture.height);
        left = std::min(left, one.left);
        right = std::max(right, one.left + picture.width);
        placed.push_back(one);
    }
    if (placed.empty()) return {};
    left = std::max(left, 0);
    right = std::min(right, columns);
    const TextPicture picture = {
        nullptr, static_cast<std::size_t>(right - left), left, top, right - left, bottom - top};
    bytes.assign(picture.stride * static_cast<std::size_t>(picture.height) + kGlyphBlock, 0);
    for (const PlacedGlyph& glyph : placed) {
        AddGlyph(PictureOf(font, glyph.glyph), glyph, picture, bytes);
    }
    return picture;
}

// Extends the picture so that it holds the underline, and draws that.
void AddUnderline(const TextFont& font, double width, i32 columns, TextPicture& picture,
                  std::vector<u8>& bytes) {
    const i32 lineRight = std::min(columns, static_cast<i32>(std::lround(std::min(width, 1e9))));
    if (lineRight <= 0) return;
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
        longLabel = {};
        longLabel.size = MeasureText(font, text);
        return longLabel;
    }
    if (const auto found = byKey.find(key); found != byKey.end()) {
        labels.splice(labels.begin(), labels, found->second);
        return found->second->label;
    }
    while (labels.size() >= kMostLabels || keptBytes > kMostBytes) DropOldest();
    labels.push_front({font.id, underline, std::string(text), {}});
    labels.front().label.size = MeasureText(font, text);
    byKey.emplace(labels.front().GetKey(), labels.begin());
    return labels.front().label;
}

void DrawLabel(TextFont& font, std::string_view text, bool underline, i32 columns, Label& label) {
    // A picture that ends before its columns do is complete for more columns as well.
    if (label.drawn && (label.columns == columns || label.picture.left + label.picture.width <
                                                        std::min(label.columns, columns))) {
        return;
    }
    const bool kept = &label != &longLabel;
    if (kept) keptBytes -= label.bytes.size();
    label.bytes.clear();
    const SimpleScript script = ScriptOfText(font, text);
    label.picture = script == SimpleScript::None
                        ? DrawLayout(font, text, columns, label.bytes)
                        : DrawSimple(font, text, script, columns, label.bytes);
    if (underline) AddUnderline(font, label.size.width, columns, label.picture, label.bytes);
    label.picture.coverage = label.bytes.empty() ? nullptr : label.bytes.data();
    label.columns = columns;
    label.drawn = label.bytes.size() <= kLargestPicture;
    if (kept) keptBytes += label.bytes.size();
}

void ForgetLabels() {
    labels.clear();
    byKey.clear();
    keptBytes = 0;
    longLabel = {};
}
