#pragma once
// What the header of a WAV file says about its length.

#include <span>

#include "base/types.h"

namespace moxi {

// So much of a file is looked at; a chunk that starts beyond it is not found.
constexpr u32 kWavHeaderSize = 512;

// Milliseconds of an uncompressed WAV file, with a margin of 200, from its first bytes (those
// beyond kWavHeaderSize are not looked at). 0 for any other file, and when the format is followed
// by anything but a "fact" chunk and then the data.
u32 WavMilliseconds(std::span<const u8> header);

}  // namespace moxi
