#pragma once
// Keeps the texts that were measured and drawn last, with their widths and pictures, because a game
// draws the same labels again and again.

#include <string_view>
#include <vector>

#include "desktop/pango/text_font.h"

namespace moxi {

struct Label {
    double width;  // pixels
    // When `drawn`: the picture for this many columns, its rows in `bytes`. A very large picture
    // never counts as drawn, so that it is made again each time.
    bool drawn;
    i32 columns;
    TextPicture picture;
    std::vector<u8> bytes;
};

// The label of a text; measured when it is new. Valid until the next call of FindLabel.
Label& FindLabel(TextFont& font, std::string_view text, bool underline);

// Makes the label's picture of columns 0 to `columns` - 1, if it is not there yet. `label` is what
// FindLabel gave for the same font, text and underline.
void DrawLabel(TextFont& font, std::string_view text, bool underline, i32 columns, Label& label);

// Forgets all labels. For tests.
void ForgetLabels();

}  // namespace moxi
