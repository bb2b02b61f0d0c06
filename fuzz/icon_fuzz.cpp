// Any bytes as a game's icon: a PNG, or an icon family with PNGs in it, whose check sums are mended
// so that what they cover is looked at.

#include "fuzz/memory_file.h"
#include "fuzz/png_mutator.h"
#include "host/game_info.h"

namespace moxi {

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    const MemoryFile file({reinterpret_cast<const char*>(data), size});
    PngPicture picture;
    if (ReadIconFile(file.Path(), picture)) {
        Require(picture.width > 0 && picture.width <= 1024 && picture.height > 0 &&
                picture.height <= 1024);
        Require(picture.pixels.size() == std::size_t{4} * picture.width * picture.height);
    }
    return 0;
}

}  // namespace moxi
