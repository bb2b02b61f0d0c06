#pragma once
// Text that needs more than one font, direction or script, measured, cut and drawn. The time grows
// with the length of the text, whatever it is made of.

#include <string_view>
#include <vector>

#include "desktop/pango/text_font.h"

namespace moxi {

// The width of the text in 1/1024 pixel.
i64 MeasureLayout(const TextFont& font, std::string_view text);

// The byte at which the first character starts with which the text is wider than `width`, in
// pixels; npos when there is none.
std::size_t FindLayoutOverflow(const TextFont& font, std::string_view text, double width);

// Draws columns 0 to `columns` - 1; the picture's rows lie in `bytes`, to which the caller has to
// point `coverage`.
TextPicture DrawLayout(TextFont& font, std::string_view text, i32 columns, std::vector<u8>& bytes);

// Forgets the text that was set last. For tests.
void ResetLayoutText();

}  // namespace moxi
