#pragma once
// Reads PNG files of the host's own, such as icons, from memory.

#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

struct PngPicture {
    u32 width = 0;
    u32 height = 0;
    std::vector<u8> pixels;  // R, G, B, A; rows top first, without gaps
};

// False when the bytes are no PNG, or one that is broken or larger than `largestSide` in either
// direction.
bool ReadPng(std::string_view bytes, u32 largestSide, PngPicture& picture);

}  // namespace moxi
