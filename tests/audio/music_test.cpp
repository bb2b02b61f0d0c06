// The rules of playing music and sounds, against an audio out that only takes notes.

#include "audio/music.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "audio/sound_group.h"
#include "desktop/audio_out.h"
#include "desktop/folders.h"
#include "sys/files.h"
#include "tests/support/headless_run.h"
#include "tests/support/sound_bytes.h"

namespace moxi {

namespace {

std::vector<std::string> calls;
u64 position;

class MusicRules : public testing::Test {
  protected:
    void SetUp() override {
        calls.clear();
        position = 0;
        before = audioOut;
        foldersBefore = folders;
        audioOut.startMusic = [](const std::shared_ptr<const MusicPiece>& piece) {
            calls.push_back("start " + std::to_string(piece->events.size()));
        };
        audioOut.stopMusic = [] { calls.emplace_back("stop"); };
        audioOut.musicPosition = [] { return position; };
        audioOut.playSound = [](const std::string& name, const std::vector<u8>& file) {
            calls.push_back("sound " + name + " " + std::to_string(file.size()));
        };
        audioOut.stopSound = [] { calls.emplace_back("stop sound"); };
        folders.resources = folder.path + "/game";
        folders.dataOverride = folder.path + "/data";
        InitFolders();
        std::filesystem::create_directories(folders.resources + "/MUSIC");
        std::filesystem::create_directories(folders.dataOverride + "/MUSIC");
        testing::internal::CaptureStderr();
    }

    void TearDown() override {
        ResetMusic();
        audioOut = before;
        folders = foldersBefore;
        ResetFiles();
        if (!logTaken) {
            testing::internal::GetCapturedStderr();
        }
    }

    void AddResource(const std::string& name, const std::string& content) const {
        WriteTextFile(folders.resources + "/" + name, content);
    }

    std::string Log() {
        logTaken = true;
        return testing::internal::GetCapturedStderr();
    }

    TemporaryFolder folder;

