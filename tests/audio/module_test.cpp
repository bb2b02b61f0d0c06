// Group 6 as a module meets it: in the real program, headless, and heard through --render-audio.

#include <gtest/gtest.h>

#include "desktop/synth/synth.h"
#include "sound_module.h"
#include "tests/support/listen.h"
#include "tests/support/sound_bytes.h"

namespace moxi {

namespace {

constexpr int kOcarina = 79;  // almost a sine
constexpr const char* kReplay = "0xFFFFFFFE";
constexpr const char* kStop = "0xFFFFFFFF";

using Strings = std::vector<std::string>;

// So many beats of half a second, with a note as long as that.
std::string Beats(u32 beats, int key = 60) {
    return MidiFile(
        0, 96,
        {Bytes({0, 0xC0, kOcarina}) + NoteOn(0, key) + NoteOff(96 * beats, key) + EndOfTrack(0)});
}

std::string Sine(f64 frequency, f64 seconds, f64 amplitude) {
    return WavFile({}, SineSamples(frequency, 44100, static_cast<u32>(44100 * seconds), amplitude));
}

// How often the end is reported up to and including this time.
u32 DonesUntil(u32 milliseconds, const std::string& file, u32 start = 0) {
    SoundModule module;
    module.run.resources["MUSIC/A.MID"] = file;
    module.CallName(start, SYS_PLAY_MUSIC, "../MUSIC/A.MID");
    module.Play(milliseconds);
    EXPECT_EQ(module.result.status, 0);
    EXPECT_EQ(module.result.lines, Strings{});
    return module.Dones();
}

// --- Music

TEST(SoundModules, AFileWhoseLongestTrackIs64BeatsReportsItsEndAtBeat65) {
    EXPECT_EQ(DonesUntil(32'499, Beats(64)), 0u);
    EXPECT_EQ(DonesUntil(32'500, Beats(64)), 1u);
    EXPECT_EQ(DonesUntil(70'000, Beats(64)), 1u);
}

TEST(SoundModules, TheEndComesWithTheFirstHostTickThatIsNotBeforeIt) {
    // Started 3 ms after a tick, the piece ends at 1,003 ms.
    EXPECT_EQ(DonesUntil(1'004, Beats(1), 3), 0u);
    EXPECT_EQ(DonesUntil(1'005, Beats(1), 3), 1u);
    // 1 beat at 501,000 microseconds and one more: 1,002 ms.
    const std::string slow = MidiFile(0, 96, {Tempo(0, 501'000) + EndOfTrack(96)});
    EXPECT_EQ(DonesUntil(1'004, slow), 0u);
    EXPECT_EQ(DonesUntil(1'005, slow), 1u);
}

TEST(SoundModules, TheEndFollowsTheTempoMap) {
    // 2 beats of 0.3 s, 2 of 0.7 s, and one more at the last tempo: 2.7 s.
    const std::string file = MidiFile(1, 480,
                                      {Tempo(0, 300'000) + Tempo(960, 700'000) + EndOfTrack(0),
                                       NoteOn(0, 60) + NoteOff(1920, 60) + EndOfTrack(0)});
    EXPECT_EQ(DonesUntil(2'699, file), 0u);
    EXPECT_EQ(DonesUntil(2'700, file), 1u);
}

TEST(SoundModules, ReplayingBeforeAnyNameWasGivenPlaysTheEmptyName) {
    SoundModule module;
    module.Call(0, SYS_PLAY_MUSIC, kReplay);
    const u32 flag = module.Call(0, SYS_MUSIC_PLAYING);
    module.Play(5000);
    EXPECT_EQ(module.result.status, 0);
    EXPECT_EQ(module.result.lines, Strings{});
    EXPECT_EQ(module.Of(flag), 0u);
    EXPECT_EQ(module.Dones(), 0u);
}

TEST(SoundModules, TheFlagIs1AfterASuccessfulStartAnd0AfterTheEnd) {
    SoundModule module;
    module.run.resources["A.MID"] = Beats(1);
    const u32 before = module.Call(0, SYS_MUSIC_PLAYING);
    const u32 start = module.CallName(0, SYS_PLAY_MUSIC, "A.MID");
    const u32 after = module.Call(0, SYS_MUSIC_PLAYING);
    const u32 last = module.Call(999, SYS_MUSIC_PLAYING);
    const u32 done = module.Call(1001, SYS_MUSIC_PLAYING);
    module.Play(2000);
    EXPECT_EQ(module.Of(before), 0u);
    EXPECT_EQ(module.Of(start), SoundModule::kUntouched);
    EXPECT_EQ(module.Of(after), 1u);
    EXPECT_EQ(module.Of(last), 1u);
    EXPECT_EQ(module.Of(done), 0u);
    EXPECT_EQ(module.Dones(), 1u);
}

TEST(SoundModules, BothWaysToStopReportNoEnd) {
    for (const u32 command : {SYS_PLAY_MUSIC, SYS_STOP_MUSIC}) {
        SoundModule module;
        module.run.resources["A.MID"] = Beats(1);
        module.CallName(0, SYS_PLAY_MUSIC, "A.MID");
        const u32 stop = module.Call(500, command, kStop);
        const u32 flag = module.Call(500, SYS_MUSIC_PLAYING);
        module.Play(3000);
        EXPECT_EQ(module.Of(stop), SoundModule::kUntouched);
        EXPECT_EQ(module.Of(flag), 0u);
        EXPECT_EQ(module.Dones(), 0u);
    }
}

TEST(SoundModules, ReplayingStartsAnewAndCountsFromThere) {
    SoundModule module;
    module.run.resources["A.MID"] = Beats(1);
    module.CallName(0, SYS_PLAY_MUSIC, "A.MID");
    module.Call(900, SYS_PLAY_MUSIC, kReplay);
    const u32 flag = module.Call(1899, SYS_MUSIC_PLAYING);
    module.Play(1900);
    EXPECT_EQ(module.Of(flag), 1u);
    EXPECT_EQ(module.Dones(), 1u);
}

TEST(SoundModules, NamesThatDoNotBeginWithTheMusicFolderAreLookedUpAsGiven) {
    SoundModule module;
    module.run.resources["SONGS/A.MID"] = Beats(1);
    module.run.resources["MUSICBOX.MID"] = Beats(1);
    module.run.data["DATA.MID"] = Beats(1);
    Strings names = {"SONGS/A.MID", "../MUSICBOX.MID", "A.MID", "../SONGS/A.MID", "DATA.MID"};
    std::vector<u32> flags;
    for (const std::string& name : names) {
        module.CallName(0, SYS_PLAY_MUSIC, name);
        flags.push_back(module.Call(0, SYS_MUSIC_PLAYING));
    }
    module.Play(100);
    std::vector<u32> found;
    for (const u32 flag : flags) {
        found.push_back(module.Of(flag));
    }
    EXPECT_EQ(found, (std::vector<u32>{1, 1, 0, 0, 0}));
    EXPECT_EQ(module.result.lines, (Strings{"log: music A.MID: cannot be read",
                                            "log: music ../SONGS/A.MID: cannot be read",
                                            "log: music DATA.MID: cannot be read"}));
}

TEST(SoundModules, DamagedMusicGivesALineEach) {
    SoundModule module;
    module.run.resources["EMPTY.MID"] = "";
    module.run.resources["RANDOM.MID"] = "MThd and then nothing of the kind";
    module.run.resources["SHORT.MID"] = Beats(4).substr(0, 30);
    for (const char* name : {"EMPTY.MID", "RANDOM.MID", "SHORT.MID"}) {
        module.CallName(0, SYS_PLAY_MUSIC, name);
    }
    const u32 flag = module.Call(0, SYS_MUSIC_PLAYING);
    module.Play(100);
    EXPECT_EQ(module.Of(flag), 0u);
    EXPECT_EQ(module.result.lines,
              (Strings{"log: music EMPTY.MID: not a MIDI file",
                       "log: music RANDOM.MID: a MIDI header of no known form",
                       "log: music SHORT.MID: the file ends before its last track"}));
}

// --- Sounds

TEST(SoundModules, TheLengthOfSounds) {
    SoundModule module;
    module.run.resources["STEREO.WAV"] = WavFile({.channels = 2}, std::string(176400, '\0'));
    module.run.resources["BYTES.WAV"] =
        WavFile({.rate = 22050, .bits = 8}, std::string(11025, '\x80'));
    module.run.resources["FACT.WAV"] =
        WavFile({.channels = 2, .beforeData = Chunk("fact", "1234")}, std::string(176400, '\0'));
    module.run.resources["MUSIC/M.WAV"] = WavFile({}, "", 88200);
    module.run.resources["TEXT.WAV"] = "no sound at all";
    module.run.data["DATA.WAV"] = WavFile({}, "", 88200);
    const u32 stereo = module.CallName(0, SYS_SOUND_LENGTH, "STEREO.WAV");
    const u32 bytes = module.CallName(0, SYS_SOUND_LENGTH, "BYTES.WAV");
    const u32 fact = module.CallName(0, SYS_SOUND_LENGTH, "FACT.WAV");
    const u32 music = module.CallName(0, SYS_SOUND_LENGTH, "../MUSIC/M.WAV");
    const u32 text = module.CallName(0, SYS_SOUND_LENGTH, "TEXT.WAV");
    const u32 missing = module.CallName(0, SYS_SOUND_LENGTH, "NONE.WAV");
    const u32 data = module.CallName(0, SYS_SOUND_LENGTH, "DATA.WAV");
    module.Play(10);
    EXPECT_EQ(module.Of(stereo), 1200u);
    EXPECT_EQ(module.Of(bytes), 700u);
    EXPECT_EQ(module.Of(fact), 1200u);
    EXPECT_EQ(module.Of(music), 1200u);
    EXPECT_EQ(module.Of(text), 0u);
    EXPECT_EQ(module.Of(missing), 0u);
    EXPECT_EQ(module.Of(data), 0u);
    EXPECT_EQ(module.result.lines, Strings{});
}

TEST(SoundModules, ASoundThatCannotBePlayedGivesALine) {
    SoundModule module;
    module.run.resources["GOOD.WAV"] = Sine(440, 0.1, 0.5);
    module.run.resources["BAD.WAV"] = "RIFF1234WAVEfmt ";
    const u32 good = module.CallName(0, SYS_PLAY_SOUND, "GOOD.WAV");
    module.CallName(0, SYS_PLAY_SOUND, "BAD.WAV");
    module.CallName(0, SYS_PLAY_SOUND, "NONE.WAV");
    module.Play(10);
    EXPECT_EQ(module.result.status, 0);
    EXPECT_EQ(module.Of(good), SoundModule::kUntouched);
    ASSERT_EQ(module.result.lines.size(), 2u);
    EXPECT_EQ(module.result.lines[0].rfind("log: sound BAD.WAV: ", 0), 0u);
    EXPECT_EQ(module.result.lines[1], "log: sound NONE.WAV: cannot be read");
}

// --- Arguments

TEST(SoundModules, UnknownCommandsAreIgnored) {
    SoundModule module;
    const u32 first = module.Call(0, 0x0605, "0xFFFFFFF0");
    const u32 last = module.Call(0, 0x06FF, "0xFFFFFFF0");
    module.Play(10);
    EXPECT_EQ(module.result.status, 0);
    EXPECT_EQ(module.Of(first), SoundModule::kUntouched);
    EXPECT_EQ(module.Of(last), SoundModule::kUntouched);
    EXPECT_EQ(module.result.lines, Strings{});
}

TEST(SoundModules, ANameOutsideTheImageIsAMemoryFault) {
    for (const u32 command : {SYS_PLAY_SOUND, SYS_PLAY_MUSIC, SYS_SOUND_LENGTH}) {
        SoundModule module;
        module.Call(0, command, "0xFFFFFFFD");
        module.Play(10);
        EXPECT_EQ(module.result.status, 1);
        ASSERT_EQ(module.result.Fatals().size(), 1u);
        EXPECT_EQ(module.result.Fatals()[0].rfind("Memory fault at 0x", 0), 0u);
    }
}

// --- What is heard

struct Heard {
    TemporaryFolder folder;
    SoundModule module;
    Recording recording;

    void Play(u32 milliseconds) {
        const std::string path = folder.path + "/heard.wav";
        module.run.options.insert(module.run.options.end(), {"--render-audio", path});
        module.Play(milliseconds);
        EXPECT_EQ(module.result.status, 0);
        recording = ReadRecording(path);
    }
};

bool HasSoundFont() {
    return !SoundFontCandidates("").empty();
}

TEST(HeardModules, ARunWithoutSoundIsSilenceOfItsLength) {
    Heard heard;
    heard.Play(1003);
    EXPECT_EQ(heard.recording.Frames(), 44232u);  // 44,232.3
    EXPECT_EQ(Peak(heard.recording), 0);
}

TEST(HeardModules, SoundsAreHeardWhenTheyArePlayedAndTheNewCutsTheOld) {
    Heard heard;
    heard.module.run.resources["A.WAV"] = Sine(440, 2, 0.5);
    heard.module.run.resources["B.WAV"] = Sine(1000, 0.25, 0.5);
    heard.module.CallName(200, SYS_PLAY_SOUND, "A.WAV");
    heard.module.CallName(700, SYS_PLAY_SOUND, "B.WAV");
    heard.Play(2000);
    EXPECT_NEAR(FirstSound(heard.recording, 200), 0.2, 0.001);
    EXPECT_NEAR(Strength(Part(heard.recording, 0.2, 0.7), 440), 0.5, 0.01);
    EXPECT_NEAR(Strength(Part(heard.recording, 0.7, 0.95), 1000), 0.5, 0.01);
    EXPECT_LT(Strength(Part(heard.recording, 0.72, 0.95), 440), 0.001);
    EXPECT_EQ(Peak(Part(heard.recording, 0.951, 2)), 0);
}

// A game plays what it has made itself: a name that leads out of the resources to its data folder
// is looked up there, as the file services look up a name.
TEST(HeardModules, ASoundInTheDataFolderIsHeardByTheWayThere) {
    for (const char* const name : {"../data/OWN/A.WAV", "./.././data//OWN/../OWN/A.WAV"}) {
        Heard heard;
        heard.module.run.data["OWN/A.WAV"] = Sine(440, 1, 0.5);
        heard.module.CallName(0, SYS_PLAY_SOUND, name);
        heard.Play(500);
        EXPECT_NEAR(Strength(Part(heard.recording, 0.1, 0.4), 440), 0.5, 0.01) << name;
        EXPECT_EQ(heard.module.result.lines, Strings{}) << name;
    }
}

TEST(HeardModules, OtherWaysOutOfTheResourcesLeadToNoSound) {
    for (const std::string name :
         {"../data", "../data/", "../database/A.WAV", "../data/../data.wav", "../outside.wav",
          "A.WAV", "../data/NONE.WAV"}) {
        Heard heard;
        heard.module.run.data["A.WAV"] = Sine(440, 1, 0.5);
        heard.module.run.beside["database/A.WAV"] = Sine(440, 1, 0.5);
        heard.module.run.beside["data.wav"] = Sine(440, 1, 0.5);
        heard.module.run.beside["outside.wav"] = Sine(440, 1, 0.5);
        heard.module.CallName(0, SYS_PLAY_SOUND, name);
        heard.Play(100);
        EXPECT_EQ(Peak(heard.recording), 0) << name;
        EXPECT_EQ(heard.module.result.lines, Strings{"log: sound " + name + ": cannot be read"});
    }
}

TEST(HeardModules, MusicInTheDataFolderIsHeardByTheWayThere) {
    if (!HasSoundFont()) {
        GTEST_SKIP() << "no SoundFont is installed";
    }
    Heard heard;
    heard.module.run.data["OWN.MID"] = Beats(8, 69);
    heard.module.CallName(0, 0x0601, "../data/OWN.MID");
    heard.module.Call(700, 0x0601, kReplay);
    heard.Play(1500);
    EXPECT_EQ(StrongestKey(Part(heard.recording, 0.1, 0.6)), 69);
    EXPECT_EQ(StrongestKey(Part(heard.recording, 0.8, 1.5)), 69);
    EXPECT_EQ(heard.module.result.lines, Strings{});
}

TEST(HeardModules, ASoundThatIsMissingEndsTheOneThatPlays) {
    Heard heard;
    heard.module.run.resources["A.WAV"] = Sine(440, 2, 0.5);
    heard.module.CallName(0, SYS_PLAY_SOUND, "A.WAV");
    heard.module.CallName(500, SYS_PLAY_SOUND, "NONE.WAV");
    heard.Play(1000);
    EXPECT_GT(Peak(Part(heard.recording, 0.4, 0.5)), 16000);
    EXPECT_EQ(Peak(Part(heard.recording, 0.51, 1)), 0);
}

TEST(HeardModules, MusicStartsStopsAndStartsAgainWhenItIsTold) {
    if (!HasSoundFont()) {
        GTEST_SKIP() << "no SoundFont is installed";
    }
    Heard heard;
    heard.module.run.resources["A.MID"] = Beats(8, 69);
    heard.module.CallName(250, SYS_PLAY_MUSIC, "A.MID");
    heard.module.Call(1250, SYS_STOP_MUSIC);
    heard.module.Call(1750, SYS_PLAY_MUSIC, kReplay);
    heard.module.Call(1750, SYS_PLAY_MUSIC, kReplay);
    heard.Play(2500);
    EXPECT_NEAR(FirstSound(heard.recording, 500), 0.25, 0.03);
    EXPECT_EQ(StrongestKey(Part(heard.recording, 0.3, 1.2)), 69);
    EXPECT_EQ(Peak(Part(heard.recording, 1.26, 1.75)), 0);
    EXPECT_EQ(StrongestKey(Part(heard.recording, 1.8, 2.5)), 69);
}

TEST(HeardModules, TheMusicIsSilentAfterItsEnd) {
    if (!HasSoundFont()) {
        GTEST_SKIP() << "no SoundFont is installed";
    }
    Heard heard;
    // The note is never ended by the piece itself.
    heard.module.run.resources["A.MID"] =
        MidiFile(0, 96, {Bytes({0, 0xC0, kOcarina}) + NoteOn(0, 60) + EndOfTrack(96)});
    heard.module.CallName(0, SYS_PLAY_MUSIC, "A.MID");
    heard.Play(2000);
    EXPECT_GT(Peak(Part(heard.recording, 0.9, 1)), 500);
    EXPECT_EQ(Peak(Part(heard.recording, 1.01, 2)), 0);
    EXPECT_EQ(heard.module.Dones(), 1u);
}

TEST(HeardModules, EveryRunSoundsTheSame) {
    const auto play = [] {
        Heard heard;
        heard.module.run.resources["A.MID"] = Beats(3, 64);
        heard.module.run.resources["A.WAV"] = WavFile({.rate = 22050}, Sine(300, 1, 0.8));
        heard.module.CallName(17, SYS_PLAY_MUSIC, "A.MID");
        heard.module.CallName(503, SYS_PLAY_SOUND, "A.WAV");
        heard.module.Call(1101, SYS_PLAY_MUSIC, kReplay);
        heard.Play(2000);
        return heard.recording.samples;
    };
    EXPECT_EQ(play(), play());
}

TEST(HeardModules, TheMenusMuteSilencesUntilItIsChosenAgain) {
    Heard heard;
    heard.module.run.resources["A.WAV"] = Sine(440, 3, 0.5);
    heard.module.CallName(0, SYS_PLAY_SOUND, "A.WAV");
    heard.module.Event("500 modifiers shift command");
    heard.module.Event("500 key-down 2E \"M\"");
    heard.module.Event("700 key-up 2E \"M\"");
    heard.module.Event("1000 key-down 2E \"M\"");
    heard.Play(1500);
    EXPECT_GT(Peak(Part(heard.recording, 0, 0.5)), 16000);
    EXPECT_EQ(Peak(Part(heard.recording, 0.51, 1)), 0);
    EXPECT_GT(Peak(Part(heard.recording, 1.02, 1.5)), 16000);
}

TEST(HeardModules, WithMuteNothingIsHeardAndTheMusicStillEnds) {
    Heard heard;
    heard.module.run.resources["A.MID"] = Beats(1);
    heard.module.run.resources["A.WAV"] = Sine(440, 1, 0.5);
    heard.module.run.options = {"--mute"};
    heard.module.CallName(0, SYS_PLAY_MUSIC, "A.MID");
    heard.module.CallName(0, SYS_PLAY_SOUND, "A.WAV");
    heard.Play(1000);
    EXPECT_EQ(Peak(heard.recording), 0);
    EXPECT_EQ(heard.module.Dones(), 1u);
}

TEST(HeardModules, WithoutASoundFontThereIsALineSoundsAreHeardAndTheMusicEnds) {
    Heard heard;
    heard.module.run.resources["A.MID"] = Beats(1);
    heard.module.run.resources["A.WAV"] = Sine(440, 1, 0.5);
    heard.module.run.options = {"--soundfont", "no-such.sf2"};
    heard.module.CallName(0, SYS_PLAY_MUSIC, "A.MID");
    heard.module.CallName(0, SYS_PLAY_SOUND, "A.WAV");
    heard.Play(1000);
    EXPECT_NEAR(Strength(Part(heard.recording, 0, 1), 440), 0.5, 0.01);
    EXPECT_EQ(heard.module.Dones(), 1u);
    EXPECT_EQ(heard.module.result.lines, Strings{"log: no music: no-such.sf2: not a SoundFont"});
}

TEST(HeardModules, AFileThatCannotBeWrittenGivesALine) {
    SoundModule module;
    module.run.options = {"--render-audio", "no/such/folder.wav"};
    module.Play(10);
    EXPECT_EQ(module.result.status, 0);
    EXPECT_EQ(module.result.lines, Strings{"log: no/such/folder.wav: cannot be written"});
}

}  // namespace

}  // namespace moxi
