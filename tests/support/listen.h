#pragma once
// Listens to rendered samples.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// Stereo at 44,100 frames a second, left and right in turn.
struct Recording {
    std::vector<i16> samples;
    size_t Frames() const { return samples.size() / 2; }
};

// Reads a 16-bit stereo WAV file of that rate; fails the running test for any other.
Recording ReadRecording(const std::string& path);

// A part of a recording, in seconds.
Recording Part(const Recording& recording, f64 from, f64 to);

// The largest magnitude of a sample, 0..32768.
i32 Peak(const Recording& recording);
// The mean magnitude (root of the mean square).
f64 Loudness(const Recording& recording);
// Seconds to the first sample of at least this magnitude; -1 when there is none.
f64 FirstSound(const Recording& recording, i32 magnitude);
// The largest step from one frame to the next, of both sides.
i32 LargestStep(const Recording& recording);

// How strong one frequency is in both sides together: about the amplitude of a sine, 0..1.
f64 Strength(const Recording& recording, f64 frequency);
// The MIDI key whose frequency is the strongest among those from `lowest` to `highest`.
int StrongestKey(const Recording& recording, int lowest = 36, int highest = 96);
f64 KeyFrequency(int key);

}  // namespace moxi
