#pragma once
// Where texts stop fitting, and the answers given last: a paragraph that is laid out again asks the
// same questions again.

#include <string_view>

#include "desktop/pango/text_font.h"

namespace moxi {

TextFit FitText(TextFont& font, std::string_view text, double width);

void ForgetFits();

}  // namespace moxi