  private:
    AudioOut before = audioOut;
    Folders foldersBefore;
    bool logTaken = false;
};

// So many beats of half a second, with one note.
std::string Beats(u32 beats) {
    return MidiFile(0, 96, {NoteOn(0, 60) + EndOfTrack(96 * beats)});
}

using Calls = std::vector<std::string>;

TEST_F(MusicRules, ALongestTrackOf64BeatsEndsAtBeat65) {
    AddResource("A.MID", Beats(64));
    PlayNamedMusic("A.MID");
    EXPECT_TRUE(musicPlaying);
    position = 32'499'999'999;
    EXPECT_FALSE(PollMusic());
    EXPECT_TRUE(musicPlaying);
    position = 32'500'000'000;
    EXPECT_TRUE(PollMusic());
    EXPECT_FALSE(musicPlaying);
    EXPECT_EQ(calls, (Calls{"start 1", "stop"}));
    EXPECT_FALSE(PollMusic());  // the end is reported once
}

TEST_F(MusicRules, AMusicNameLosesItsWayToTheParentFolder) {
    AddResource("MUSIC/A.MID", Beats(1));
    AddResource("MUSICBOX.MID", Beats(2));
    PlayNamedMusic("../MUSIC/A.MID");
    PlayNamedMusic("../MUSICBOX.MID");
    EXPECT_EQ(calls, (Calls{"start 1", "stop", "start 1"}));
}

TEST_F(MusicRules, OtherNamesAreLookedUpAsGiven) {
    AddResource("MUSIC/A.MID", Beats(1));
    PlayNamedMusic("MUSIC/A.MID");
    EXPECT_TRUE(musicPlaying);
    WriteTextFile(folder.path + "/OUTSIDE.MID", Beats(1));
    PlayNamedMusic("../OUTSIDE.MID");
    EXPECT_FALSE(musicPlaying) << "what lies outside is not there";
    PlayNamedMusic("A.MID");
    EXPECT_FALSE(musicPlaying);
    EXPECT_EQ(Log(),
              "log: music ../OUTSIDE.MID: cannot be read\nlog: music A.MID: cannot be read\n");
}

TEST_F(MusicRules, TheDataFolderHoldsNoMusic) {
    WriteTextFile(folders.dataOverride + "/MUSIC/A.MID", Beats(1));
    PlayNamedMusic("../MUSIC/A.MID");
    EXPECT_FALSE(musicPlaying);
    EXPECT_EQ(calls, Calls{});
}

TEST_F(MusicRules, ReplayingBeforeAnyNameWasGivenIsSilentAndNoError) {
    ReplayMusic();
    EXPECT_FALSE(musicPlaying);
    EXPECT_EQ(calls, Calls{});
    EXPECT_EQ(Log(), "");
}

TEST_F(MusicRules, ReplayingPlaysTheLastNameFromItsStart) {
    AddResource("A.MID", Beats(1));
    PlayNamedMusic("A.MID");
    position = 1'000'000'000;
    EXPECT_TRUE(PollMusic());
    ReplayMusic();
    EXPECT_TRUE(musicPlaying);
    EXPECT_EQ(calls, (Calls{"start 1", "stop", "start 1"}));
}

TEST_F(MusicRules, ANameThatLeadsNowhereIsKeptAllTheSame) {
    PlayNamedMusic("LATER.MID");
    EXPECT_FALSE(musicPlaying);
    AddResource("LATER.MID", Beats(1));
    ReplayMusic();
    EXPECT_TRUE(musicPlaying);
}

TEST_F(MusicRules, AMissingPieceStopsTheOneThatPlays) {
    AddResource("A.MID", Beats(1));
    PlayNamedMusic("A.MID");
    PlayNamedMusic("NONE.MID");
    EXPECT_FALSE(musicPlaying);
    EXPECT_EQ(calls, (Calls{"start 1", "stop"}));
    position = UINT64_MAX;
    EXPECT_FALSE(PollMusic());
    EXPECT_EQ(Log(), "log: music NONE.MID: cannot be read\n");
}

TEST_F(MusicRules, ADamagedPieceGivesALineAndDoesNotStart) {
    AddResource("BAD.MID", Beats(1).substr(0, 20));
    PlayNamedMusic("BAD.MID");
    EXPECT_FALSE(musicPlaying);
    EXPECT_EQ(Log(), "log: music BAD.MID: the file ends before its last track\n");
}

TEST_F(MusicRules, StoppingReportsNoEnd) {
    AddResource("A.MID", Beats(1));
    PlayNamedMusic("A.MID");
    StopMusic();
    StopMusic();
    position = UINT64_MAX;
    EXPECT_FALSE(PollMusic());
    EXPECT_EQ(calls, (Calls{"start 1", "stop"}));
}

TEST_F(MusicRules, NamesOf1024BytesAndMoreAreCutAndLeadNowhere) {
    PlayNamedMusic(std::string(1023, 'a').c_str());
    PlayNamedMusic(std::string(1024, 'a').c_str());
    PlayNamedMusic(std::string(100000, 'a').c_str());
    ReplayMusic();
    PlaySound(std::string(100000, 'a').c_str());
    EXPECT_EQ(SoundLength(std::string(100000, 'a').c_str()), 0u);
    EXPECT_EQ(calls, Calls{"stop sound"});
}

TEST_F(MusicRules, FoldersAndPipesAreNoFiles) {
    mkfifo((folders.resources + "/PIPE").c_str(), 0600);
    PlayNamedMusic("MUSIC");
    PlayNamedMusic("PIPE");
    EXPECT_EQ(SoundLength("MUSIC"), 0u);
    EXPECT_EQ(SoundLength("PIPE"), 0u);
    EXPECT_EQ(calls, Calls{});
    EXPECT_EQ(Log(), "log: music MUSIC: cannot be read\nlog: music PIPE: cannot be read\n");
}

TEST_F(MusicRules, SoundsComeFromTheResourcesFolderAlone) {
    AddResource("A.WAV", "1234567");
    WriteTextFile(folders.dataOverride + "/B.WAV", "1234");
    PlaySound("A.WAV");
    PlaySound("B.WAV");
    EXPECT_EQ(calls, (Calls{"sound A.WAV 7", "stop sound"}));
    EXPECT_EQ(Log(), "log: sound B.WAV: cannot be read\n");
}

TEST_F(MusicRules, OnlyTheLengthOfASoundKnowsTheMusicFolder) {
    AddResource("MUSIC/A.WAV", WavFile({}, "", 88200));
    PlaySound("../MUSIC/A.WAV");
    EXPECT_EQ(calls, Calls{"stop sound"});
    EXPECT_EQ(SoundLength("../MUSIC/A.WAV"), 1200u);
    EXPECT_EQ(SoundLength("MUSIC/A.WAV"), 1200u);
    EXPECT_EQ(SoundLength("A.WAV"), 0u);
}

TEST_F(MusicRules, ASoundInTheDataFolderHasALengthByTheWayThere) {
    WriteTextFile(folders.dataOverride + "/OWN.WAV", WavFile({}, "", 88200));
    EXPECT_EQ(SoundLength("../data/OWN.WAV"), 1200u);
    EXPECT_EQ(SoundLength("../data/NONE.WAV"), 0u);
    EXPECT_EQ(SoundLength("OWN.WAV"), 0u);
}

}  // namespace

}  // namespace moxi
