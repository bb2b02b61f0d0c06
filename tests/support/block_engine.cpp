#include "tests/support/block_engine.h"

#include <algorithm>
#include <vector>

namespace moxi {

struct TextFont {
    double size;
};

BlockEngine blockEngine;

namespace {

constexpr i32 kWide = 10;
constexpr i32 kRowsAbove = 8;
const TextEngine kNoEngine = textEngine;

bool StartsCharacter(char c) {
    return (static_cast<u8>(c) & 0xC0) != 0x80;
}

i32 WidthOf(std::string_view text) {
    return kWide * static_cast<i32>(std::count_if(text.begin(), text.end(), StartsCharacter));
}

TextFont* MakeFont(FontStyle, double size) {
    ++blockEngine.fontsMade;
    blockEngine.lastSize = size;
    return new TextFont{size};
}

void ReleaseFont(TextFont* font) {
    ++blockEngine.fontsReleased;
    delete font;
}

TextLine Line(const TextFont* font) {
    return {font->size * blockEngine.heightFactor, font->size / 4};
}

TextFit Fit(TextFont*, std::string_view text, double width) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!StartsCharacter(text[i])) {
            continue;
        }
        if (WidthOf(text.substr(0, i + 1)) > width) {
            return {false, i};
        }
    }
    return {true, 0};
}

TextPicture Draw(TextFont*, std::string_view text, bool underline, i32 columns) {
    static std::vector<u8> bytes;
    const i32 width = std::min(columns, WidthOf(text) + blockEngine.overhang);
    const i32 height = kRowsAbove + std::max(blockEngine.rowsBelow, underline ? 2 : 0);
    bytes.assign(static_cast<std::size_t>(width * height), 0);
    const auto fill = [&](i32 left, i32 right, i32 top, i32 bottom) {
        for (i32 y = top; y < bottom; ++y) {
            for (i32 x = left; x < std::min(right, width); ++x) {
                bytes[static_cast<std::size_t>(y * width + x)] = 255;
            }
        }
    };
    i32 x = 0;
    for (const char c : text) {
        if (!StartsCharacter(c)) {
            continue;
        }
        const bool last = x + kWide == WidthOf(text);
        if (c != ' ') {
            fill(x + 1, x + 9 + (last ? blockEngine.overhang : 0), 0,
                 kRowsAbove + blockEngine.rowsBelow);
        }
        x += kWide;
    }
    if (underline) {
        fill(0, WidthOf(text), kRowsAbove + 1, kRowsAbove + 2);
    }
    return {bytes.data(), static_cast<std::size_t>(width), 0, -kRowsAbove, width, height};
}

}  // namespace

void StartBlockEngine() {
    blockEngine = {};
    textEngine = {
        .makeFont = MakeFont,
        .releaseFont = ReleaseFont,
        .line = Line,
        .measure = [](TextFont*,
                      std::string_view text) { return static_cast<double>(WidthOf(text)); },
        .fit = Fit,
        .draw = Draw,
    };
}

void EndBlockEngine() {
    textEngine = kNoEngine;
}

}  // namespace moxi
