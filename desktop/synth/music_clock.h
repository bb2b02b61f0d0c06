#pragma once
// The position of the music as it is told to the game. As long as rendering goes on, it is how much
// of the piece has been rendered. When the device is missing or hangs, the time that passes is
// counted instead, so that no game waits for ever for the end of its music. All times are
// nanoseconds.

#include "base/types.h"

namespace moxi {

struct MusicClock {
    u64 startedAt = 0;
    u64 askedAt = 0;   // when the position was asked for last
    u64 rendered = 0;  // how much had been rendered then
    u64 standing = 0;  // for how long `rendered` has been the same
    u64 lead = 0;      // what was counted while nothing was rendered; added to `rendered`
};

// A piece starts at the time `now`.
void RestartMusicClock(MusicClock& clock, u64 now);

// The position at the time `now`, which must not go backwards. `rendered` is how much of the piece
// has been rendered; `lost` says that nothing ever will be, and then only the time counts.
u64 MusicClockPosition(MusicClock& clock, u64 rendered, bool lost, u64 now);

}  // namespace moxi
