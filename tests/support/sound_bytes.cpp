#include "tests/support/sound_bytes.h"

#include <cmath>
#include <numbers>

namespace moxi {

namespace {

std::string Little(u32 value, u32 count) {
    std::string bytes;
    for (u32 i = 0; i < count; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
    return bytes;
}

std::string Big(u32 value, u32 count) {
    std::string bytes;
    for (u32 i = count; i-- > 0;) {
        bytes += static_cast<char>(value >> (8 * i));
    }
    return bytes;
}

}  // namespace

std::string Bytes(const std::vector<int>& values) {
    std::string bytes;
    for (const int value : values) {
        bytes += static_cast<char>(value);
    }
    return bytes;
}

std::string MidiHeader(u32 format, u32 tracks, u32 division) {
    return "MThd" + Big(6, 4) + Big(format, 2) + Big(tracks, 2) + Big(division, 2);
}

std::string MidiTrack(const std::string& events) {
    return "MTrk" + Big(static_cast<u32>(events.size()), 4) + events;
}

std::string MidiFile(u32 format, u32 division, const std::vector<std::string>& trackEvents) {
    std::string file = MidiHeader(format, static_cast<u32>(trackEvents.size()), division);
    for (const std::string& events : trackEvents) {
        file += MidiTrack(events);
    }
    return file;
}

std::string MidiNumber(u32 value) {
    std::string bytes(1, static_cast<char>(value & 0x7F));
    while ((value >>= 7) != 0) {
        bytes.insert(bytes.begin(), static_cast<char>(0x80 | (value & 0x7F)));
    }
    return bytes;
}

std::string NoteOn(u32 delta, int key, int velocity, int channel) {
    return MidiNumber(delta) + Bytes({0x90 | channel, key, velocity});
}

std::string NoteOff(u32 delta, int key, int channel) {
    return MidiNumber(delta) + Bytes({0x80 | channel, key, 64});
}

std::string Tempo(u32 delta, u32 microsecondsPerBeat) {
    return MidiNumber(delta) + Bytes({0xFF, 0x51, 3}) + Big(microsecondsPerBeat, 3);
}

std::string EndOfTrack(u32 delta) {
    return MidiNumber(delta) + Bytes({0xFF, 0x2F, 0});
}

std::string Chunk(const std::string& id, const std::string& content) {
    return id + Little(static_cast<u32>(content.size()), 4) + content;
}

std::string WavFile(const WavForm& form, const std::string& data, u32 dataSize) {
    const u32 frameSize = form.channels * form.bits / 8;
    const std::string format = Little(form.tag, 2) + Little(form.channels, 2) +
                               Little(form.rate, 4) + Little(form.rate * frameSize, 4) +
                               Little(frameSize, 2) + Little(form.bits, 2);
    const std::string body =
        "WAVE" + Chunk("fmt ", format) + form.beforeData + "data" + Little(dataSize, 4) + data;
    return "RIFF" + Little(static_cast<u32>(body.size()), 4) + body;
}

std::string WavFile(const WavForm& form, const std::string& data) {
    return WavFile(form, data, static_cast<u32>(data.size()));
}

std::string SineSamples(f64 frequency, u32 rate, u32 frames, f64 amplitude) {
    std::string bytes;
    for (u32 i = 0; i < frames; ++i) {
        const f64 value = std::sin(2 * std::numbers::pi * frequency * i / rate);
        bytes += Little(static_cast<u32>(std::lrint(amplitude * 32767 * value)), 2);
    }
    return bytes;
}

}  // namespace moxi
