#pragma once
// A WAV file of 16-bit stereo at kAudioRate, written as it comes.

#include <cstdio>
#include <string>

#include "base/types.h"

namespace moxi {

struct WavWriter {
    std::FILE* file = nullptr;
    u64 bytes = 0;  // of samples
    bool failed = false;
};

// False when the file cannot be made.
bool OpenWav(WavWriter& writer, const std::string& path);

// Appends frames of two samples. What is beyond the 4 GB that the format holds is left out.
void WriteWav(WavWriter& writer, const i16* samples, u32 frames);

// Completes the header and closes. False when anything could not be written.
bool CloseWav(WavWriter& writer);

}  // namespace moxi
