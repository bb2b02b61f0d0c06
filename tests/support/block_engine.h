#pragma once
// A text engine whose pictures can be worked out by hand. Every character is 10 pixels wide and
// fills columns 1 to 8 of its 10, and the 8 rows above the baseline; a space fills nothing. The
// line is as high as the font's size, a quarter of it below the baseline.

#include "desktop/text_engine.h"

namespace moxi {

struct BlockEngine {
    double heightFactor = 1;  // of the line, in font sizes
    i32 rowsBelow = 0;        // further filled rows below the baseline
    i32 overhang = 0;         // columns that the last character fills beyond its 10
    u32 fontsMade = 0;
    u32 fontsReleased = 0;
    double lastSize = 0;
};

extern BlockEngine blockEngine;

// Sets the engine's record, and `blockEngine` to its defaults.
void StartBlockEngine();
// Puts back the engine's harmless defaults.
void EndBlockEngine();

}  // namespace moxi
