#pragma once
// MIDI and WAV files for tests, byte by byte.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// Bytes given as numbers.
std::string Bytes(const std::vector<int>& values);

// A header chunk for `tracks` tracks.
std::string MidiHeader(u32 format, u32 tracks, u32 division);
// A track chunk around these event bytes; nothing is added to them.
std::string MidiTrack(const std::string& events);
// The whole file; the header counts the tracks.
std::string MidiFile(u32 format, u32 division, const std::vector<std::string>& trackEvents);

// A variable-length number.
std::string MidiNumber(u32 value);
// Events with the ticks that pass before them.
std::string NoteOn(u32 delta, int key, int velocity = 100, int channel = 0);
std::string NoteOff(u32 delta, int key, int channel = 0);
std::string Tempo(u32 delta, u32 microsecondsPerBeat);
std::string EndOfTrack(u32 delta);

struct WavForm {
    u32 tag = 1;
    u32 channels = 1;
    u32 rate = 44100;
    u32 bits = 16;
    std::string beforeData = {};  // whole chunks between the format and the data
};

// A WAV file with this data, and a data size that need not be true.
std::string WavFile(const WavForm& form, const std::string& data);
std::string WavFile(const WavForm& form, const std::string& data, u32 dataSize);
std::string Chunk(const std::string& id, const std::string& content);

// 16-bit mono samples of a sine.
std::string SineSamples(f64 frequency, u32 rate, u32 frames, f64 amplitude);

}  // namespace moxi
