// The player's preferences: the file, games of their own, runs of their own, broken files.

#include "host/preferences.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "base/output_files.h"
#include "desktop/folders.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace {

using enum PreferenceScope;

class PreferenceFiles : public ::testing::Test {
  protected:
    void TearDown() override { ResetPreferences(); }

    // Reads a file with this text for the game "Kettle"; the answer is what the log says.
    std::string Read(const std::string& text) {
        WriteTextFile(path, text);
        testing::internal::CaptureStderr();
        ReadPreferences(path);
        ChoosePreferencesOf("Kettle");
        std::string log = testing::internal::GetCapturedStderr();
        for (size_t at = 0; (at = log.find(path)) != std::string::npos;) {
            log.replace(at, path.size(), "FILE");
        }
        return log;
    }
    std::string Text() const { return ReadTextFile(path); }

    TemporaryFolder folder;
    std::string path = folder.path + "/preferences";
};

TEST_F(PreferenceFiles, WithoutAFileEverythingIsAsItIsAtFirst) {
    ReadPreferences(path);
    EXPECT_EQ(preferences.musicVolume, 100u);
    EXPECT_EQ(preferences.soundVolume, 100u);
    EXPECT_FALSE(preferences.mute);
    EXPECT_FALSE(preferences.fullScreen);
    EXPECT_EQ(preferences.scale, kScaleAutomatic);
    EXPECT_EQ(preferences.filter, ScaleFilter::Sharp);
    EXPECT_FALSE(preferences.pauseWhenInactive);
    EXPECT_TRUE(preferences.askBeforeOpening);
    EXPECT_TRUE(preferences.keyMap.empty());
    EXPECT_TRUE(SavePreferences());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(PreferenceFiles, AFileThatThePlayerNamedAndThatIsNotThereYetIsOneLine) {
    testing::internal::CaptureStderr();
    ReadPreferences(path, true);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "log: " + path + ": not there yet, made by the first change of a preference\n");
    SetPreference(AllGames, "mute", "yes");
    EXPECT_TRUE(SavePreferences());
    EXPECT_EQ(Text(), "mute = yes\n");
    testing::internal::CaptureStderr();
    ReadPreferences(path, true);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(PreferenceFiles, EveryPreferenceIsRead) {
    EXPECT_EQ(Read("# a comment\n"
                   "\n"
                   "music-volume = 80\n"
                   "  sound-volume=5  \r\n"
                   "mute = yes\n"
                   "full-screen = yes\n"
                   "scale = 3\n"
                   "filter = smooth\n"
                   "pause-when-inactive = yes\n"
                   "ask-before-opening = no\n"
                   "screenshot-folder = ~/shots = mine\n"
                   "reduced-motion = yes\n"
                   "large-text = yes\n"
                   "key.w = up\n"
                   "pad.leftx- = a\n"),
              "");
    EXPECT_EQ(preferences.musicVolume, 80u);
    EXPECT_EQ(preferences.soundVolume, 5u);
    EXPECT_TRUE(preferences.mute);
    EXPECT_TRUE(preferences.fullScreen);
    EXPECT_EQ(preferences.scale, 3u);
    EXPECT_EQ(preferences.filter, ScaleFilter::Smooth);
    EXPECT_TRUE(preferences.pauseWhenInactive);
    EXPECT_FALSE(preferences.askBeforeOpening);
    EXPECT_EQ(preferences.screenshotFolder, "~/shots = mine");
    EXPECT_TRUE(preferences.reducedMotion);
    EXPECT_TRUE(preferences.largeText);
    EXPECT_EQ(preferences.keyMap, (std::map<std::string, std::string>{{"w", "up"}}));
    EXPECT_EQ(preferences.padMap, (std::map<std::string, std::string>{{"leftx-", "a"}}));
}

TEST_F(PreferenceFiles, AGamesOwnSectionHoldsForThatGameAlone) {
    Read("music-volume = 80\n[game Kettle]\nmusic-volume = 40\n[game Drift]\nmusic-volume = 20\n");
    EXPECT_EQ(preferences.musicVolume, 40u);
    EXPECT_TRUE(IsThisGamesOwn("music-volume"));
    EXPECT_FALSE(IsThisGamesOwn("mute"));
    EXPECT_EQ(StoredPreferences(AllGames).musicVolume, 80u);
    ChoosePreferencesOf("Lawn");
    EXPECT_EQ(preferences.musicVolume, 80u);
}

TEST_F(PreferenceFiles, OfABrokenFileWhatCanBeReadIsReadAndEachOtherLineIsToldInOne) {
    EXPECT_EQ(
        Read("music-volume = 101\n"
             "sound-volume = 30\n"
             "volume = 3\n"
             "what is this\n"
             "[games]\n"
             "mute = yes\n"
             "[game Kettle]\n"
             "mute = maybe\n"
             "scale = 17\n"
             "scale = 2\n"
             "screenshot-folder = /tmp\n"
             "key.w = nowhere\n"
             "key.ww = up\n"
             "pad.a =\n"
             "pad.q = up\n"),
        "log: FILE:1: music-volume has to be a number from 0 to 100\n"
        "log: FILE:3: there is no preference volume\n"
        "log: FILE:4: cannot be understood: what is this\n"
        "log: FILE:5: cannot be understood: [games]\n"
        "log: FILE:8: mute has to be yes or no\n"
        "log: FILE:9: scale has to be automatic, fit, fit-fractional or a number from 1 to 16\n"
        "log: FILE:11: screenshot-folder is for all games alike\n"
        "log: FILE:12: key.w has to be the name of a key\n"
        "log: FILE:13: key.ww: there is no such key\n"
        "log: FILE:14: pad.a has to be the name of a key or of another action\n"
        "log: FILE:15: pad.q: a gamepad has no such control\n");
    EXPECT_EQ(preferences.soundVolume, 30u);
    EXPECT_EQ(preferences.scale, 2u);
    EXPECT_FALSE(preferences.mute);
    EXPECT_EQ(preferences.screenshotFolder, "");
}

TEST_F(PreferenceFiles, AFileOfNoiseGivesTwentyLinesAndHowManyMore) {
    std::string noise = "mute = yes\n";
    for (int i = 0; i < 30; ++i) {
        noise += "\x1B[31m \xFF noise\n";
    }
    const std::string log = Read(noise);
    EXPECT_TRUE(preferences.mute);
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 21);
    EXPECT_NE(log.find("log: FILE: 10 more lines cannot be understood\n"), std::string::npos);
    EXPECT_EQ(log.find('\x1B'), std::string::npos);
}

