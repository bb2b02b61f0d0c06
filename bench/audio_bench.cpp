// Music: how long a game waits when it starts a piece, and whether the audio callback keeps its
// time while the machine works beside it. Takes the number of seconds to render for (10 unless
// given).

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "audio/music.h"
#include "audio/score.h"
#include "bench/mx_kernel.h"
#include "bench/native_kernels.h"
#include "desktop/folders.h"
#include "desktop/synth/renderer.h"
#include "sys/files.h"
#include "tests/support/sound_bytes.h"

namespace moxi {

namespace {

using Clock = std::chrono::steady_clock;

constexpr u32 kBufferFrames = 512;
constexpr f64 kBufferMilliseconds = kBufferFrames * 1000.0 / kAudioRate;
constexpr size_t kFileSize = 200'000;

f64 Milliseconds(Clock::duration time) {
    return std::chrono::duration<f64, std::milli>(time).count();
}

// 16 tracks of chords, drums and controllers, 200 KB, some 10 minutes: far more than a game has.
std::string LargePiece() {
    std::vector<std::string> tracks;
    for (int channel = 0; channel < 16; ++channel) {
        std::string events = Bytes({0, 0xC0 | channel, channel * 7});
        for (int i = 0; events.size() < kFileSize / 16 - 30; ++i) {
            const int key = 40 + (i * 5 + channel) % 40;
            events += NoteOn(0, key, 70, channel) + NoteOn(0, key + 4, 60, channel);
            events += Bytes({0, 0xB0 | channel, 10, i % 128});
            events += NoteOff(24, key, channel) + NoteOff(0, key + 4, channel);
            if (i % 50 == 0) {
                events += Tempo(0, 400'000 + 100 * static_cast<u32>(i));
            }
        }
        tracks.push_back(events + EndOfTrack(96));
    }
    return MidiFile(1, 96, tracks);
}

struct Times {
    std::vector<f64> all;

    f64 At(f64 part) {
        std::sort(all.begin(), all.end());
        return all[static_cast<size_t>(part * static_cast<f64>(all.size() - 1))];
    }
    void Print(const char* what, const char* note) {
        std::printf("%-34s median %7.3f ms  99%% %7.3f ms  longest %7.3f ms  %s\n", what, At(0.5),
                    At(0.99), At(1), note);
    }
};

void TimeStarts(const std::string& file) {
    std::string folder = std::filesystem::temp_directory_path() / "moxi-bench-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        std::abort();
    }
    folders.resources = folder;
    InitFolders();
    std::ofstream(folder + "/LARGE.MID", std::ios::binary) << file;
    Times times;
    for (int i = 0; i < 200; ++i) {
        const auto start = Clock::now();
        PlayMusic("LARGE.MID");
        times.all.push_back(Milliseconds(Clock::now() - start));
        if (!musicPlaying) {
            std::abort();
        }
    }
    std::filesystem::remove_all(folder);
    const std::string note = "(" + std::to_string(file.size()) + " bytes)";
    times.Print("start of a piece", note.c_str());
}

// Renders as a device asks for it: a buffer every 11.6 ms, each of them due before the next.
struct Callback {
    Times times;
    u32 late = 0;  // buffers that were not ready when the device ran out of the one before
};

Callback RenderInTime(Renderer& renderer, f64 seconds) {
    Callback result;
    std::vector<i16> buffer(size_t{2} * kBufferFrames);
    const auto period = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<f64, std::milli>(kBufferMilliseconds));
    const int buffers = static_cast<int>(seconds * 1000 / kBufferMilliseconds);
    auto due = Clock::now();
    for (int i = 0; i < buffers; ++i) {
        std::this_thread::sleep_until(due);
        const auto start = Clock::now();
        Render(renderer, buffer.data(), kBufferFrames);
        const auto end = Clock::now();
        result.times.all.push_back(Milliseconds(end - start));
        due += period;
        if (end > due) {
            ++result.late;
        }
    }
    return result;
}

void TimeCallback(const std::string& file, f64 seconds, bool besideTheMachine) {
    SmfFile smf;
    std::string reason;
    if (!ReadSmf({reinterpret_cast<const u8*>(file.data()), file.size()}, smf, reason)) {
        std::abort();
    }
    const Score score = PrepareScore(smf);
    Synth* const synth = LoadSynth("");
    if (synth == nullptr) {
        return;
    }
    Renderer renderer;
    renderer.synth = synth;
    SetMusic(renderer, score.piece.get());

    std::atomic<bool> ended = false;
    Callback result;
    std::thread audio([&] {
        // As SDL asks for its audio threads; without the right to it, it stays an ordinary thread.
        const sched_param urgent = {.sched_priority = 1};
        sched_setscheduler(0, SCHED_RR, &urgent);
        result = RenderInTime(renderer, seconds);
        ended = true;
    });
    if (besideTheMachine) {
        const NativeKernel& kernel = nativeKernels[1];
        const std::string path =
            std::string(MOXI_SOURCE_DIR "/bench/kernels/") + kernel.name + ".mxs";
        const std::string error = mx_kernel::LoadKernel(path);
        if (!error.empty()) {
            std::printf("%s", error.c_str());
        }
        while (!ended && error.empty()) {
            mx_kernel::SendKernel(mx_kernel::kSetup, kernel.size);
            mx_kernel::SendKernel(mx_kernel::kRun, kernel.size);
        }
    }
    audio.join();
    DeleteSynth(synth);
    char note[80];
    std::snprintf(note, sizeof note, "(%u of %zu buffers late)", result.late,
                  result.times.all.size());
    result.times.Print(besideTheMachine ? "callback beside the interpreter" : "callback alone",
                       note);
}

void TimeLoading() {
    const auto start = Clock::now();
    DeleteSynth(LoadSynth(""));
    std::printf("%-34s %.1f ms, on a thread of its own\n", "loading the SoundFont",
                Milliseconds(Clock::now() - start));
}

int Main(int argc, char** argv) {
    const f64 seconds = argc > 1 ? std::atof(argv[1]) : 10;
    const std::string file = LargePiece();
    TimeStarts(file);
    TimeLoading();
    std::printf("a buffer of %u frames lasts %.2f ms\n", kBufferFrames, kBufferMilliseconds);
    TimeCallback(file, seconds, false);
    TimeCallback(file, seconds, true);
    return 0;
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
