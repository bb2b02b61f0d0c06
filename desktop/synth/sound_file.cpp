#include "desktop/synth/sound_file.h"

#include <SDL_audio.h>
#include <SDL_mixer.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace {

// What conversion may take in memory: half an hour of plain stereo, several times over.
constexpr u64 kLargestConversion = u64{1} << 30;
constexpr u32 kChannels = 2;

bool StartsWith(std::span<const u8> file, const char* text) {
    return file.size() >= 4 && std::memcmp(file.data(), text, 4) == 0;
}

bool IsWav(std::span<const u8> file) {
    return StartsWith(file, "RIFF") || StartsWith(file, "WAVE");
}

// --- WAV

struct WavData {
    SDL_AudioSpec format = {};
    u8* bytes = nullptr;
    u32 size = 0;
    SDL_AudioCVT conversion = {};

    WavData() = default;
    WavData(const WavData&) = delete;
    WavData& operator=(const WavData&) = delete;
    ~WavData() { SDL_FreeWAV(bytes); }
};

// Reads the file and prepares its conversion; false with SDL's error set.
bool LoadWav(std::span<const u8> file, WavData& wav) {
    SDL_RWops* const stream = SDL_RWFromConstMem(file.data(), static_cast<int>(file.size()));
    if (stream == nullptr) return false;
    if (SDL_LoadWAV_RW(stream, 1, &wav.format, &wav.bytes, &wav.size) == nullptr) return false;
    if (SDL_BuildAudioCVT(&wav.conversion, wav.format.format, wav.format.channels, wav.format.freq,
                          AUDIO_S16SYS, kChannels, kAudioRate) < 0) {
        return false;
    }
    const u32 sampleSize = SDL_AUDIO_BITSIZE(wav.format.format) / 8;
    const u32 frameSize = std::max(1U, sampleSize * wav.format.channels);
    wav.size -= wav.size % frameSize;
    // A low rate makes much of little; SDL computes the product in 32 bits.
    const u64 work = u64{wav.size} * static_cast<u64>(wav.conversion.len_mult);
    if (work > kLargestConversion) {
        SDL_SetError("too long at its sample rate");
        return false;
    }
    return true;
}

bool DecodeWav(std::span<const u8> file, Sound& sound) {
    WavData wav;
    if (!LoadWav(file, wav)) return false;
    SDL_AudioCVT& conversion = wav.conversion;
    std::vector<u8> buffer(
        std::max<size_t>(1, size_t{wav.size} * static_cast<size_t>(conversion.len_mult)));
    if (wav.size > 0) std::memcpy(buffer.data(), wav.bytes, wav.size);
    conversion.buf = buffer.data();
    conversion.len = static_cast<int>(wav.size);
    conversion.len_cvt = conversion.len;
    if (conversion.needed != 0 && SDL_ConvertAudio(&conversion) != 0) return false;
    sound.samples.resize(static_cast<size_t>(conversion.len_cvt) / sizeof(i16));
    if (!sound.samples.empty()) {
        std::memcpy(sound.samples.data(), buffer.data(), sound.samples.size() * sizeof(i16));
    }
    return true;
}

// --- The others

u32 BigEndian(std::span<const u8> bytes, u32 count) {
    u32 value = 0;
    for (u32 i = 0; i < count; i++) value = value << 8 | bytes[i];
    return value;
}

// The sample rate in an AIFF file's header; 0 for none.
double AiffRate(std::span<const u8> file) {
    for (size_t at = 12; at + 26 <= file.size();) {
        const u32 size = BigEndian(file.subspan(at + 4), 4);
        if (std::memcmp(file.data() + at, "COMM", 4) == 0) {
            const int exponent = static_cast<int>(BigEndian(file.subspan(at + 16), 2)) - 0x3FFF;
            return std::ldexp(static_cast<double>(BigEndian(file.subspan(at + 18), 4)),
                              exponent - 31);
        }
        at += size_t{8} + size + size % 2;
    }
    return 0;
}

// SDL_mixer multiplies the sizes of an AIFF file in 32 bits, and does not look at them before.
bool IsTooMuchForMixer(std::span<const u8> file) {
    if (StartsWith(file, "Crea")) return true;
    if (!StartsWith(file, "FORM")) return false;
    const double rate = AiffRate(file);
    if (!(rate >= 1)) return true;
    // Twice the channels, four times the bytes of a sample, and twice that to be on the safe side.
    const double work = static_cast<double>(file.size()) * (kAudioRate / rate + 2) * 16;
    return work > static_cast<double>(kLargestConversion);
}

bool DecodeWithMixer(std::span<const u8> file, Sound& sound) {
    if (StartsWith(file, "MThd") || IsTooMuchForMixer(file)) {
        SDL_SetError("not a sound file");
        return false;
    }
    SDL_RWops* const stream = SDL_RWFromConstMem(file.data(), static_cast<int>(file.size()));
    Mix_Chunk* const chunk = stream == nullptr ? nullptr : Mix_LoadWAV_RW(stream, 1);
    if (chunk == nullptr) return false;
    sound.samples.resize(chunk->alen / sizeof(i16) / kChannels * kChannels);
    if (!sound.samples.empty()) {
        std::memcpy(sound.samples.data(), chunk->abuf, sound.samples.size() * sizeof(i16));
    }
    Mix_FreeChunk(chunk);
    return true;
}

bool Answer(bool done, std::string& reason) {
    if (!done) reason = SDL_GetError();
    return done;
}

}  // namespace

bool NeedsMixer(std::span<const u8> file) {
    return !file.empty() && !IsWav(file);
}

bool DecodeSound(std::span<const u8> file, Sound& sound, std::string& reason) {
    if (file.empty()) {
        reason = "the file is empty";
        return false;
    }
    SDL_ClearError();
    return Answer(IsWav(file) ? DecodeWav(file, sound) : DecodeWithMixer(file, sound), reason);
}

bool CheckSound(std::span<const u8> file, std::string& reason) {
    if (NeedsMixer(file)) return true;
    if (file.empty()) {
        reason = "the file is empty";
        return false;
    }
    SDL_ClearError();
    WavData wav;
    return Answer(LoadWav(file, wav), reason);
}