TEST_F(PreferenceFiles, WhatIsNoFileIsLeftAlone) {
    std::filesystem::create_directory(path);
    testing::internal::CaptureStderr();
    ReadPreferences(path);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "log: " + path + ": not a file\n");
    EXPECT_TRUE(SetPreference(AllGames, "mute", "yes"));
    EXPECT_TRUE(SavePreferences());
    EXPECT_TRUE(std::filesystem::is_directory(path));
}

TEST_F(PreferenceFiles, ASavedFileKeepsCommentsOrderAndWhatNobodyUnderstands) {
    Read("# mine\nmusic-volume = 80\nnews = 7\n\n[game Drift]\nmute = yes\n");
    EXPECT_TRUE(SetPreference(AllGames, "music-volume", "70"));
    EXPECT_TRUE(SetPreference(AllGames, "mute", "yes"));
    EXPECT_TRUE(SetPreference(ThisGame, "mute", "no"));
    EXPECT_TRUE(SetPreference(ThisGame, "key.w", "up"));
    EXPECT_TRUE(SavePreferences());
    EXPECT_EQ(Text(),
              "# mine\nmusic-volume = 70\nnews = 7\nmute = yes\n\n[game Drift]\nmute = yes\n\n"
              "[game Kettle]\nmute = no\nkey.w = up\n");
    // And it is read as it was meant.
    Read(Text());
    EXPECT_FALSE(preferences.mute);
    EXPECT_TRUE(StoredPreferences(AllGames).mute);
    EXPECT_EQ(preferences.musicVolume, 70u);
}

TEST_F(PreferenceFiles, OfTwoLinesTheLastOneCountsAndIsTheOneThatChanges) {
    Read("mute = yes\nmute = no\n");
    EXPECT_FALSE(preferences.mute);
    SetPreference(AllGames, "mute", "yes");
    SavePreferences();
    EXPECT_EQ(Text(), "mute = yes\nmute = yes\n");
}

TEST_F(PreferenceFiles, WhatAnotherGameHasSavedMeanwhileStays) {
    Read("music-volume = 80\n");
    SetPreference(ThisGame, "music-volume", "10");
    WriteTextFile(path, "music-volume = 80\nlarge-text = yes\n");
    EXPECT_TRUE(SavePreferences());
    EXPECT_EQ(Text(), "music-volume = 80\nlarge-text = yes\n\n[game Kettle]\nmusic-volume = 10\n");
    EXPECT_TRUE(preferences.largeText);
}

TEST_F(PreferenceFiles, AFileThatHasGrownTooLargeMeanwhileStaysWhole) {
    Read("mute = yes\n");
    SetPreference(AllGames, "mute", "no");
    const std::string large = "# " + std::string(2 << 20, 'x') + "\nlarge-text = yes\n";
    WriteTextFile(path, large);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(SavePreferences());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "log: " + path + ": cannot be read\n");
    EXPECT_EQ(Text(), large);
}

