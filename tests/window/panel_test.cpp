// The panel in a real window, opened by the keys that a person presses.
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {

class MoxiPanel : public MoxiWindow {
  protected:
    std::string Preferences() const { return ReadTextFile(folder.path + "/preferences"); }
    std::string Picture() const { return OutputOf("import -window root png:- | md5sum"); }
};

TEST_F(MoxiPanel, ControlAndCommaOpenItOverThePausedGameWhichGoesOnAfterwards) {
    Start({"--mute", "--preferences", folder.path + "/preferences"});
    const std::string plain = Picture();
    // Control is Command, which the game gets and is then told to be up; the comma is not its own.
    EXPECT_EQ(Cause("xdotool key --clearmodifiers ctrl+comma"), (Lines{"c 11 0 0", "d 11 0 0"}));
    EXPECT_TRUE(WaitUntil([&] { return Picture() != plain; }));
    // Keys and clicks are the panel's: on the music's slider two steps down.
    EXPECT_EQ(CauseAll("xdotool key a key Tab key Left key Left mousemove 600 400 click 3"),
              Lines{});
    EXPECT_EQ(Preferences(), "");
    EXPECT_EQ(CauseAll("xdotool key Escape"), Lines{});
    EXPECT_TRUE(WaitUntil([&] { return Preferences() == "music-volume = 90\n"; })) << Preferences();
    EXPECT_TRUE(WaitUntil([&] { return Picture() == plain; }));
    EXPECT_EQ(Type("a"), (Lines{"c 41 1 0", "e 61 0 0"}));
}

TEST_F(MoxiPanel, TheUsersFileIsReadAndSavedInsideTheSandboxAndAKeyPlaysAsAnother) {
    const std::string config = folder.path + "/config";
    setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    std::filesystem::create_directories(config + "/moxi");
    WriteTextFile(config + "/moxi/preferences", "key.w = up\nbroken\n");
    Start();
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_NE(Errors().find("preferences:2: cannot be understood: broken"), std::string::npos);
    EXPECT_EQ(Type("w"), (Lines{"c 26 1 0", "e 1e 0 0"}));
    Cause("xdotool key --clearmodifiers ctrl+comma");
    Cause("xdotool key Tab key Left key Escape");
    EXPECT_TRUE(WaitUntil([&] {
        return ReadTextFile(config + "/moxi/preferences") ==
               "key.w = up\nbroken\nmusic-volume = 95\n";
    })) << ReadTextFile(config + "/moxi/preferences");
}

TEST_F(MoxiPanel, ARequestToCloseAsksTheGame) {
    Start();
    Cause("xdotool key --clearmodifiers ctrl+comma");
    Shell("xdotool key --clearmodifiers ctrl+q");
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_TRUE(Contains(Messages(), "3 0 0 0")) << Messages().back();
}

}  // namespace

}  // namespace moxi
