#pragma once
// Decoding sound files: WAV of every kind that SDL reads (8, 16, 24 and 32-bit integers, floating
// point, compressed ones), and nothing else.

#include <span>
#include <string>

#include "desktop/synth/renderer.h"

namespace moxi {

// Decodes a file, given by its bytes, into stereo at kAudioRate. False when it cannot be decoded:
// `sound` is then unchanged, and `reason` says why.
bool DecodeSound(std::span<const u8> file, Sound& sound, std::string& reason);

// Whether DecodeSound would begin to decode the file; if not, `reason` says why. Cheaper, as it
// converts no samples.
bool CheckSound(std::span<const u8> file, std::string& reason);

}  // namespace moxi
