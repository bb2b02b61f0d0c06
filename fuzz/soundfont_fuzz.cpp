// Any bytes as a SoundFont that is cut to what a game plays. What comes out is whole: cut once more
// it stays as it is.

#include <string>

#include "fuzz/require.h"
#include "kit/small_soundfont.h"

namespace moxi {

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    UsedPrograms used;
    used.pieces = 1;
    for (u32 i = 0; i < 3 && size > 0; ++i) {
        used.melodic[data[--size] & 7].set(data[size] >> 1);
    }
    used.percussion[0].set();
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::string small;
    if (!CutSoundFont(bytes, used, small).empty()) {
        return 0;
    }
    // One without any sound is none.
    const bool isSilent = small.find(std::string("smpl\0\0\0\0", 8)) != std::string::npos;
    std::string again;
    Require(CutSoundFont(small, used, again).empty() || isSilent);
    Require(again.size() <= small.size());
    return 0;
}

}  // namespace moxi
