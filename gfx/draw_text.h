#pragma once
// Draw Text: one line of UTF-8 in a font that fits the height of a box, whole or cut so that the
// module can set paragraphs line by line.
//
// The text is drawn in the text bitmap, over a background, and copied from there, so everything
// that it covers is opaque. Where the destination under the box is not opaque, the text and its
// background of a first drawing shine through under the second one.

#include "base/types.h"
#include "gfx/fonts.h"

namespace moxi {

constexpr u32 kTextCentred = 1U << 17;
constexpr u32 kTextRight = 1U << 18;        // without kTextCentred
constexpr u32 kTextCut = 1U << 29;          // too wide: cut after any character
constexpr u32 kTextWrap = 1U << 30;         // too wide: cut after a space
constexpr u32 kTextMeasureOnly = 1U << 31;  // nothing reaches the destination
constexpr u32 kNoBackground = 0xFFFFFFFF;

// Nine words at `block`: destination handle, address of the text, x, y, width and height of the
// box, style flags, background colour or kNoBackground, text colour. Returns the width drawn << 16
// plus the bytes of the text that were used; 0 when nothing was drawn: an empty box (or one of
// negative size), an empty text, one that is not UTF-8, one of which nothing fits.
u32 DrawText(u32 block);

}  // namespace moxi
