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

// A part of a line in one font and direction; lengths in 1/1024 pixel.
struct LineRun {
    PangoItem item;            // its analysis belongs to the line's items
    PangoGlyphString* glyphs;  // null for a tab
    i64 width;
};

// A text of moderate length, set. Runs are in the order of the text.
struct LineOfRuns {
    std::string text;  // what was set: no line breaks, no control characters but the tab
    GList* items = nullptr;
    std::vector<LineRun> runs;
    i64 width = 0;

    LineOfRuns() = default;
    LineOfRuns(const LineOfRuns&) = delete;
    LineOfRuns& operator=(const LineOfRuns&) = delete;
    ~LineOfRuns();
};

// The direction of the line that a text makes. Where the text is set at once it is left to Pango,
// which goes by the first letter.
PangoDirection LineDirection(std::string_view text);

// Sets a text that starts `start` into a line of the direction; tabs go to multiples of 28 pixels.
void SetRuns(const TextFont& font, std::string_view text, PangoDirection direction, i64 start,
             LineOfRuns& into);

// The order of the runs from left to right.
std::vector<const LineRun*> VisualOrder(const LineOfRuns& line);

// The first part of a text that is set at once, which is all of it when it is not long.
std::string_view FirstPart(std::string_view text);

}  // namespace moxi
