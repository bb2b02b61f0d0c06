#pragma once
// Finds where texts stop fitting into a width. The latest answers are kept, because a paragraph
// that is laid out again asks the same questions again.

#include <string_view>

#include "desktop/pango/text_font.h"

namespace moxi {

// What TextEngine::fit answers; `width` in pixels.
TextFit FitText(TextFont& font, std::string_view text, double width);

// Forgets the answers that are kept. For tests.
void ForgetFits();

}  // namespace moxi
