#include "desktop/synth/sound_file.h"

#include <SDL_audio.h>

#include <algorithm>
#include <cstring>

namespace moxi {

namespace {

// The most memory, in bytes, that a conversion may take: several times half an hour of stereo.
constexpr u64 kLargestConversion = u64{1} << 30;
constexpr u32 kChannels = 2;

bool StartsWith(std::span<const u8> file, const char* text) {
    return file.size() >= 4 && std::memcmp(file.data(), text, 4) == 0;
}

bool IsWav(std::span<const u8> file) {
    return StartsWith(file, "RIFF") || StartsWith(file, "WAVE");
}

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
    if (stream == nullptr) {
        return false;
    }
    if (SDL_LoadWAV_RW(stream, 1, &wav.format, &wav.bytes, &wav.size) == nullptr) {
        return false;
    }
    if (SDL_BuildAudioCVT(&wav.conversion, wav.format.format, wav.format.channels, wav.format.freq,
                          AUDIO_S16SYS, kChannels, kAudioRate) < 0) {
        return false;
    }
    const u32 sampleSize = SDL_AUDIO_BITSIZE(wav.format.format) / 8;
    const u32 frameSize = std::max(1U, sampleSize * wav.format.channels);
    wav.size -= wav.size % frameSize;
    // A low sample rate makes a short file very long. SDL computes this product in 32 bits only.
    const u64 work = u64{wav.size} * static_cast<u64>(wav.conversion.len_mult);
    if (work > kLargestConversion) {
        SDL_SetError("too long at its sample rate");
        return false;
    }
    return true;
}

bool DecodeWav(std::span<const u8> file, Sound& sound) {
    WavData wav;
    if (!LoadWav(file, wav)) {
        return false;
    }
    SDL_AudioCVT& conversion = wav.conversion;
    std::vector<u8> buffer(
        std::max<size_t>(1, size_t{wav.size} * static_cast<size_t>(conversion.len_mult)));
    if (wav.size > 0) {
        std::memcpy(buffer.data(), wav.bytes, wav.size);
    }
    conversion.buf = buffer.data();
    conversion.len = static_cast<int>(wav.size);
    conversion.len_cvt = conversion.len;
    if (conversion.needed != 0 && SDL_ConvertAudio(&conversion) != 0) {
        return false;
    }
    sound.samples.resize(static_cast<size_t>(conversion.len_cvt) / sizeof(i16));
    if (!sound.samples.empty()) {
        std::memcpy(sound.samples.data(), buffer.data(), sound.samples.size() * sizeof(i16));
    }
    return true;
}

// Only WAV is let through: other formats would reach decoders that no game needs, and in which a
// hostile file might find a fault.
bool LooksLikeSound(std::span<const u8> file, std::string& reason) {
    if (file.empty()) {
        reason = "the file is empty";
    } else if (!IsWav(file)) {
        reason = "not a WAV file";
    }
    return reason.empty();
}

bool Answer(bool done, std::string& reason) {
    if (!done) {
        reason = SDL_GetError();
    }
    return done;
}

}  // namespace

bool DecodeSound(std::span<const u8> file, Sound& sound, std::string& reason) {
    reason.clear();
    if (!LooksLikeSound(file, reason)) {
        return false;
    }
    SDL_ClearError();
    return Answer(DecodeWav(file, sound), reason);
}

bool CheckSound(std::span<const u8> file, std::string& reason) {
    reason.clear();
    if (!LooksLikeSound(file, reason)) {
        return false;
    }
    SDL_ClearError();
    WavData wav;
    return Answer(LoadWav(file, wav), reason);
}

}  // namespace moxi
