#pragma once
// The fonts that Draw Text uses: a box height and a style give a font, and the last hundred of them
// are kept.

#include "base/types.h"
#include "desktop/text_engine.h"

namespace moxi {

constexpr u32 kFontCacheSize = 100;

// Style flags of Draw Text that choose the font. Courier goes before Times; neither is Helvetica.
constexpr u32 kTextCourier = 1U << 21;
constexpr u32 kTextBold = 1U << 22;
constexpr u32 kTextTimes = 1U << 24;
constexpr u32 kTextItalic = 1U << 27;
constexpr u32 kTextUnderline = 1U << 28;
// Two texts share an entry of the cache where these are equal. The underline counts, though it
// does not change the font.
constexpr u32 kFontStyleFlags = 0x19600000;
static_assert(kFontStyleFlags ==
              (kTextCourier | kTextBold | kTextTimes | kTextItalic | kTextUnderline));

// An entry of the cache, linked from the most to the least recently used. A free one has size -1.
struct FontEntry {
    i32 size;   // height of the box
    i32 style;  // flags and kFontStyleFlags
    i32 previous;
    i32 next;
};

extern FontEntry fontCache[kFontCacheSize];
extern i32 fontCacheHead;  // -1 when the cache is empty

struct FittedFont {
    TextFont* font;  // the caller's to release
    double size;
};

// The largest whole-point size, searched from the maximal height (or half of the text bitmap's, if
// that is less high) upward and then downward, at which the text is less wide and less high than
// asked. Below size 6 the search ends whether it fits or not.
FittedFont FitFont(const char* text, i32 maximalWidth, i32 maximalHeight, u32 flags);

// The font for boxes of this height (above 0), from the cache or fitted anew.
TextFont* FontFor(i32 height, u32 flags);

// Releases every font. Called when the text bitmap is made.
void EmptyFontCache();

}  // namespace moxi
