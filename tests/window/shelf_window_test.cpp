// The shelf in a real window: games are started from it, and it comes back.

#include "tests/window/moxi_window.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

class ShelfWindow : public MoxiWindow {
  protected:
    void Open(const Lines& options = {"--mute"}) {
        Lines arguments = {"env", "HOME=" + folder.path, "XDG_STATE_HOME=" + folder.path + "/state",
                           "XDG_DATA_HOME=" + folder.path + "/share",
                           std::string(MOXI_BIN_DIR) + "/moxi"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        process = StartProcess(arguments, folder.path + "/errors");
    }
    bool WaitForWindow(const std::string& title) {
        name = title;
        return WaitUntil([this] { return !Window().empty(); });
    }
};

TEST_F(ShelfWindow, ReturnPlaysAGameInAProcessOfItsOwnAndTheShelfComesBack) {
    fs::create_directories(folder.path + "/share/moxi/games");
    fs::copy(game, folder.path + "/share/moxi/games/Message Log", fs::copy_options::recursive);
    Open();
    ASSERT_TRUE(WaitForWindow("MOXI")) << Errors();
    Shell("sleep 0.5; xdotool windowactivate --sync " + Window() +
          " type --delay 50 'message'; sleep 0.3; xdotool key Return");
    ASSERT_TRUE(WaitForWindow("Message Log")) << Errors();
    // The shelf waits meanwhile: what is typed is the game's.
    Shell("sleep 1.2; xdotool windowactivate --sync " + Window() + " key ctrl+q");
    ASSERT_TRUE(WaitUntil([this] { return Window().empty(); }));
    ASSERT_TRUE(WaitForWindow("MOXI"));
    const std::string record = OutputOf("cat " + folder.path + "/state/moxi/games/*.txt");
    EXPECT_NE(record.find("name = Message Log\n"), std::string::npos) << record;
    EXPECT_EQ(record.find("seconds = 0\n"), std::string::npos) << record;
    // It has the keyboard again.
    ASSERT_TRUE(WaitUntil([this] {
        OutputOf("xdotool windowactivate --sync " + Window() + " key ctrl+q 2>&1; sleep 0.3");
        return Window().empty();
    }));
    EXPECT_EQ(WaitForExit(), 0);
}

TEST_F(ShelfWindow, WhatIsWrongWithAGameIsABoxAndOneLineThatIsTheGames) {
    const std::string place = folder.path + "/share/moxi/games/Message Log";
    fs::create_directories(folder.path + "/share/moxi/games");
    fs::copy(game, place, fs::copy_options::recursive);
    fs::resize_file(place + "/MAIN.MX", 3000);
    Open();
    ASSERT_TRUE(WaitForWindow("MOXI")) << Errors();
    Shell("sleep 0.5; xdotool windowactivate --sync " + Window() +
          " type --delay 50 'message'; sleep 0.3; xdotool key Return");
    ASSERT_TRUE(WaitForWindow("Message Log")) << Errors();
    ASSERT_TRUE(WaitUntil([this] {
        OutputOf("xdotool windowactivate --sync " + Window() + " key Return 2>&1; sleep 0.3");
        return Window().empty();
    }));
    // One that has gone since is said by the shelf itself.
    fs::remove_all(place);
    ASSERT_TRUE(WaitForWindow("MOXI"));
    Shell("sleep 1; xdotool windowactivate --sync " + Window() + " key Return; sleep 0.5");
    EXPECT_EQ(waitpid(process, nullptr, WNOHANG), 0);
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_EQ(Errors().rfind("log: MAIN.MX: the file ends after 3000 of ", 0), 0u) << Errors();
    const std::string errors = Errors();
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
}

TEST_F(ShelfWindow, ComesBackWhereItWas) {
    const auto place = [this] {
        return OutputOf("xwininfo -id " + Window() +
                        " | sed -n 's/.*\\(Absolute.*:\\|Width:\\|Height:\\) *//p' | xargs");
    };
    const auto end = [this] {
        kill(process, SIGTERM);
        EXPECT_EQ(WaitForExit(), 0);
    };
    Open();
    ASSERT_TRUE(WaitForWindow("MOXI")) << Errors();
    Shell("sleep 0.8; xdotool windowsize --sync " + Window() + " 700 450");
    Shell("xdotool windowmove --sync " + Window() + " 321 234; sleep 0.8");
    const std::string moved = place();
    EXPECT_TRUE(moved.ends_with(" 700 450")) << moved;
    end();
    const std::string kept = ReadTextFile(folder.path + "/state/moxi/windows");
    EXPECT_TRUE(kept.ends_with(" /shelf\n")) << kept;
    Open();
    ASSERT_TRUE(WaitForWindow("MOXI")) << Errors();
    EXPECT_TRUE(WaitUntil([&] { return place() == moved; })) << place();
    Shell("sleep 0.8");
    end();
    EXPECT_EQ(ReadTextFile(folder.path + "/state/moxi/windows"), kept);
    // A folder of its own has no place.
    Open({"--mute", "--data-folder", folder.path + "/own"});
    ASSERT_TRUE(WaitForWindow("MOXI")) << Errors();
    Shell("sleep 0.8");
    EXPECT_TRUE(place().ends_with(" 1000 600")) << place();
    end();
    EXPECT_EQ(ReadTextFile(folder.path + "/state/moxi/windows"), kept);
}

TEST_F(ShelfWindow, WithoutADisplayThatCanBeReachedItIsTheUsage) {
    Open({"--mute"});
    ASSERT_TRUE(WaitForWindow("MOXI")) << Errors();
    Shell("sleep 0.3; xdotool windowactivate --sync " + Window() + " key alt+F4");
    EXPECT_EQ(WaitForExit(), 0);
    const ProgramResult result =
        RunProgram("/usr/bin/env", {"DISPLAY=:99999", "HOME=" + folder.path, MOXI_BIN_DIR "/moxi"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "usage: moxi [options] GAME (moxi --help lists the options)\n");
}

}  // namespace

}  // namespace moxi
