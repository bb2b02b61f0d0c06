#pragma once
// Text that needs more than one font, direction or script: set by a Pango layout.

#include <string_view>
#include <vector>

#include "desktop/pango/text_font.h"

TextSize MeasureLayout(TextFont& font, std::string_view text);

TextFit FitLayout(TextFont& font, std::string_view text, double width);

// Draws columns 0 to `columns` - 1; the picture's rows lie in `bytes`.
TextPicture DrawLayout(TextFont& font, std::string_view text, i32 columns, std::vector<u8>& bytes);
