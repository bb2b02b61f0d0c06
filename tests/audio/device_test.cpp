// Audio out on the real desktop, with SDL drivers that need no sound card, and what it is made of.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include "audio/score.h"
#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "desktop/sdl/audio/audio.h"
#include "desktop/sdl/audio/audio_mailbox.h"
#include "desktop/synth/game_music.h"
#include "desktop/synth/music_clock.h"
#include "desktop/synth/synth.h"
#include "tests/support/headless_run.h"
#include "tests/support/listen.h"
#include "tests/support/sound_bytes.h"

namespace moxi {

namespace {

constexpr int kOcarina = 79;  // almost a sine
constexpr u64 kSecond = 1'000'000'000;

u64 RealNanoseconds() {
    return static_cast<u64>(std::chrono::steady_clock::now().time_since_epoch().count());
}

std::shared_ptr<const MusicPiece> LongNote(int key) {
    const std::string file =
        MidiFile(0, 96, {Bytes({0, 0xC0, kOcarina}) + NoteOn(0, key) + EndOfTrack(96 * 200)});
    SmfFile smf;
    std::string reason;
    EXPECT_TRUE(ReadSmf({reinterpret_cast<const u8*>(file.data()), file.size()}, smf, reason));
    return PrepareScore(smf).piece;
}

std::vector<u8> Sine(f64 frequency, f64 seconds) {
    const std::string file =
        WavFile({}, SineSamples(frequency, 44100, static_cast<u32>(44100 * seconds), 0.5));
    return {file.begin(), file.end()};
}

template <class Condition>
bool WaitFor(Condition condition) {
    for (int i = 0; i < 3000; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

class AudioDevice : public testing::Test {
  protected:
    void SetUp() override {
        desktop.nanoseconds = RealNanoseconds;
        testing::internal::CaptureStderr();
    }

    void TearDown() override {
        audioOut.shutDown();
        audioOut = before;
        desktop.nanoseconds = nanosecondsBefore;
        unsetenv("SDL_AUDIODRIVER");
        unsetenv("SDL_DISKAUDIOFILE");
        if (!logTaken) {
            testing::internal::GetCapturedStderr();
        }
    }

    static void Start(const char* driver, const AudioOptions& options = {}) {
        setenv("SDL_AUDIODRIVER", driver, 1);
        StartSdlAudio(options);
    }

    std::string Log() {
        logTaken = true;
        return testing::internal::GetCapturedStderr();
    }

  private:
    AudioOut before = audioOut;
    u64 (*nanosecondsBefore)() = desktop.nanoseconds;
    bool logTaken = false;
};

Recording ReadRaw(const std::string& path) {
    const std::string raw = ReadTextFile(path);
    Recording recording;
    recording.samples.resize(raw.size() / 4 * 2);
    memcpy(recording.samples.data(), raw.data(), recording.samples.size() * 2);
    return recording;
}

bool HasSoundFont() {
    return !SoundFontCandidates("").empty();
}

TEST_F(AudioDevice, MusicAndSoundsReachTheDevice) {
    if (!HasSoundFont()) {
        GTEST_SKIP() << "no SoundFont is installed";
    }
    const TemporaryFolder folder;
    const std::string path = folder.path + "/played.raw";
    setenv("SDL_DISKAUDIOFILE", path.c_str(), 1);
    Start("disk");
    audioOut.startMusic(LongNote(60));
    ASSERT_TRUE(WaitFor([] { return audioOut.musicPosition() > kSecond; }));
    audioOut.stopMusic();
    audioOut.playSound("A.WAV", Sine(1000, 60));
    // What is written in the end is the sound alone.
    const auto onlySoundIsHeard = [&path] {
        const Recording heard = ReadRaw(path);
        const f64 length = static_cast<f64>(heard.Frames()) / 44100;
        const Recording last = Part(heard, length - 0.2, length);
        return Strength(last, 1000) > 0.45 && Strength(last, KeyFrequency(60)) < 0.001;
    };
    EXPECT_TRUE(WaitFor(onlySoundIsHeard));
    audioOut.shutDown();
    const Recording heard = ReadRaw(path);
    const f64 start = FirstSound(heard, 500);
    ASSERT_GE(start, 0);
    EXPECT_EQ(StrongestKey(Part(heard, start + 0.1, start + 0.9)), 60);
}

TEST_F(AudioDevice, APieceThatIsStartedAgainCountsFromItsStart) {
    Start("dummy");
    const auto piece = LongNote(60);
    audioOut.startMusic(piece);
    ASSERT_TRUE(WaitFor([] { return audioOut.musicPosition() > kSecond / 2; }));
    audioOut.startMusic(piece);
    EXPECT_EQ(audioOut.musicPosition(), 0u);
    audioOut.stopMusic();
    audioOut.startMusic(piece);
    audioOut.startMusic(piece);
    EXPECT_EQ(audioOut.musicPosition(), 0u);
    EXPECT_TRUE(WaitFor([] { return audioOut.musicPosition() > 0; }));
    EXPECT_LT(audioOut.musicPosition(), kSecond / 2);
}

TEST_F(AudioDevice, WithoutADeviceThereIsOneLineAndTheClockCounts) {
    Start("no-such-driver");
    const u64 start = RealNanoseconds();
    audioOut.startMusic(LongNote(60));
    audioOut.playSound("A.WAV", Sine(1000, 1));
    ASSERT_TRUE(WaitFor([] { return audioOut.musicPosition() > kSecond / 5; }));
    EXPECT_LE(audioOut.musicPosition(), RealNanoseconds() - start);
    audioOut.stopMusic();
    audioOut.startMusic(LongNote(60));
    EXPECT_LT(audioOut.musicPosition(), kSecond / 5);
    audioOut.shutDown();
    const std::string log = Log();
    EXPECT_EQ(log.rfind("log: no sound device: ", 0), 0u) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
}

TEST_F(AudioDevice, WithMuteNoDeviceIsOpened) {
    Start("no-such-driver", {.mute = true, .soundFont = "no-such.sf2", .renderFile = {}});
    audioOut.prepare();
    audioOut.startMusic(LongNote(60));
    audioOut.playSound("A.WAV", Sine(1000, 1));
    audioOut.setMuted(true);
    ASSERT_TRUE(WaitFor([] { return audioOut.musicPosition() > kSecond / 10; }));
    audioOut.shutDown();
    EXPECT_EQ(Log(), "");
}

TEST_F(AudioDevice, WithoutASoundFontTheMusicAdvancesInSilence) {
    Start("dummy", {.mute = false, .soundFont = "no-such.sf2", .renderFile = {}});
    audioOut.startMusic(LongNote(60));
    EXPECT_TRUE(WaitFor([] { return audioOut.musicPosition() > kSecond / 5; }));
    audioOut.shutDown();
    EXPECT_EQ(Log(), "log: no music: no-such.sf2: not a SoundFont\n");
}

TEST_F(AudioDevice, ASoundThatCannotBeDecodedGivesALine) {
    Start("dummy");
    audioOut.playSound("BAD.WAV", {'R', 'I', 'F', 'F'});
    audioOut.stopSound();
    audioOut.setMuted(true);
    audioOut.setMuted(false);
    audioOut.shutDown();
    const std::string log = Log();
    EXPECT_EQ(log.rfind("log: sound BAD.WAV: ", 0), 0u) << log;
}

TEST_F(AudioDevice, AGameThatPlaysNothingCostsNothing) {
    Start("no-such-driver");
    audioOut.prepare();  // there is no resources folder
    audioOut.stopSound();
    audioOut.shutDown();
    EXPECT_EQ(Log(), "");
}

TEST_F(AudioDevice, ACardThatIsMissingGivesOneLine) {
    setenv("AUDIODEV", "no-such-card", 1);
    Start("alsa");
    audioOut.startMusic(LongNote(60));
    // The clock counts as soon as it is known that there is no device.
    ASSERT_TRUE(WaitFor([] { return audioOut.musicPosition() > kSecond / 10; }));
    audioOut.playSound("A.WAV", Sine(1000, 1));
    audioOut.shutDown();
    unsetenv("AUDIODEV");
    const std::string log = Log();
    EXPECT_EQ(log.rfind("log: no sound device: ", 0), 0u) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
}

// --- Its parts

TEST(GameMusic, IsAMusicFolderOrAMidiFile) {
    const TemporaryFolder folder;
    EXPECT_FALSE(HasMusic(folder.path));
    EXPECT_FALSE(HasMusic(folder.path + "/none"));
    WriteTextFile(folder.path + "/A.WAV", "");
    EXPECT_FALSE(HasMusic(folder.path));
    WriteTextFile(folder.path + "/a.Mid", "");
    EXPECT_TRUE(HasMusic(folder.path));
    const TemporaryFolder other;
    WriteTextFile(other.path + "/Music", "");
    EXPECT_TRUE(HasMusic(other.path));
}

TEST(MusicClocks, FollowTheRendering) {
    MusicClock clock;
    RestartMusicClock(clock, 1000 * kSecond);
    u64 now = 1000 * kSecond;
    for (u64 rendered = 0; rendered < 3 * kSecond; rendered += kSecond / 100) {
        now += kSecond / 200;
        EXPECT_EQ(MusicClockPosition(clock, rendered, false, now), rendered);
    }
}

TEST(MusicClocks, CountForADeviceThatStandsStillForTwoSeconds) {
    MusicClock clock;
    RestartMusicClock(clock, 0);
    u64 now = 0;
    const auto ask = [&](u64 rendered, u64 seconds) {
        u64 position = 0;
        for (u64 until = now + seconds * kSecond; now < until;) {
            now += kSecond / 200;
            position = MusicClockPosition(clock, rendered, false, now);
        }
        return position;
    };
    EXPECT_EQ(ask(kSecond, 2), kSecond);
    EXPECT_NEAR(static_cast<f64>(ask(kSecond, 5)), 6e9, 1e7);  // 1 s and 5 s by the clock
    // It gets on again: what the clock has counted is kept.
    EXPECT_NEAR(static_cast<f64>(MusicClockPosition(clock, kSecond + 5, false, now)), 6e9, 1e7);
}

TEST(MusicClocks, DoNotCountWhatTheWholeProgramSleptThrough) {
    MusicClock clock;
    RestartMusicClock(clock, 0);
    EXPECT_EQ(MusicClockPosition(clock, 7, false, 3600 * kSecond), 7u);
    EXPECT_EQ(MusicClockPosition(clock, 7, false, 7200 * kSecond), 7u);
}

TEST(MusicClocks, CountAloneWhenNothingIsRendered) {
    MusicClock clock;
    RestartMusicClock(clock, 5 * kSecond);
    EXPECT_EQ(MusicClockPosition(clock, 0, true, 5 * kSecond), 0u);
    EXPECT_EQ(MusicClockPosition(clock, 0, true, 65 * kSecond), 60 * kSecond);
}

struct Counted {
    explicit Counted(int number) : value(number) { alive++; }
    Counted(Counted&& other) noexcept : value(other.value) { alive++; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    Counted& operator=(Counted&&) = delete;
    ~Counted() {
        value = -1;
        --alive;
    }
    int value;
    static std::atomic<int> alive;
};

std::atomic<int> Counted::alive = 0;

TEST(Mailboxes, TheNewestCountsAndTheOneInUseStays) {
    {
        Mailbox<Counted> box;
        int got = 0;
        const auto take = [&] {
            box.Take([&got](const Counted& object, u64 number) {
                got = object.value;
                EXPECT_EQ(number, static_cast<u64>(object.value));
            });
        };
        take();
        EXPECT_EQ(got, 0);
        EXPECT_EQ(box.Send(Counted(1)), 1u);
        EXPECT_EQ(box.Send(Counted(2)), 2u);
        EXPECT_EQ(Counted::alive, 1);  // the first was never looked at
        take();
        EXPECT_EQ(got, 2);
        box.Send(Counted(3));
        EXPECT_EQ(Counted::alive, 2);  // the second is in use
        take();
        EXPECT_EQ(got, 3);
        box.Send(Counted(4));
        EXPECT_EQ(Counted::alive, 2);  // it is not any more
    }
    EXPECT_EQ(Counted::alive, 0);
}

TEST(Mailboxes, ObjectsLiveWhileTheyAreUsedByTheOtherThread) {
    Mailbox<Counted> box;
    std::atomic<bool> ending = false;
    std::atomic<int> last = 0;
    std::thread user([&] {
        const Counted* inUse = nullptr;
        while (!ending) {
            EXPECT_TRUE(inUse == nullptr || inUse->value > 0);
            box.Take([&](const Counted& object, u64) {
                EXPECT_TRUE(inUse == nullptr || inUse->value > 0);
                EXPECT_GT(object.value, last.load());
                last = object.value;
                inUse = &object;
            });
        }
    });
    for (int i = 1; i <= 100000; ++i) {
        box.Send(Counted(i));
    }
    while (last != 100000) {
        std::this_thread::yield();
    }
    ending = true;
    user.join();
}

}  // namespace

}  // namespace moxi
