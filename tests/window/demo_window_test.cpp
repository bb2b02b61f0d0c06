// The demo in a real window on an X server with a window manager, played with the keyboard and the
// mouse as a person would play it.

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "tests/support/desktop_session.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

class DemoWindow : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsProgramInstalled("Xvfb")) {
            GTEST_SKIP() << "Xvfb is missing";
        }
        ASSERT_TRUE(session.Start("1400x900x24"));
        const fs::path bin = MOXI_BIN_DIR;
        game = (bin.parent_path() / "share" / "moxi" / "demo").string();
        image = folder.path + "/image";
        process = StartProcess({(bin / "moxi").string(), "--mute", "--data-folder",
                                folder.path + "/data", "--dump-image", image, game},
                               folder.path + "/errors");
        ASSERT_GT(process, 0);
        ASSERT_TRUE(WaitForWindow()) << ReadTextFile(folder.path + "/errors");
        Do("windowactivate --sync " + Window());
    }

    void TearDown() override {
        if (process > 0) {
            StopProcess(process);
        }
    }

    static std::string Window() {
        return OutputOf("xdotool search --onlyvisible --name '^MOXI Demo$' 2>/dev/null");
    }

    static bool WaitForWindow() {
        for (int turn = 0; turn < 1000; ++turn) {
            if (!Window().empty()) {
                return true;
            }
            usleep(20000);
        }
        return false;
    }

    static void Do(const std::string& command) { OutputOf("xdotool " + command + " 2>/dev/null"); }

    // Waits for the program's end and gives its exit status.
    int WaitForExit() {
        const int status = ExitStatusOf(process);
        process = -1;
        return status;
    }

    // A word of the demo's state in a dump of its image.
    static i32 State(const std::string& dump, const std::string& name) {
        const std::string source = std::string(MOXI_SOURCE_DIR) + "/demo/demo.mxs";
        const AssembleResult assembled = Assemble(ReadTextFile(source), source, LibraryOptions());
        EXPECT_TRUE(assembled.ok) << FormatErrors(assembled);
        const std::string bytes = ReadTextFile(dump);
        const u32 address = SymbolValue(assembled, name);
        i32 value = 0;
        if (address + 4 <= bytes.size()) {
            std::memcpy(&value, bytes.data() + address, 4);
        }
        return value;
    }

    // Where the figure stands while nobody touches it.
    i32 Undisturbed(const std::string& name) const {
        const std::string dump = folder.path + "/undisturbed";
        RunProgram("moxi", {"--headless", "--data-folder", folder.path + "/data2", "--dump-image",
                            dump, game});
        return State(dump, name);
    }

    TemporaryFolder folder;
    XSession session;
    std::string game;
    std::string image;
    pid_t process = -1;
};

TEST_F(DemoWindow, ArrowKeysWalkTheFigureAndClosingIsVetoedAndThenAllowed) {
    Do("keydown Right");
    usleep(700000);
    Do("keyup Right");

    Do("key v");
    usleep(300000);
    Do("key alt+F4");
    usleep(700000);
    ASSERT_NE(Window(), "") << "the barred door did not keep the window open";
    ASSERT_EQ(kill(process, 0), 0);

    Do("key v");
    usleep(300000);
    Do("key alt+F4");
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_GT(State(image, "figure_x"), Undisturbed("figure_x") + 5);
    EXPECT_EQ(State(image, "figure_y"), Undisturbed("figure_y"));
}

TEST_F(DemoWindow, AClickMakesTheFigureWalkThere) {
    const i32 before = Undisturbed("figure_x");
    Do("mousemove --window " + Window() + " " + std::to_string(before - 120) + " 520");
    usleep(100000);
    Do("click 1");
    usleep(1500000);
    Do("key Escape");
    EXPECT_EQ(WaitForExit(), 0);
    EXPECT_LT(State(image, "figure_x"), before - 20);
}

}  // namespace

}  // namespace moxi
