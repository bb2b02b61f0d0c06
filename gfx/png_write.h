#pragma once
// Writes PNG files of the host's own (dumps and screenshots), outside the module's folders.

#include <string>

#include "base/types.h"

namespace moxi {

enum class PngFormat : u8 {
    Rgba,     // source: R, G, B, A; written with alpha, bytes as they are
    RgbFrom4  // source: R, G, B, unused; written without alpha
};

// Rows top first, `stride` bytes apart. An image without width or height is not written. False
// when the image cannot be encoded or the file cannot be written; a file half written is removed.
bool WritePngFile(const std::string& path, const u8* pixels, u32 width, u32 height, u32 stride,
                  PngFormat format);

}  // namespace moxi
