#include "desktop/sdl/audio/audio.h"

#include <SDL.h>
#include <SDL_mixer.h>
#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <thread>

#include "base/log.h"
#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "desktop/sdl/audio/audio_mailbox.h"
#include "desktop/synth/game_music.h"
#include "desktop/synth/music_clock.h"
#include "desktop/synth/renderer.h"
#include "desktop/synth/sound_file.h"

namespace moxi {

namespace {

constexpr int kBufferFrames = 512;
constexpr int kChannels = 2;
constexpr int kMusicNumberBits = 48;  // of the frames below the number
constexpr u64 kNanosecondsPerSecond = 1'000'000'000;
// While the worker hangs in a device only so many jobs wait; older ones are dropped.
constexpr size_t kMostJobs = 64;
// A device that hangs while it is opened is left behind after so long.
constexpr std::chrono::seconds kLongestEnd{2};

enum class Stage { NotYet, Ready, Failed };

struct SoundJob {
    std::string name;
    std::vector<u8> file;
    bool stop = false;
};

struct MusicLetter {
    std::shared_ptr<const MusicPiece> piece;  // null stops
};

struct AudioState {
    AudioOptions options;

    // --- Main thread
    MusicClock clock;
    u64 musicNumber = 0;  // of the letter that started the music

    // --- Between the main thread and the helpers, guarded by `lock`
    std::mutex lock;
    std::condition_variable changed;
    std::deque<SoundJob> jobs;
    bool deviceWanted = false;
    bool ending = false;
    int running = 0;  // threads

    // --- Between everybody and the callback
    std::atomic<Stage> device = Stage::NotYet;
    std::atomic<Stage> synthStage = Stage::NotYet;
    Synth* synth = nullptr;      // set before synthStage becomes Ready
    Mailbox<MusicLetter> music;  // from the main thread
    Mailbox<Sound> sound;        // from the worker
    std::atomic<bool> muted = false;
    std::atomic<bool> paused = false;
    std::atomic<u32> musicVolume = 100;  // percent
    std::atomic<u32> soundVolume = 100;
    std::atomic<u64> progress = 0;  // low bits of the music's number, then its frames

    // --- The callback
    Renderer renderer;
    u64 renderedMusic = 0;

