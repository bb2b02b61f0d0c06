// Listens to what the renderer makes of music and sounds.

#include "desktop/synth/renderer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "audio/score.h"
#include "desktop/synth/sound_file.h"
#include "tests/support/headless_run.h"
#include "tests/support/listen.h"
#include "tests/support/sound_bytes.h"

namespace moxi {

namespace {

constexpr int kOcarina = 79;  // almost a sine

std::span<const u8> AsBytes(const std::string& file) {
    return {reinterpret_cast<const u8*>(file.data()), file.size()};
}

// A program, notes of one beat (half a second) each with a beat between them, and an end.
std::string Notes(const std::vector<int>& keys, int program = kOcarina, int velocity = 100) {
    std::string events = Bytes({0, 0xC0, program});
    u32 pause = 0;
    for (const int key : keys) {
        events += NoteOn(pause, key, velocity) + NoteOff(96, key);
        pause = 96;
    }
    return MidiFile(0, 96, {events + EndOfTrack(0)});
}

std::shared_ptr<const MusicPiece> Piece(const std::string& file) {
    SmfFile smf;
    std::string reason;
    EXPECT_TRUE(ReadSmf(AsBytes(file), smf, reason)) << reason;
    return PrepareScore(smf).piece;
}

Sound Decode(const std::string& file) {
    Sound sound;
    std::string reason;
    EXPECT_TRUE(DecodeSound(AsBytes(file), sound, reason)) << reason;
    return sound;
}

std::string SineFile(f64 frequency, f64 seconds, f64 amplitude, u32 rate = 44100) {
    return WavFile({.rate = rate},
                   SineSamples(frequency, rate, static_cast<u32>(rate * seconds), amplitude));
}

class Rendering : public testing::Test {
  protected:
    static void SetUpTestSuite() { synth = LoadSynth(""); }
    static void TearDownTestSuite() { DeleteSynth(synth); }

    void SetUp() override {
        if (synth == nullptr) {
            GTEST_SKIP() << "no SoundFont is installed";
        }
        ResetSynth(*synth);
        renderer.synth = synth;
    }

    // Renders so many seconds in pieces of odd sizes.
    Recording Hear(f64 seconds) {
        Recording recording;
        u32 left = static_cast<u32>(seconds * kAudioRate);
        recording.samples.resize(size_t{2} * left);
        i16* out = recording.samples.data();
        for (u32 size = 1; left > 0; size = size % 700 + 13) {
            const u32 now = std::min(size, left);
            Render(renderer, out, now);
            out += size_t{2} * now;
            left -= now;
        }
        return recording;
    }