TEST_F(PreferenceFiles, AHeadingWithoutANameIsNobodys) {
    EXPECT_EQ(Read("music-volume = 80\n[game  ]\nmusic-volume = 10\n"),
              "log: FILE:2: cannot be understood: [game  ]\n");
    EXPECT_EQ(preferences.musicVolume, 80u);
}

TEST_F(PreferenceFiles, AValueThatThereIsNotChangesNothing) {
    Read("");
    EXPECT_FALSE(SetPreference(AllGames, "music-volume", "101"));
    EXPECT_FALSE(SetPreference(AllGames, "music-volume", "-1"));
    EXPECT_FALSE(SetPreference(AllGames, "music-volume", "5 "));
    EXPECT_FALSE(SetPreference(AllGames, "nothing", "5"));
    EXPECT_FALSE(SetPreference(AllGames, "screenshot-folder", "shots"));
    EXPECT_FALSE(SetPreference(AllGames, "screenshot-folder", "/a\nmute = yes"));
    EXPECT_FALSE(SetPreference(ThisGame, "screenshot-folder", "/a"));
    EXPECT_TRUE(SavePreferences());
    EXPECT_EQ(Text(), "");
}

TEST_F(PreferenceFiles, ForgettingOnePutsBackWhatHoldsOtherwise) {
    Read("scale = 2\n[game Kettle]\nscale = fit\n");
    EXPECT_EQ(preferences.scale, kScaleFit);
    ForgetPreference(ThisGame, "scale");
    EXPECT_EQ(preferences.scale, 2u);
    ForgetPreference(AllGames, "scale");
    EXPECT_EQ(preferences.scale, kScaleAutomatic);
    SavePreferences();
    EXPECT_EQ(Text(), "[game Kettle]\n");
}

TEST_F(PreferenceFiles, ForgettingAllLeavesCommentsAndOtherGamesAlone) {
    Read(
        "# mine\nscale = 2\nkey.w = up\nnews = 7\n[game Kettle]\nscale = fit\n[game Drift]\nscale "
        "= 4\n");
    ForgetAllPreferences(AllGames);
    SavePreferences();
    EXPECT_EQ(Text(), "# mine\nnews = 7\n[game Kettle]\nscale = fit\n[game Drift]\nscale = 4\n");
    ForgetAllPreferences(ThisGame);
    EXPECT_EQ(preferences.scale, kScaleAutomatic);
}

TEST_F(PreferenceFiles, TheCommandLineWinsForItsRunAndIsNotSaved) {
    Read("music-volume = 80\n");
    EXPECT_TRUE(SetPreferenceForRun("music-volume", "20"));
    EXPECT_FALSE(SetPreferenceForRun("music-volume", "loud"));
    EXPECT_EQ(preferences.musicVolume, 20u);
    SetPreference(AllGames, "mute", "yes");
    EXPECT_EQ(preferences.musicVolume, 20u);
    SavePreferences();
    EXPECT_EQ(Text(), "music-volume = 80\nmute = yes\n");
    // The player's own choice in the panel comes after it.
    SetPreference(AllGames, "music-volume", "50");
    EXPECT_EQ(preferences.musicVolume, 50u);
}

TEST_F(PreferenceFiles, AGameWithAnOddNameHasItsSection) {
    Read("");
    ChoosePreferencesOf("Odd]\n[game Drift");
    SetPreference(ThisGame, "mute", "yes");
    SavePreferences();
    EXPECT_EQ(Text(), "[game Odd]\\x0A[game Drift]\nmute = yes\n");
    Read(Text());
    EXPECT_FALSE(preferences.mute);
    ChoosePreferencesOf("Odd]\n[game Drift");
    EXPECT_TRUE(preferences.mute);
}

TEST_F(PreferenceFiles, AGameWhoseNameIsAllBlanksHasASectionOfItsOwn) {
    Read("");
    ChoosePreferencesOf("  ");
    SetPreference(ThisGame, "mute", "yes");
    SavePreferences();
    EXPECT_EQ(Text(), "[game (no name)]\nmute = yes\n");
    Read(Text());
    EXPECT_FALSE(preferences.mute);
    ChoosePreferencesOf("  ");
    EXPECT_TRUE(preferences.mute);
}

TEST_F(PreferenceFiles, TheFileIsReplacedWholeAndAFailureIsOneLine) {
    Read("mute = yes\n");
    SetPreference(AllGames, "mute", "no");
    std::filesystem::create_directory(NewFileOf(path));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(SavePreferences());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "log: " + path + ": cannot be written\n");
    EXPECT_EQ(Text(), "mute = yes\n");
    std::filesystem::remove(NewFileOf(path));
    EXPECT_TRUE(SavePreferences());
    EXPECT_EQ(Text(), "mute = no\n");
    EXPECT_FALSE(std::filesystem::exists(NewFileOf(path)));
}