    // --- Threads
    std::thread worker;
    std::thread loader;
};

AudioState* audio = nullptr;

// --- The callback

void RenderAudio(void* user, u8* stream, int size) {
    AudioState& state = *static_cast<AudioState*>(user);
    Renderer& renderer = state.renderer;
    const Stage synth = state.synthStage.load(std::memory_order_acquire);
    renderer.synth = synth == Stage::Ready ? state.synth : nullptr;
    renderer.synthIsComing = synth == Stage::NotYet;
    renderer.muted = state.muted.load(std::memory_order_relaxed);
    renderer.paused = state.paused.load(std::memory_order_relaxed);
    SetVolumes(renderer, state.musicVolume.load(std::memory_order_relaxed),
               state.soundVolume.load(std::memory_order_relaxed));
    state.music.Take([&state](const MusicLetter& letter, u64 number) {
        SetMusic(state.renderer, letter.piece.get());
        state.renderedMusic = number;
    });
    state.sound.Take([&renderer](const Sound& sound, u64) { SetSound(renderer, &sound); });
    Render(renderer, reinterpret_cast<i16*>(stream),
           static_cast<u32>(size) / (kChannels * sizeof(i16)));
    state.progress.store(state.renderedMusic << kMusicNumberBits | renderer.musicFrame,
                         std::memory_order_release);
}

u64 RenderedNanoseconds(const AudioState& state) {
    const u64 progress = state.progress.load(std::memory_order_acquire);
    const u64 number = progress >> kMusicNumberBits;
    constexpr u64 kNumberMask = (u64{1} << (64 - kMusicNumberBits)) - 1;
    if (number != (state.musicNumber & kNumberMask)) {
        return 0;  // not begun
    }
    const u64 frames = progress & ((u64{1} << kMusicNumberBits) - 1);
    return frames / kAudioRate * kNanosecondsPerSecond +
           frames % kAudioRate * kNanosecondsPerSecond / kAudioRate;
}

// --- The worker

void Ignore(const char*, int, const char*, int, const char*, ...) {}

// ALSA explains at length on standard error why there is no sound card; our one line is enough. The
// library is loaded by SDL, not by us.
void QuietAlsa() {
    using Handler = void (*)(const char*, int, const char*, int, const char*, ...);
    using SetHandler = int (*)(Handler);
    void* const found = dlsym(RTLD_DEFAULT, "snd_lib_error_set_handler");
    if (found != nullptr) {
        reinterpret_cast<SetHandler>(found)(Ignore);
    }
}

bool OpenDevice(AudioState& state) {
    if (state.device != Stage::NotYet) {
        return state.device == Stage::Ready;
    }
    QuietAlsa();
    if (Mix_OpenAudioDevice(kAudioRate, AUDIO_S16SYS, kChannels, kBufferFrames, nullptr, 0) != 0) {
        SystemLog(std::string("no sound device: ") + Mix_GetError());
        state.device = Stage::Failed;
        return false;
    }
    Mix_HookMusic(RenderAudio, &state);
    state.device = Stage::Ready;
    return true;
}

// A sound that has a successor already is not heard; only what is wrong with it is told.
void DoSoundJob(AudioState& state, const SoundJob& job, bool newest) {
    Sound sound;
    std::string reason;
    const bool audible = newest && !state.options.mute && OpenDevice(state);
    if (!job.stop &&
        !(audible ? DecodeSound(job.file, sound, reason) : CheckSound(job.file, reason))) {
        SystemLog("sound " + job.name + ": " + reason);
        sound = {};
    }
    if (audible) {
        state.sound.Send(std::move(sound));
    }
}

void Work(AudioState& state) {
    std::unique_lock guard(state.lock);
    while (!state.ending || !state.jobs.empty()) {
        if (!state.jobs.empty()) {
            const SoundJob job = std::move(state.jobs.front());
            state.jobs.pop_front();
            const bool newest = state.jobs.empty() && !state.ending;
            guard.unlock();
            try {
                DoSoundJob(state, job, newest);
            } catch (const std::bad_alloc&) {
                SystemLog("sound " + job.name + ": not enough memory");
            }
            guard.lock();
        } else if (state.deviceWanted) {
            state.deviceWanted = false;
            guard.unlock();
            OpenDevice(state);
            guard.lock();
        } else {
            state.changed.wait(guard);
        }
    }
    guard.unlock();
    SDL_TLSCleanup();  // SDL does it for its own threads alone
    guard.lock();
    --state.running;
    state.changed.notify_all();
}

void LoadSynthNow(AudioState& state) {
    try {
        state.synth = LoadSynth(state.options.soundFont);
    } catch (const std::bad_alloc&) {
        SystemLog("music: not enough memory for the SoundFont");
    }
    state.synthStage = state.synth != nullptr ? Stage::Ready : Stage::Failed;
    const std::lock_guard guard(state.lock);
    --state.running;
    state.changed.notify_all();
}

void StartThread(std::thread& thread, void (*body)(AudioState&)) {
    if (thread.joinable()) {
        return;
    }
    {
        const std::lock_guard guard(audio->lock);
        ++audio->running;
    }
    thread = std::thread(body, std::ref(*audio));
}

void WakeWorker() {
    StartThread(audio->worker, Work);
    audio->changed.notify_all();
}

// --- The record's functions

void Prepare() {
    if (!audio->options.mute && HasMusic(folders.resources)) {
        StartThread(audio->loader, LoadSynthNow);
    }
}

void StartMusic(const std::shared_ptr<const MusicPiece>& piece) {
    RestartMusicClock(audio->clock, desktop.nanoseconds());
    if (audio->options.mute || audio->device == Stage::Failed) {
        return;
    }
    audio->musicNumber = audio->music.Send({piece});
    StartThread(audio->loader, LoadSynthNow);
    {
        const std::lock_guard guard(audio->lock);
        audio->deviceWanted = true;
    }
    WakeWorker();
}

void StopMusic() {
    if (!audio->options.mute && audio->device != Stage::Failed) {
        audio->music.Send({nullptr});
    }
}

u64 MusicPosition() {
    const bool lost = audio->options.mute || audio->device == Stage::Failed;
    return MusicClockPosition(audio->clock, RenderedNanoseconds(*audio), lost,
                              desktop.nanoseconds());
}

void QueueSound(SoundJob job) {
    {
        const std::lock_guard guard(audio->lock);
        audio->jobs.push_back(std::move(job));
        if (audio->jobs.size() > kMostJobs) {
            audio->jobs.pop_front();
        }
    }
    WakeWorker();
}

void PlaySound(const std::string& name, const std::vector<u8>& file) {
    QueueSound({.name = name, .file = file});
}

void StopSound() {
    // Before the first sound there is nothing to stop, and no device to open for it.
    if (audio->worker.joinable()) {
        QueueSound({.name = {}, .file = {}, .stop = true});
    }
}

void SetMuted(bool muted) {
    audio->muted = muted;
}

void ChooseVolumes(u32 music, u32 sound) {
    audio->musicVolume = music;
    audio->soundVolume = sound;
}

void SetPaused(bool paused) {
    audio->paused = paused;
}

void ShutDown() {
    if (audio == nullptr) {
        return;
    }
    {
        std::unique_lock guard(audio->lock);
        audio->ending = true;
        audio->changed.notify_all();
        const bool ended =
            audio->changed.wait_for(guard, kLongestEnd, [] { return audio->running == 0; });
        if (!ended) {
            // Threads that hang in a device or a file keep what they use.
            if (audio->worker.joinable()) {
                audio->worker.detach();
            }
            if (audio->loader.joinable()) {
                audio->loader.detach();
            }
            audioOut.shutDown = [] {};
            return;
        }
    }
    if (audio->worker.joinable()) {
        audio->worker.join();
    }
    if (audio->loader.joinable()) {
        audio->loader.join();
    }
    if (audio->device == Stage::Ready) {
        Mix_CloseAudio();
    }
    if (SDL_WasInit(SDL_INIT_AUDIO) != 0) {
        SDL_QuitSubSystem(SDL_INIT_AUDIO);
    }
    DeleteSynth(audio->synth);
    delete audio;
    audio = nullptr;
}

}  // namespace

void StartSdlAudio(const AudioOptions& options) {
    audio = new AudioState{};
    audio->options = options;
    StartVolumes(audio->renderer, options.musicVolume, options.soundVolume);
    ChooseVolumes(options.musicVolume, options.soundVolume);
    audio->muted = options.muted;
    if (options.muted) {
        audio->renderer.volume = {.target = 0, .now = 0};
    }
    audioOut = {
        .prepare = Prepare,
        .startMusic = StartMusic,
        .stopMusic = StopMusic,
        .musicPosition = MusicPosition,
        .playSound = PlaySound,
        .stopSound = StopSound,
        .setMuted = SetMuted,
        .setVolumes = ChooseVolumes,
        .setPaused = SetPaused,
        .shutDown = ShutDown,
    };
}

}  // namespace moxi
