#pragma once
// From ticks to times: works out by the tempo map when each event of a MIDI file is due, exactly,
// and where the piece ends.

#include <memory>

#include "audio/smf.h"
#include "desktop/audio_out.h"

namespace moxi {

struct Score {
    std::shared_ptr<const MusicPiece> piece;
    // The first nanosecond at which the position has reached the longest track's end and one beat
    // more, at the tempo that holds there. With real-time division a beat is half a second.
    u64 end = 0;
};

// Times that do not fit are "never", the largest number.
Score PrepareScore(const SmfFile& file);

}  // namespace moxi
