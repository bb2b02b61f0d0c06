// A window that comes back where it was, on a real server with a window manager.
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {

class PlacedWindow : public MoxiWindow {
  protected:
    void SetUp() override {
        MoxiWindow::SetUp();
        if (IsSkipped()) {
            return;
        }
        setenv("XDG_STATE_HOME", (folder.path + "/state").c_str(), 1);
        setenv("XDG_DATA_HOME", (folder.path + "/share").c_str(), 1);
    }

    // Unlike Start it leaves the data folder where it is by itself.
    void Play(const Lines& options = {}) {
        name = "Message Log";
        Lines arguments = {std::string(MOXI_BIN_DIR) + "/moxi", "--mute"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(game);
        process = StartProcess(arguments, folder.path + "/errors");
        ASSERT_TRUE(WaitUntil([this] { return !Window().empty(); })) << Errors();
        ASSERT_TRUE(WaitUntil([this] { return Contains(Log(), "2 0 0 0"); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(800));
    }

    void End() {
        kill(process, SIGTERM);
        EXPECT_EQ(WaitForExit(), 0);
    }

    Lines Log() const {
        return MessagesIn(folder.path + "/share/Quillmoss Software/Message Log/debug.log");
    }

    // Of the content on the screen.
    std::string Place() const {
        return OutputOf("xwininfo -id " + Window() +
                        " | sed -n 's/.*\\(Absolute.*:\\|Width:\\|Height:\\) *//p' | xargs");
    }
};

TEST_F(PlacedWindow, ComesBackWhereItWasAndTheModuleIsTold) {
    Play();
    Shell("xdotool windowsize --sync " + Window() + " 800 500");
    Shell("xdotool windowmove --sync " + Window() + " 321 234");
    std::this_thread::sleep_for(std::chrono::milliseconds(800));
    const std::string place = Place();
    EXPECT_TRUE(place.ends_with(" 800 500")) << place;
    End();
    const std::string kept = ReadTextFile(folder.path + "/state/moxi/windows");
    EXPECT_TRUE(kept.ends_with(" Message Log\n")) << kept;
    for (int run = 0; run < 2; ++run) {
        const std::size_t before = Log().size();
        Play();
        EXPECT_EQ(Place(), place) << run;
        Lines messages = Log();
        messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
        EXPECT_TRUE(Contains(messages, "9 320 1f4 0")) << testing::PrintToString(messages);
        End();
        // Nothing creeps by the size of the title bar.
        EXPECT_EQ(ReadTextFile(folder.path + "/state/moxi/windows"), kept);
    }
}

TEST_F(PlacedWindow, FromAScreenThatIsGoneItComesBackOntoOneThatIsThere) {
    std::filesystem::create_directories(folder.path + "/state/moxi");
    WriteTextFile(folder.path + "/state/moxi/windows", "2500 100 800 500 Message Log\n");
    Play();
    // The frame is in the middle: (1400 - 800) / 2 from the left, where a narrow border begins.
    EXPECT_TRUE(Place().starts_with("30")) << Place();
    End();
}

TEST_F(PlacedWindow, ADataFolderOfItsOwnHasNoPlace) {
    std::filesystem::create_directories(folder.path + "/state/moxi");
    const std::string kept = "30 30 800 500 Message Log\n";
    WriteTextFile(folder.path + "/state/moxi/windows", kept);
    Start();
    EXPECT_TRUE(Contains(Messages(), "9 3e8 258 0"));
    EXPECT_FALSE(Contains(Messages(), "9 320 1f4 0"));
    End();
    EXPECT_EQ(ReadTextFile(folder.path + "/state/moxi/windows"), kept);
}

}  // namespace

}  // namespace moxi
