// Any bytes as a PNG file, through Load Image.

#include "fuzz/image_fuzz.h"
#include "fuzz/png_sums.h"

namespace moxi {

extern "C" std::size_t LLVMFuzzerMutate(u8* data, std::size_t size, std::size_t most);

// What the check sums cover is looked at only where they are right.
extern "C" std::size_t LLVMFuzzerCustomMutator(u8* data, std::size_t size, std::size_t most,
                                               unsigned seed) {
    size = LLVMFuzzerMutate(data, size, most);
    if (seed % 8 != 0) {
        MendPngSums(data, size);
    }
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    image_fuzz::LoadFuzzedImage(data, size);
    return 0;
}

}  // namespace moxi
