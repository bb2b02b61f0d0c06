#include "desktop/headless/audio.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/log.h"
#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "desktop/headless/wav_writer.h"
#include "desktop/synth/renderer.h"
#include "desktop/synth/sound_file.h"

namespace moxi {

namespace {

constexpr u64 kNanosecondsPerMicrosecond = 1000;
constexpr u32 kBlockFrames = 4096;

struct HeadlessAudio {
    AudioOptions options;
    u64 musicStarted = 0;  // ns

    // --- Rendering
    WavWriter writer;
    u64 renderedFrames = 0;
    Renderer renderer;
    Synth* synth = nullptr;
    bool synthTried = false;
    std::shared_ptr<const MusicPiece> piece;
    Sound sound;
};

HeadlessAudio audio;

bool IsRendering() {
    return audio.writer.file != nullptr;
}

// The number of the frame that would be played now, counted from virtual time 0.
u64 FrameNow() {
    // 44,100 frames a second are 441 in 10,000 microseconds.
    static_assert(kAudioRate == 44100);
    const u64 microseconds = desktop.nanoseconds() / kNanosecondsPerMicrosecond;
    return microseconds / 10'000 * 441 + microseconds % 10'000 * 441 / 10'000;
}

// Renders what has been heard up to now; has to be called before anything that is heard changes.
void CatchUp() {
    static std::array<i16, size_t{2} * kBlockFrames> block;
    const u64 until = FrameNow();
    while (audio.renderedFrames < until) {
        const u32 frames =
            static_cast<u32>(std::min<u64>(until - audio.renderedFrames, kBlockFrames));
        Render(audio.renderer, block.data(), frames);
        WriteWav(audio.writer, block.data(), frames);
        audio.renderedFrames += frames;
    }
}

void PlayPiece(const std::shared_ptr<const MusicPiece>& piece) {
    if (!IsRendering()) {
        return;
    }
    CatchUp();
    if (piece != nullptr && !audio.synthTried) {
        audio.synthTried = true;
        audio.synth = LoadSynth(audio.options.soundFont);
        audio.renderer.synth = audio.synth;
    }
    // The piece before it is kept until here: SetMusic still renders its fading end.
    SetMusic(audio.renderer, piece.get());
    audio.piece = piece;
}

bool DecodeOrCheck(const std::vector<u8>& file, Sound& sound, std::string& reason) {
    return IsRendering() ? DecodeSound(file, sound, reason) : CheckSound(file, reason);
}

void SetHeardSound(Sound sound) {
    if (!IsRendering()) {
        return;
    }
    CatchUp();
    SetSound(audio.renderer, nullptr);
    audio.sound = std::move(sound);
    SetSound(audio.renderer, &audio.sound);
}

void PlaySound(const std::string& name, const std::vector<u8>& file) {
    Sound sound;
    std::string reason;
    if (!DecodeOrCheck(file, sound, reason)) {
        SystemLog("sound " + name + ": " + reason);
        sound = {};
    }
    SetHeardSound(std::move(sound));
}

void SetMuted(bool muted) {
    if (!IsRendering()) {
        return;
    }
    CatchUp();
    audio.renderer.muted = audio.options.mute || muted;
}

void ChooseVolumes(u32 music, u32 sound) {
    if (!IsRendering()) {
        return;
    }
    CatchUp();
    SetVolumes(audio.renderer, music, sound);
}

void ShutDown() {
    if (IsRendering()) {
        CatchUp();
        if (!CloseWav(audio.writer)) {
            SystemLog(audio.options.renderFile + ": cannot be written");
        }
    }
    DeleteSynth(audio.synth);
    audio = {};
}

}  // namespace

void StartHeadlessAudio(const AudioOptions& options) {
    audio = {};
    audio.options = options;
    audio.renderer.muted = options.mute || options.muted;
    if (audio.renderer.muted) {
        audio.renderer.volume = {.target = 0, .now = 0};
    }
    StartVolumes(audio.renderer, options.musicVolume, options.soundVolume);
    if (!options.renderFile.empty() && !OpenWav(audio.writer, options.renderFile)) {
        SystemLog(options.renderFile + ": cannot be written");
    }
    audioOut = {
        .prepare = [] {},
        .startMusic =
            [](const std::shared_ptr<const MusicPiece>& piece) {
                audio.musicStarted = desktop.nanoseconds();
                PlayPiece(piece);
            },
        .stopMusic = [] { PlayPiece(nullptr); },
        .musicPosition = [] { return desktop.nanoseconds() - audio.musicStarted; },
        .playSound = PlaySound,
        .stopSound = [] { SetHeardSound({}); },
        .setMuted = SetMuted,
        .setVolumes = ChooseVolumes,
        // Nothing to do: the game's clock stands still meanwhile, and rendering follows it.
        .setPaused = [](bool) {},
        .shutDown = ShutDown,
    };
}

}  // namespace moxi
