#pragma once
// The position of the music as it is told to the game. It is that of the rendering, as long as
// there is one that gets on; a device that is not there, or hangs, must not keep a game waiting for
// the end of its music, so then the clock counts. All times are nanoseconds.

#include "base/types.h"

namespace moxi {

struct MusicClock {
    u64 startedAt = 0;
    u64 askedAt = 0;
    u64 rendered = 0;  // at the last question
    u64 standing = 0;  // how long it has been the same
    u64 lead = 0;      // what the clock has counted
};

void RestartMusicClock(MusicClock& clock, u64 now);

// `rendered` is how much of the piece has been rendered; `lost` says that nothing ever will be.
u64 MusicClockPosition(MusicClock& clock, u64 rendered, bool lost, u64 now);

}  // namespace moxi
