#pragma once
// Decoding sound files: WAV of every kind that SDL reads (8, 16, 24 and 32-bit integers, floating
// point, compressed ones), and nothing else.

#include <span>
#include <string>

#include "desktop/synth/renderer.h"

namespace moxi {

// Decodes the file into stereo at kAudioRate. False for one that cannot be; `reason` says why.
bool DecodeSound(std::span<const u8> file, Sound& sound, std::string& reason);

// Whether the file would be decoded.
bool CheckSound(std::span<const u8> file, std::string& reason);

}  // namespace moxi
