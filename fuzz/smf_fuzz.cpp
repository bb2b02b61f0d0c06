// The MIDI file reader and the working out of its times, with any bytes as a file. What comes out
// is checked against what the player relies on.

#include "audio/score.h"
#include "audio/smf.h"
#include "fuzz/require.h"

namespace moxi {

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    SmfFile file;
    std::string reason;
    if (!ReadSmf({data, size}, file, reason)) {
        Require(!reason.empty());
        return 0;
    }
    const Score score = PrepareScore(file);
    Require(score.piece->events.size() <= file.events.size());
    u64 frame = 0;
    for (const MusicEvent& event : score.piece->events) {
        Require(event.frame >= frame && event.status >= 0x80 && event.status <= 0xF0);
        Require(event.data1 < 0x80 && event.data2 < 0x80);
        frame = event.frame;
        if (event.status != 0xF0) {
            continue;
        }
        const std::vector<u8>& pool = score.piece->sysex;
        Require(event.sysex < pool.size() && pool.size() - event.sysex > pool[event.sysex]);
    }
    Require(score.end > 0);
    return 0;
}

}  // namespace moxi
