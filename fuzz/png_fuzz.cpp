// Any bytes as a PNG file, through Load Image.

#include "fuzz/image_fuzz.h"
#include "fuzz/png_mutator.h"

namespace moxi {

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    image_fuzz::LoadFuzzedImage(data, size);
    return 0;
}

}  // namespace moxi
