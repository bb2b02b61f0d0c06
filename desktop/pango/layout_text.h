#pragma once
// Text that needs more than one font, direction or script: set by a Pango layout.

#include <string_view>
#include <vector>

#include "desktop/pango/text_font.h"

TextSize MeasureLayout(TextFont& font, std::string_view text);

// The byte at which the first character starts with which the text is wider than `width`; npos when
// there is none.
std::size_t FindLayoutOverflow(TextFont& font, std::string_view text, double width);

// The height of the whole text, of which the first bytes are laid out and the rest is only looked
// through for the fonts that it needs.
double LayoutHeight(TextFont& font, std::string_view text, std::size_t laidOut);

// Draws columns 0 to `columns` - 1; the picture's rows lie in `bytes`.
TextPicture DrawLayout(TextFont& font, std::string_view text, i32 columns, std::vector<u8>& bytes);
