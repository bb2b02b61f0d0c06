// The reader of WAV headers, with any bytes as a file.

#include <vector>

#include "audio/wav.h"

namespace moxi {

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    // A copy of its own, so that a step beyond the end is seen.
    const std::vector<u8> header(data, data + size);
    volatile const u32 milliseconds = WavMilliseconds(header);
    static_cast<void>(milliseconds);
    return 0;
}

}  // namespace moxi
