#pragma once
// Writes a WAV file of 16-bit stereo at kAudioRate, sample by sample as they are rendered.

#include <cstdio>
#include <string>

#include "base/types.h"

namespace moxi {

struct WavWriter {
    std::FILE* file = nullptr;
    u64 bytes = 0;        // of samples so far
    bool failed = false;  // something could not be written
};

// Makes the file, in place of one that is there. False when it cannot be made. The other functions
// need a writer for which this was true.
bool OpenWav(WavWriter& writer, const std::string& path);

// Appends `frames` frames of two samples each: left, right. What is beyond the 4 GB that the format
// can hold is left out.
void WriteWav(WavWriter& writer, const i16* samples, u32 frames);

// Completes the header and closes. False when anything could not be written.
bool CloseWav(WavWriter& writer);

}  // namespace moxi
