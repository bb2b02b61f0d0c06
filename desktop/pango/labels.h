#pragma once
// The texts that were measured and drawn last, with their widths and pictures: a game draws the
// same labels again and again.

#include <string_view>
#include <vector>

#include "desktop/pango/text_font.h"

namespace moxi {

struct Label {
    double width;
    // Set when drawn: the picture for this many columns, its rows in `bytes`.
    bool drawn;
    i32 columns;
    TextPicture picture;
    std::vector<u8> bytes;
};

// The label of a text; measured when it is new. Valid until the next call.
Label& FindLabel(TextFont& font, std::string_view text, bool underline);

void DrawLabel(TextFont& font, std::string_view text, bool underline, i32 columns, Label& label);

void ForgetLabels();

}  // namespace moxi
