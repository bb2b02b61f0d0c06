#pragma once
// Pictures that a run has written, read back pixel by pixel.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct Picture {
    u32 width = 0;
    u32 height = 0;
    std::vector<u8> rgb;

    // 0xRRGGBB; 0xFFFFFFFF outside.
    u32 At(u32 x, u32 y) const;
    // The colour of all pixels of the rectangle; 0xFFFFFFFF when they differ or lie outside.
    u32 Colour(u32 x, u32 y, u32 columns, u32 rows) const;
};

// An empty picture when the file is none. An alpha channel is left out.
Picture ReadPicture(const std::string& path);

}  // namespace moxi