    static Synth* synth;
    Renderer renderer;
};

Synth* Rendering::synth = nullptr;

// --- Music

TEST_F(Rendering, EachNoteSoundsAtItsPitchAndItsTime) {
    const auto piece = Piece(Notes({60, 69, 76}));
    SetMusic(renderer, piece.get());
    const Recording heard = Hear(3);
    EXPECT_EQ(StrongestKey(Part(heard, 0.05, 0.5)), 60);
    EXPECT_EQ(StrongestKey(Part(heard, 1.05, 1.5)), 69);
    EXPECT_EQ(StrongestKey(Part(heard, 2.05, 2.5)), 76);
    // A step of 64 frames is 1.5 ms, and the instrument takes some more to speak.
    EXPECT_LT(FirstSound(heard, 200), 0.02);
    const f64 second = FirstSound(Part(heard, 0.98, 1.5), 1000) + 0.98;
    EXPECT_NEAR(second, 1.0, 0.02);
    EXPECT_LT(Loudness(Part(heard, 0.9, 1.0)), Loudness(Part(heard, 0.3, 0.4)) / 20);
}

TEST_F(Rendering, TempoChangesMoveTheNotes) {
    // The second note is on beat 2: 0.25 s and 1 s.
    const auto piece =
        Piece(MidiFile(0, 96,
                       {Bytes({0, 0xC0, kOcarina}) + Tempo(0, 250'000) + NoteOn(0, 60) +
                        NoteOff(96, 60) + Tempo(0, 1'000'000) + NoteOn(96, 72) + EndOfTrack(96)}));
    SetMusic(renderer, piece.get());
    const Recording heard = Hear(2);
    EXPECT_EQ(StrongestKey(Part(heard, 0.02, 0.24)), 60);
    EXPECT_NEAR(FirstSound(Part(heard, 1.1, 2), 1000) + 1.1, 1.25, 0.02);
    EXPECT_EQ(StrongestKey(Part(heard, 1.3, 2)), 72);
}

TEST_F(Rendering, PitchBendControllersAndDrumsReachTheSynthesiser) {
    const std::string bend = Bytes({0, 0xC0, kOcarina, 0, 0xE0, 0x7F, 0x7F});  // two semitones up
    const auto bent = Piece(MidiFile(0, 96, {bend + NoteOn(0, 60) + EndOfTrack(96)}));
    SetMusic(renderer, bent.get());
    EXPECT_EQ(StrongestKey(Part(Hear(0.5), 0.05, 0.5)), 62);

    const std::string quiet = Bytes({0, 0xC0, kOcarina, 0, 0xB0, 7, 0});  // no volume
    const auto silent = Piece(MidiFile(0, 96, {quiet + NoteOn(0, 60) + EndOfTrack(96)}));
    SetMusic(renderer, silent.get());
    EXPECT_LT(Peak(Part(Hear(0.5), 0.05, 0.5)), 100);

    // Keys of channel 10 are drums, which have no pitch to speak of but are heard at once.
    const auto drum = Piece(MidiFile(0, 96, {NoteOn(0, 38, 127, 9) + EndOfTrack(96)}));
    SetMusic(renderer, drum.get());
    EXPECT_GT(Peak(Part(Hear(0.5), 0.0, 0.1)), 1000);
}

TEST_F(Rendering, StoppingSilencesAtOnceWithoutAClick) {
    const auto piece = Piece(MidiFile(
        0, 96, {Bytes({0, 0xC0, kOcarina}) + NoteOn(0, 60) + NoteOn(0, 64) + EndOfTrack(960)}));
    SetMusic(renderer, piece.get());
    const Recording before = Hear(1);
    SetMusic(renderer, nullptr);
    const Recording after = Hear(1);
    const f64 fadeEnd = static_cast<f64>(kFadeFrames) / kAudioRate;
    EXPECT_EQ(Peak(Part(after, fadeEnd, 1)), 0);
    Recording both = Part(before, 0.9, 1);
    both.samples.insert(both.samples.end(), after.samples.begin(), after.samples.end());
    EXPECT_LE(LargestStep(both), LargestStep(Part(before, 0.5, 1)) * 3 / 2);
    EXPECT_EQ(Peak(Hear(1)), 0);  // nothing hangs on
}

TEST_F(Rendering, APieceThatIsStartedAgainBeginsAtItsStart) {
    const auto piece = Piece(Notes({60, 69, 76}));
    SetMusic(renderer, piece.get());
    Hear(1.2);
    SetMusic(renderer, piece.get());
    EXPECT_EQ(renderer.musicFrame, 0u);
    const Recording heard = Hear(1.5);
    EXPECT_EQ(StrongestKey(Part(heard, 0.05, 0.5)), 60);
    EXPECT_EQ(StrongestKey(Part(heard, 1.05, 1.5)), 69);
    EXPECT_EQ(renderer.musicFrame, 66150u);
}

TEST_F(Rendering, StartingTwiceInARowIsLikeStartingOnce) {
    const auto piece = Piece(Notes({60}));
    SetMusic(renderer, piece.get());
    SetMusic(renderer, piece.get());
    const Recording twice = Hear(0.5);
    EXPECT_EQ(StrongestKey(Part(twice, 0.05, 0.5)), 60);
    EXPECT_LT(Peak(twice), 20000);
}

TEST_F(Rendering, ControllersOfOnePieceDoNotReachTheNext) {
    const std::string odd =
        Bytes({0, 0xC0, kOcarina, 0, 0xE0, 0, 0, 0, 0xB0, 7, 3, 0, 0xB0, 64, 127});
    const auto first = Piece(MidiFile(0, 96, {odd + NoteOn(0, 60) + EndOfTrack(96)}));
    const auto second = Piece(Notes({60}));
    SetMusic(renderer, second.get());
    const Recording fresh = Hear(0.5);
    SetMusic(renderer, first.get());
    Hear(0.5);
    SetMusic(renderer, second.get());
    const Recording later = Part(Hear(0.5), 0.05, 0.5);
    EXPECT_EQ(StrongestKey(later), 60);
    EXPECT_NEAR(Loudness(later), Loudness(Part(fresh, 0.05, 0.5)), 0.01);
}

TEST_F(Rendering, SystemExclusiveMessagesOfAllKindsDoNoHarm) {
    std::string events;
    const std::vector<std::vector<int>> messages = {
        {0x7E, 0x7F, 9, 1},                                // General MIDI on
        {0x41, 0x10, 0x42, 0x12, 0x40, 0, 0x7F, 0, 0x41},  // GS reset
        {0x43, 0x10, 0x4C, 0, 0, 0x7E, 0},                 // XG on
        {0x7F, 0x7F, 8, 2, 0, 1, 60, 60, 0, 0},            // a note's tuning
        {0x7E, 0x7F, 8, 1, 0},
        {0x7D, 1},
        {1},
    };
    for (const std::vector<int>& message : messages) {
        events += Bytes({0, 0xF0, static_cast<int>(message.size() + 1)}) + Bytes(message) + "\xF7";
    }
    events += Bytes({0, 0xB0, 101, 0, 0, 0xB0, 100, 3, 0, 0xB0, 6, 5, 0, 0xC0, kOcarina});
    const auto piece = Piece(MidiFile(0, 96, {events + NoteOn(0, 60) + EndOfTrack(96)}));
    SetMusic(renderer, piece.get());
    EXPECT_EQ(StrongestKey(Part(Hear(0.5), 0.05, 0.5)), 60);
}

TEST_F(Rendering, WithoutASynthesiserTheMusicAdvancesInSilence) {
    renderer.synth = nullptr;
    const auto piece = Piece(Notes({60}));
    SetMusic(renderer, piece.get());
    EXPECT_EQ(Peak(Hear(1)), 0);
    EXPECT_EQ(renderer.musicFrame, 44100u);
}

TEST_F(Rendering, TheMusicWaitsAtItsStartForASynthesiserThatIsComing) {
    renderer.synth = nullptr;
    renderer.synthIsComing = true;
    const auto piece = Piece(Notes({60}));
    SetMusic(renderer, piece.get());
    EXPECT_EQ(Peak(Hear(0.3)), 0);
    EXPECT_EQ(renderer.musicFrame, 0u);
    renderer.synth = synth;
    renderer.synthIsComing = false;
    EXPECT_EQ(StrongestKey(Part(Hear(0.5), 0.05, 0.5)), 60);
}

// --- Sounds

TEST_F(Rendering, ASoundIsHeardAsItIs) {
    const Sound sound = Decode(SineFile(1000, 0.25, 1.0));
    SetSound(renderer, &sound);
    const Recording heard = Hear(0.5);
    Recording wanted = {sound.samples};
    EXPECT_EQ(Part(heard, 0, 0.25).samples, wanted.samples);
    EXPECT_EQ(Peak(Part(heard, 0.25, 0.5)), 0);
}

TEST_F(Rendering, ASecondPlaySoundBeforeTheFirstSoundEndsCutsTheFirstOneOff) {
    const Sound first = Decode(SineFile(440, 2, 0.5));
    const Sound second = Decode(SineFile(1000, 0.5, 0.5));
    SetSound(renderer, &first);
    const Recording before = Hear(0.5);
    SetSound(renderer, &second);
    const Recording after = Hear(1);
    EXPECT_GT(Strength(before, 440), 0.4);
    EXPECT_LT(Strength(Part(after, 0.02, 0.5), 440), 0.001);
    EXPECT_GT(Strength(Part(after, 0.02, 0.5), 1000), 0.4);
    EXPECT_EQ(Peak(Part(after, 0.5, 1)), 0);
}

TEST_F(Rendering, AtASoundVolumeOf50EverySampleIsHalfAsLarge) {
    const Sound sound = {{20000, -20000, 1000, 2, -32768, 32766}};
    StartVolumes(renderer, 0, 50);
    SetSound(renderer, &sound);
    std::vector<i16> heard = Hear(0.01).samples;
    heard.resize(8);
    EXPECT_EQ(heard, (std::vector<i16>{10000, -10000, 500, 1, -16384, 16383, 0, 0}));
}

TEST_F(Rendering, AMusicVolumeOf0LeavesTheSoundAsItIs) {
    const auto piece = Piece(Notes({60, 64}));
    const Sound sound = Decode(SineFile(1000, 0.25, 1.0));
    StartVolumes(renderer, 0, 100);
    SetMusic(renderer, piece.get());
    SetSound(renderer, &sound);
    const Recording heard = Hear(0.5);
    EXPECT_EQ(Part(heard, 0, 0.25).samples, sound.samples);
    EXPECT_EQ(Peak(Part(heard, 0.25, 0.5)), 0);
}

TEST_F(Rendering, AVolumeThatChangesGlidesThere) {
    const Sound sound = {std::vector<i16>(20000, 10000)};
    SetSound(renderer, &sound);
    Hear(0.01);
    SetVolumes(renderer, 100, 50);
    const Recording after = Hear(0.1);
    EXPECT_LT(LargestStep(after), 50);
    EXPECT_EQ(after.samples.back(), 5000);
}

TEST_F(Rendering, WhatIsPausedFadesWaitsAndGoesOnFromWhereItWas) {
    const auto piece = Piece(Notes({60, 64}));
    const Sound sound = {std::vector<i16>(60000, 10000)};
    SetMusic(renderer, piece.get());
    SetSound(renderer, &sound);
    Hear(0.01);  // 441 frames
    renderer.musicVolume = {.target = 0, .now = 0};
    renderer.paused = true;
    const Recording fading = Hear(0.1);
    EXPECT_LT(LargestStep(fading), 50);
    EXPECT_EQ(fading.samples.back(), 0);
    // The fade lasts for 256 frames; what is begun of a step of 64 is used up.
    EXPECT_GE(renderer.soundFrame, 441u + 256);
    EXPECT_LE(renderer.soundFrame, 441u + 256 + 64);
    const u64 music = renderer.musicFrame;
    const size_t waiting = renderer.soundFrame;
    EXPECT_EQ(Peak(Hear(1)), 0);
    EXPECT_EQ(renderer.soundFrame, waiting);
    EXPECT_EQ(renderer.musicFrame, music);
    renderer.paused = false;
    const Recording after = Hear(0.1);
    EXPECT_LT(LargestStep(after), 50);
    EXPECT_EQ(after.samples.back(), 10000);
    EXPECT_EQ(renderer.soundFrame, waiting + 4410);
    EXPECT_EQ(renderer.musicFrame, music + 4410);
}

TEST_F(Rendering, StoppingASoundDoesNotClick) {
    const Sound sound = Decode(SineFile(200, 2, 0.9));
    SetSound(renderer, &sound);
    Recording heard = Hear(0.5012);  // not where the wave is at rest
    SetSound(renderer, nullptr);
    const Recording after = Hear(0.5);
    heard.samples.insert(heard.samples.end(), after.samples.begin(), after.samples.end());
    // The wave's own largest step is 0.9 * 32767 * 2 pi * 200 / 44100 = 840.
    EXPECT_LT(LargestStep(heard), 1100);
}

TEST_F(Rendering, MusicAndSoundTogetherDoNotClip) {
    std::string loud = Bytes({0, 0xC0, kOcarina, 0, 0xB0, 7, 127});
    for (int key = 48; key <= 72; key += 4) {
        loud += NoteOn(0, key, 127);
    }
    const auto piece = Piece(MidiFile(0, 96, {loud + EndOfTrack(960)}));
    const Sound sound = Decode(SineFile(1000, 2, 1.0));
    SetMusic(renderer, piece.get());
    SetSound(renderer, &sound);
    const Recording heard = Hear(2);
    EXPECT_LT(Peak(heard), 32767);
    EXPECT_GT(Peak(heard), 20000);
    // Both are there, and a clipped sine would have strong overtones.
    EXPECT_GT(Strength(heard, 1000), 0.2);
    EXPECT_GT(Strength(heard, KeyFrequency(60)), 0.01);
    EXPECT_LT(Strength(heard, 5000), Strength(heard, 1000) / 50);
}

TEST_F(Rendering, MutingSilencesAndTheMusicGoesOn) {
    const auto piece = Piece(Notes({60, 69}));
    SetMusic(renderer, piece.get());
    Hear(0.2);
    renderer.muted = true;
    EXPECT_EQ(Peak(Part(Hear(0.85), 0.01, 0.85)), 0);
    renderer.muted = false;
    EXPECT_EQ(StrongestKey(Part(Hear(0.4), 0.02, 0.4)), 69);
}

TEST_F(Rendering, TheWholeIsTheSameOnEveryRun) {
    const auto piece = Piece(Notes({60, 64, 67}, 0));
    const Sound sound = Decode(SineFile(700, 0.5, 0.5, 22050));
    const auto play = [&](Synth* with) {
        renderer = {};
        renderer.synth = with;
        SetMusic(renderer, piece.get());
        Recording heard = Hear(0.6);
        SetSound(renderer, &sound);
        const Recording rest = Hear(1);
        heard.samples.insert(heard.samples.end(), rest.samples.begin(), rest.samples.end());
        return heard.samples;
    };
    Synth* const one = LoadSynth("");
    Synth* const two = LoadSynth("");
    EXPECT_EQ(play(one), play(two));
    DeleteSynth(one);
    DeleteSynth(two);
}

// --- Decoding

struct FormCase {
    const char* name;
    u32 tag, channels, rate, bits;
};

// A sine of 1,000 Hz in any form of samples.
std::string SineIn(const FormCase& form) {
    const u32 frames = form.rate / 2;
    const std::string plain = SineSamples(1000, form.rate, frames, 0.5);
    std::string data;
    for (u32 i = 0; i < frames; ++i) {
        i16 sample = 0;
        std::memcpy(&sample, plain.data() + 2 * i, 2);
        std::string bytes;
        if (form.tag == 3) {
            const f32 value = static_cast<f32>(sample) / 32768;
            bytes.assign(reinterpret_cast<const char*>(&value), 4);
        } else if (form.bits == 8) {
            bytes += static_cast<char>((sample >> 8) + 128);
        } else {
            bytes.assign(form.bits / 8 - 2, '\0');
            bytes.append(reinterpret_cast<const char*>(&sample), 2);
        }
        for (u32 channel = 0; channel < form.channels; ++channel) {
            data += bytes;
        }
    }
    return WavFile({form.tag, form.channels, form.rate, form.bits}, data);
}

TEST(SoundFiles, EveryFormOfSamplesIsDecodedAtItsPitchLengthAndLevel) {
    const FormCase forms[] = {
        {"8 bits mono", 1, 1, 22050, 8},         {"16 bits mono", 1, 1, 44100, 16},
        {"16 bits stereo", 1, 2, 44100, 16},     {"24 bits stereo", 1, 2, 48000, 24},
        {"32 bits mono", 1, 1, 11025, 32},       {"floating point stereo", 3, 2, 96000, 32},
        {"floating point mono", 3, 1, 8000, 32}, {"16 bits, an odd rate", 1, 1, 37123, 16},
    };
    for (const FormCase& form : forms) {
        const Recording heard = {Decode(SineIn(form)).samples};
        EXPECT_NEAR(static_cast<f64>(heard.Frames()), 22050, 60) << form.name;
        EXPECT_NEAR(Strength(heard, 1000), 0.5, 0.03) << form.name;
    }
}

TEST(SoundFiles, DamagedFilesAreRefusedWithAReason) {
    const std::string good = SineFile(1000, 0.1, 0.5);
    std::string tooSlow = SineFile(1000, 3, 0.5);
    tooSlow.replace(24, 4, Bytes({1, 0, 0, 0}));  // one sample a second
    const std::string unknown = WavFile({.tag = 0x1234}, "abcd");
    const std::string noRate = WavFile({.rate = 0}, "abcd");
    const std::string noChannels = WavFile({.channels = 0}, "abcd");
    for (const std::string& file :
         {std::string(), std::string("RIFF"), good.substr(0, 20), std::string("RIFFxxxxAVI LIST"),
          tooSlow, unknown, noRate, noChannels}) {
        Sound sound;
        std::string reason;
        EXPECT_FALSE(DecodeSound(AsBytes(file), sound, reason)) << file.size();
        EXPECT_NE(reason, "");
        reason.clear();
        EXPECT_FALSE(CheckSound(AsBytes(file), reason)) << file.size();
        EXPECT_NE(reason, "");
    }
    std::string reason;
    EXPECT_TRUE(CheckSound(AsBytes(good), reason));
}

TEST(SoundFiles, AFileThatIsCutOffGivesWhatIsThere) {
    const Sound sound = Decode(SineFile(1000, 1, 0.5).substr(0, 44 + 22050));
    EXPECT_EQ(sound.samples.size(), 22050u);  // 11,025 frames
}

TEST(SoundFiles, AnEmptySoundIsSilence) {
    EXPECT_TRUE(Decode(WavFile({}, "")).samples.empty());
}

// Decoders of other formats, of which the library has many, are no part of what a game can reach.
TEST(SoundFiles, OnlyWavFilesComeToADecoder) {
    const std::string rest(4096, '\0');
    for (const char* const start :
         {"OggS", "fLaC", "ID3", "\xFF\xFB\x90", "MThd", "FORM....AIFF", "Creative Voice File\x1A",
          "Extended Module: ", "IMPM", "SCRM", "MUS\x1A", "\x1F\x8B", "opus", "wvpk", "RIFX"}) {
        Sound sound;
        std::string reason;
        EXPECT_FALSE(DecodeSound(AsBytes(start + rest), sound, reason)) << start;
        EXPECT_EQ(reason, "not a WAV file") << start;
    }
}

// --- SoundFonts

TEST(SoundFonts, TheOptionStandsAlone) {
    EXPECT_EQ(SoundFontCandidates("a.sf2"), std::vector<std::string>{"a.sf2"});
}

TEST(SoundFonts, TheListComesBeforeTheFolders) {
    const std::string before = std::getenv("SDL_SOUNDFONTS");
    unsetenv("SDL_SOUNDFONTS");
    const std::vector<std::string> inFolders = SoundFontCandidates("");
    setenv("SDL_SOUNDFONTS", "/one/a.sf2:/two/b.sf3;;/three/c.sf2", 1);
    const std::vector<std::string> found = SoundFontCandidates("");
    setenv("SDL_SOUNDFONTS", before.c_str(), 1);
    ASSERT_GE(found.size(), 3u);
    EXPECT_EQ((std::vector<std::string>(found.begin(), found.begin() + 3)),
              (std::vector<std::string>{"/one/a.sf2", "/two/b.sf3", "/three/c.sf2"}));
    EXPECT_EQ(std::vector<std::string>(found.begin() + 3, found.end()), inFolders);
}

TEST(SoundFonts, OneThatIsNoneGivesALineAndNoSynthesiser) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(LoadSynth("/no/such.sf2"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "log: no music: /no/such.sf2: not a SoundFont\n");
}

TEST(SoundFonts, APipeAFolderOrADeviceIsNoneAndHaltsNothing) {
    const TemporaryFolder folder;
    const std::string pipe = folder.path + "/pipe.sf2";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
    std::filesystem::create_directory(folder.path + "/folder.sf2");
    for (const std::string& path : {pipe, folder.path + "/folder.sf2", std::string("/dev/zero")}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(LoadSynth(path), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "log: no music: " + path + ": not a SoundFont\n");
    }
}

TEST(SoundFonts, APipeInTheListIsPassedOver) {
    const std::string before = std::getenv("SDL_SOUNDFONTS");
    if (!std::filesystem::is_regular_file(before)) {
        GTEST_SKIP() << "no SoundFont is installed";
    }
    const TemporaryFolder folder;
    const std::string pipe = folder.path + "/pipe.sf2";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
    setenv("SDL_SOUNDFONTS", (pipe + ":" + before).c_str(), 1);
    Synth* const synth = LoadSynth("");
    setenv("SDL_SOUNDFONTS", before.c_str(), 1);
    EXPECT_NE(synth, nullptr);
    DeleteSynth(synth);
}

}  // namespace

}  // namespace moxi
