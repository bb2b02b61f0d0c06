#pragma once
// One line of text that needs more than one font, direction or script: Pango chooses the fonts and
// sets each run, and the runs are put side by side here, because Pango's own lines take a time that
// grows with the square of their runs and hold no width above 2^31 units.

#include <pango/pango.h>

#include <string>
#include <string_view>
#include <vector>

#include "desktop/pango/text_font.h"

namespace moxi {

// A part of a line in one font and one direction; lengths in 1/1024 pixel.
struct LineRun {
    PangoItem item;            // what it points to belongs to the line's items
    PangoGlyphString* glyphs;  // null for a tab
    i64 width;
};

// A text of moderate length that has been set. Its runs are in the order of the text.
struct LineOfRuns {
    std::string text;        // what was set: no line breaks, no control characters but the tab
    GList* items = nullptr;  // PangoItems, owned
    std::vector<LineRun> runs;
    i64 width = 0;

    LineOfRuns() = default;
    LineOfRuns(const LineOfRuns&) = delete;
    LineOfRuns& operator=(const LineOfRuns&) = delete;
    ~LineOfRuns();
};

// The direction of a text's line, to be given to SetRuns for all of its parts. For a text that is
// one part it is a weak one, which lets Pango go by the first letter.
PangoDirection LineDirection(std::string_view text);

// Sets a text into `into`, which must be new. The text starts `start` from the start of its line,
// in 1/1024 pixel; tabs go to multiples of 28 pixels of the line.
void SetRuns(const TextFont& font, std::string_view text, PangoDirection direction, i64 start,
             LineOfRuns& into);

// The line's runs in the order from left to right. They belong to the line.
std::vector<const LineRun*> VisualOrder(const LineOfRuns& line);

// The beginning of a text that is to be set at once: all of it, when it is not long.
std::string_view FirstPart(std::string_view text);

}  // namespace moxi
