#include "desktop/synth/music_clock.h"

#include <algorithm>

namespace moxi {

namespace {

// How long the rendering may stand still before time is counted instead.
constexpr u64 kPatience = 2'000'000'000;
// The most that one question adds to what is counted. More time between two questions means that
// the whole program stood still, and its device with it.
constexpr u64 kLongestGap = 100'000'000;

}  // namespace

void RestartMusicClock(MusicClock& clock, u64 now) {
    clock = {.startedAt = now, .askedAt = now};
}

u64 MusicClockPosition(MusicClock& clock, u64 rendered, bool lost, u64 now) {
    const u64 gap = std::min(now - clock.askedAt, kLongestGap);
    clock.askedAt = now;
    if (lost) {
        return now - clock.startedAt;
    }
    if (rendered != clock.rendered) {
        clock.rendered = rendered;
        clock.standing = 0;
    } else if (clock.standing < kPatience) {
        clock.standing += gap;
    } else {
        clock.lead += gap;
    }
    return clock.rendered + clock.lead;
}

}  // namespace moxi