TEST_F(PreferenceFiles, WhatIsAskedLessOftenHoldsForTheRunAndIsNotSaved) {
    Read("");
    ChoosePreferencesOf("Drift");
    for (const PreferenceScope scope : {AllGames, ThisGame}) {
        SetPreference(scope, "ask-before-opening", "no");
        SetPreference(scope, "mute", "yes");
        testing::internal::CaptureStderr();
        EXPECT_TRUE(SavePreferences());
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "log: ask-before-opening = no holds for this run; to keep it, choose it on the "
                  "shelf or "
                  "write it into " +
                      path + "\n");
        EXPECT_FALSE(preferences.askBeforeOpening);
    }
    EXPECT_EQ(Text(), "mute = yes\n\n[game Drift]\nmute = yes\n");
    SetPreference(AllGames, "ask-before-opening", "yes");
    EXPECT_TRUE(SavePreferences());
    EXPECT_EQ(Text(), "mute = yes\nask-before-opening = yes\n\n[game Drift]\nmute = yes\n");
}

TEST_F(PreferenceFiles, ForgettingAllOfAGameLeavesItsQuestionsWhereOthersAskNone) {
    Read("ask-before-opening = no\n[game Drift]\nask-before-opening = yes\nmute = yes\n");
    ChoosePreferencesOf("Drift");
    ForgetAllPreferences(ThisGame);
    EXPECT_TRUE(SavePreferences());
    EXPECT_EQ(Text(), "ask-before-opening = no\n[game Drift]\nask-before-opening = yes\n");
}

TEST_F(PreferenceFiles, AskingLessIsToldFromAskingMore) {
    const std::string no = "ask-before-opening = no\n";
    const std::string yes = "ask-before-opening = yes\n";
    EXPECT_TRUE(AsksLess("", no));
    EXPECT_TRUE(AsksLess("", "[game Drift]\n" + no));
    EXPECT_TRUE(AsksLess("[game Drift]\n" + no, no));
    EXPECT_TRUE(AsksLess(no + "[game Drift]\n" + yes, no));
    // Of two lines the last one counts, and what cannot be read counts for nothing.
    EXPECT_TRUE(AsksLess("", yes + no));
    EXPECT_TRUE(AsksLess("", no + "ask-before-opening = perhaps\n"));
    EXPECT_FALSE(AsksLess("", no + yes));
    EXPECT_FALSE(AsksLess(no, no + "mute = yes\n"));
    EXPECT_FALSE(AsksLess(no, "[game Drift]\n" + no));
    EXPECT_FALSE(AsksLess(no, yes));
    EXPECT_FALSE(AsksLess("[game Drift]\n" + no, "[game Drift]\n" + no + "[game Kettle]\n" + yes));
    EXPECT_FALSE(AsksLess("", "[no heading\n" + no));
}

TEST_F(PreferenceFiles, ScreenshotsGoToNoHiddenFolder) {
    const std::string home = folder.path + "/home";
    std::filesystem::create_directories(home + "/.config/autostart");
    std::filesystem::create_directories(home + "/Pictures");
    std::filesystem::create_directory_symlink("../.config/autostart", home + "/Pictures/link");
    const char* const usual = std::getenv("HOME");
    const std::string before = usual != nullptr ? usual : "";
    setenv("HOME", home.c_str(), 1);
    folders.pictures = home + "/Pictures";
    for (const std::string& hidden : {home + "/.config/autostart", std::string("~/.ssh"),
                                      home + "/Pictures/link", home + "/Pictures/link/below",
                                      home + "/Pictures/../.config", std::string("/etc/.hidden")}) {
        EXPECT_NE(Read("screenshot-folder = " + hidden + "\n").find("it is hidden"),
                  std::string::npos);
        EXPECT_EQ(ScreenshotFolder(), home + "/Pictures") << hidden;
    }
    Read("screenshot-folder = ~/shots.of/mine\n");
    EXPECT_EQ(ScreenshotFolder(), home + "/shots.of/mine");
    setenv("HOME", before.c_str(), 1);
    folders.pictures.clear();
}

TEST_F(PreferenceFiles, TheUsersFileLiesInTheConfigurationFolderAndALinkIsFollowed) {
    setenv("XDG_CONFIG_HOME", folder.path.c_str(), 1);
    EXPECT_EQ(UsersPreferenceFile(), folder.path + "/moxi/preferences");
    std::filesystem::create_directory(folder.path + "/moxi");
    WriteTextFile(folder.path + "/real", "mute = yes\n");
    std::filesystem::create_symlink("../real", folder.path + "/moxi/preferences");
    EXPECT_EQ(UsersPreferenceFile(), std::filesystem::canonical(folder.path).string() + "/real");
    unsetenv("XDG_CONFIG_HOME");
}

}  // namespace

}  // namespace moxi
