#pragma once
// The desktop's text system as MOXI sees it: fonts by family and size, measuring, and glyph
// coverage. Colours, boxes and lines are the business of gfx/draw_text. Filled by one
// implementation (desktop/pango) before the application starts; main thread only.
//
// Text must be valid UTF-8 without a NUL, and not empty. It is set as one line: a line break or
// another control character takes no room, a tab goes to the next multiple of 28. Lengths are
// pixels, and a font of size 20 is 20 pixels high whatever the desktop's resolution. The width of a
// text is the sum of its glyphs' advances, trailing spaces included; ink may reach beyond it.

#include <string_view>

#include "base/types.h"

namespace moxi {

enum class FontFamily : u8 { Helvetica, Times, Courier };

struct FontStyle {
    FontFamily family;
    bool bold;
    bool italic;
};

// The measures of a line of a font, which are the same for every text.
struct TextLine {
    double height;
    double descent;  // how much of it lies below the baseline
};

struct TextFit {
    bool whole;            // all of the text fits into the width
    std::size_t overflow;  // else the byte at which the first character starts that does not fit
};

// How much of each pixel the glyphs cover, 0..255. Column 0 is where the text starts, row 0 the
// first row below the baseline. Outside the picture nothing is covered; ink that is further than
// eight font sizes from the baseline is left out.
struct TextPicture {
    const u8* coverage;  // rows top first; null when nothing is covered
    std::size_t stride;  // bytes from row to row
    i32 left, top;       // column and row of the first byte
    i32 width, height;
};

// One font at one size. What is in it only the engine knows.
struct TextFont;

struct TextEngine {
    // The font of a style, with a size above 0. A missing family is replaced by the nearest one, so
    // the result is null only where there is no engine. The caller releases the font.
    TextFont* (*makeFont)(FontStyle style, double size);
    void (*releaseFont)(TextFont* font);

    TextLine (*line)(const TextFont* font);

    // The width of a text.
    double (*measure)(TextFont* font, std::string_view text);

    // Whether the text is at most `width` wide, and else where it has to be cut: at the first
    // character with which the beginning of the text is wider. The time that this takes grows with
    // the part that fits, not with the whole text.
    TextFit (*fit)(TextFont* font, std::string_view text, double width);

    // The picture of the text, of columns 0 to `columns` - 1 at most; with `underline` a line under
    // the whole width. The engine owns the bytes, which are valid until its next call.
    TextPicture (*draw)(TextFont* font, std::string_view text, bool underline, i32 columns);
};

// Harmless defaults: text without size.
inline constinit TextEngine textEngine = {
    .makeFont = [](FontStyle, double) -> TextFont* { return nullptr; },
    .releaseFont = [](TextFont*) {},
    .line = [](const TextFont*) { return TextLine{}; },
    .measure = [](TextFont*, std::string_view) { return 0.0; },
    .fit =
        [](TextFont*, std::string_view, double) {
            return TextFit{true, 0};
        },
    .draw = [](TextFont*, std::string_view, bool, i32) { return TextPicture{}; },
};

}  // namespace moxi
