#pragma once
// Decoding sound files: WAV of every kind that SDL reads (8, 16, 24 and 32-bit integers, floating
// point, compressed ones), and through SDL_mixer AIFF, FLAC, Ogg, MP3 and tracker files.

#include <span>
#include <string>

#include "desktop/synth/renderer.h"

// Decodes the file into stereo at kAudioRate. False for one that cannot be; `reason` says why. All
// but WAV needs SDL_mixer's device to be open (any driver). One thread at a time.
bool DecodeSound(std::span<const u8> file, Sound& sound, std::string& reason);

// Whether the file would be decoded, as far as that can be told without a device: WAV files are
// checked in full, others pass.
bool CheckSound(std::span<const u8> file, std::string& reason);

// The file needs SDL_mixer's device.
bool NeedsMixer(std::span<const u8> file);
