#pragma once
// Standard MIDI Files: formats 0, 1 and 2, with either kind of time division. All tracks start
// together, also those of format 2. The reader is strict about structure, so that a damaged file is
// known as one, and forgiving about what editors leave behind: a missing end-of-track event,
// running status across meta events, unknown chunks, bytes after the last track.

#include <span>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct SmfEvent {
    u64 tick = 0;   // since the start
    u32 value = 0;  // FF: microseconds a beat, never 0; F0: where the message starts in `sysex`
    u8 status = 0;  // 80..EF a channel message, F0 system exclusive, FF a change of tempo
    u8 data1 = 0;   // 0..127
    u8 data2 = 0;   // 0..127
};

struct SmfFile {
    // Time division: either a number of ticks a beat, or real time, in which a frame of
    // `secondDenominator` / `framesPerSecond` seconds has `ticksPerFrame` ticks.
    bool realTime = false;
    u32 ticksPerBeat = 0;     // 1..32767
    u32 framesPerSecond = 0;  // 24, 25, 30, or 30000 with the denominator 1001
    u32 secondDenominator = 1;
    u32 ticksPerFrame = 0;  // 1..255

    std::vector<SmfEvent> events;  // of all tracks, by tick; at the same tick by track
    std::vector<u8> sysex;         // messages: a length byte, then the bytes between F0 and F7
    u64 longestTrack = 0;          // ticks
};

// False for a file that is damaged or none at all; `reason` says why in a few words.
bool ReadSmf(std::span<const u8> bytes, SmfFile& file, std::string& reason);

}  // namespace moxi
