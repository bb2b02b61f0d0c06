// How a loop of translated code that never ends is ended, in a real window: by the user, in the box
// that offers it; by a second signal; by the watchdog, when there is no window left to ask in. That
// code looks at nothing: the thread that ends it has it write its registers into the header, and
// the dump shows them. How long each took is printed, and recorded in the test's report.

#include <cstring>

#include "tests/window/moxi_window.h"
#include "vm/machine.h"

namespace moxi {

namespace {

using Clock = std::chrono::steady_clock;

class MoxiTranslated : public MoxiWindow {
  protected:
    void SetUp() override {
        MoxiWindow::SetUp();
        setenv("MOXI_TRANSLATE", "all", 1);
    }
    void TearDown() override {
        unsetenv("MOXI_TRANSLATE");
        MoxiWindow::TearDown();
    }

    // A game that says "begun" when B is pressed, and then counts in R1 for ever.
    void StartEndless() {
        const AssembleResult assembled = Assemble(
            "        .stack 4096\n"
            "start:  LINK 0, 0\n"
            "        MOVE.L R0, [FP+12]\n"
            "        CMP.L R0, #12\n"
            "        BNE done\n"
            "        MOVE.L R0, [FP+16]\n"
            "        CMP.L R0, #'B'\n"
            "        BNE done\n"
            "        MOVE.Q R1, #0\n"
            "        LEA R15, [text]\n"
            "        DEBUGLOG\n"
            "loop:   ADD.Q R1, #1\n"
            "        JMP loop\n"
            "done:   RETURN 0\n"
            "text:   .byte \"begun\", 0\n",
            "endless.mxs");
        ASSERT_TRUE(assembled.ok) << FormatErrors(assembled);
        loop = SymbolValue(assembled, "loop");
        WriteTextFile(game + "/MAIN.MX",
                      std::string(assembled.bytes.begin(), assembled.bytes.end()));
        Start({"--mute", "--dump-image", folder.path + "/image"});
        Shell("xdotool key b");
        ASSERT_TRUE(WaitUntil([this] {
            return ReadTextFile(folder.path + "/data/debug.log").find("begun") != std::string::npos;
        }));
    }

    // Waits for a line on standard error, and gives the time at which it was there.
    Clock::time_point TimeOfLine(const std::string& line) const {
        while (Errors().find(line) == std::string::npos && kill(process, 0) == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return Clock::now();
    }

    // Waits for the end, and gives the exit status as WaitForExit does.
    int WaitForExitSince(Clock::time_point begin) {
        int status = 0;
        for (int i = 0; i < 10 * kLooks && waitpid(process, &status, WNOHANG) == 0; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const auto taken =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
        RecordProperty("milliseconds", static_cast<int>(taken.count()));
        std::printf("ended within %d ms\n", static_cast<int>(taken.count()));
        process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    // R1 and PC stand in the header alone once translated code has been made to write them there.
    void ExpectRegistersInDump() const {
        const std::string image = ReadTextFile(folder.path + "/image");
        ASSERT_GT(image.size(), kHeaderSize);
        u64 count = 0;
        u32 pc = 0;
        std::memcpy(&count, image.data() + 16, sizeof count);
        std::memcpy(&pc, image.data() + kHeaderPC, sizeof pc);
        EXPECT_GT(count, 1000u);
        EXPECT_TRUE(pc == loop || pc == loop + 4) << pc << " is not in the loop at " << loop;
    }

    u32 loop = 0;
};

}  // namespace

TEST_F(MoxiTranslated, ALoopThatNeverEndsIsEndedByTheUser) {
    StartEndless();
    const std::string window = Window();
    Shell("xdotool windowactivate --sync " + window + " key alt+F4");
    std::thread user([&] { EndInBox(window); });
    const std::string line = "log: ended by the user while it did not answer\n";
    const Clock::time_point begin = TimeOfLine(line);
    EXPECT_EQ(WaitForExitSince(begin), 1);
    user.join();
    EXPECT_EQ(Errors(), line);
    ExpectRegistersInDump();
}

TEST_F(MoxiTranslated, ALoopThatNeverEndsIsEndedByTheSecondSignal) {
    StartEndless();
    kill(process, SIGTERM);
    Pause();
    const Clock::time_point begin = Clock::now();
    kill(process, SIGTERM);
    EXPECT_EQ(WaitForExitSince(begin), -SIGTERM);
    EXPECT_EQ(Errors(), "");
}

TEST_F(MoxiTranslated, ALoopThatNeverEndsIsEndedByTheWatchdogWhenItsWindowIsGone) {
    StartEndless();
    kill(session.server, SIGKILL);
    const std::string line = "log: ended while it did not answer, with its window gone\n";
    const Clock::time_point begin = TimeOfLine(line);
    EXPECT_EQ(WaitForExitSince(begin), 1);
    EXPECT_TRUE(Errors().ends_with(line)) << Errors();
    ExpectRegistersInDump();
}

}  // namespace moxi
