// Translated code in moxi itself: runs that never end, runs that are watched, a system that gives
// no memory to execute from. (What it computes: the other tests here.)

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/desktop_session.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace {

// PR_SET_MDWE with PR_MDWE_REFUSE_EXEC_GAIN, which older headers do not have.
constexpr int kSetNoExecGain = 65;

class MoxiRun : public ::testing::Test {
  protected:
    TemporaryFolder folder;

    void SetUp() override { setenv("MOXI_TRANSLATE", "all", 1); }
    void TearDown() override { unsetenv("MOXI_TRANSLATE"); }

    void Assemble(const std::string& body) {
        WriteTextFile(folder.path + "/main.mxs",
                      "        .stack 4096\n"
                      "start:  LINK 0, 0\n" +
                          body);
        const ProgramResult made = RunProgram("mxasm", {"main.mxs", "-o", "MAIN.MX"}, folder.path);
        ASSERT_EQ(made.status, 0) << made.errors;
    }

    // A game that says "begun" and counts in R1 for ever.
    pid_t StartEndless() {
        Assemble(
            "        MOVE.Q R1, #0\n"
            "        LEA R15, [text]\n"
            "        DEBUGLOG\n"
            "loop:   ADD.Q R1, #1\n"
            "        JMP loop\n"
            "text:   .byte \"begun\", 0\n");
        const pid_t process =
            StartProcess({std::string(MOXI_BIN_DIR) + "/moxi", "--headless", "--run-ms",
                          "1000000000", "--data-folder", folder.path + "/data", "--dump-image",
                          folder.path + "/image", folder.path},
                         folder.path + "/errors");
        while (ReadTextFile(folder.path + "/data/debug.log").find("begun") == std::string::npos &&
               kill(process, 0) == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return process;
    }

    // A loop of 1,000 rounds of two instructions, and four more, for the first message and the
    // last.
    void AssembleLoop() {
        Assemble(
            "        MOVE.L R1, #1000\n"
            "loop:   SUB.L R1, #1\n"
            "        BNE loop\n"
            "        MOVE.L R2, #77\n"
            "        STOP\n");
    }

    std::vector<std::string> Options(std::vector<std::string> more) const {
        more.insert(more.begin(), {"--headless", "--data-folder", folder.path + "/data"});
        more.push_back(folder.path);
        return more;
    }
};

}  // namespace

TEST_F(MoxiRun, ALoopThatNeverEndsIsEndedByTheSecondSignal) {
    const pid_t process = StartEndless();
    kill(process, SIGTERM);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    kill(process, SIGTERM);
    EXPECT_EQ(ExitStatusOf(process), 128 + SIGTERM);
}

TEST_F(MoxiRun, ALoopThatDoesNotAnswerASignalIsEndedWithItsRegistersInTheDump) {
    const pid_t process = StartEndless();
    kill(process, SIGTERM);
    EXPECT_EQ(ExitStatusOf(process), 128 + SIGTERM);
    const std::string image = ReadTextFile(folder.path + "/image");
    ASSERT_GT(image.size(), 512u);
    u64 count = 0;
    std::memcpy(&count, image.data() + 16, sizeof count);
    EXPECT_GT(count, 1000u) << ReadTextFile(folder.path + "/errors");
}

TEST_F(MoxiRun, ATracedRunIsNotTranslated) {
    AssembleLoop();
    RunProgram("moxi", Options({"--trace", folder.path + "/trace"}), folder.path);
    const std::string trace = ReadTextFile(folder.path + "/trace");
    std::size_t subtractions = 0;
    for (std::size_t at = 0; (at = trace.find("SUB.L", at)) != std::string::npos; ++at) {
        ++subtractions;
    }
    EXPECT_EQ(subtractions, 2000u);
}

// A breakpoint within a loop would be passed by in translated code.
TEST_F(MoxiRun, ADebuggedRunIsNotTranslated) {
    AssembleLoop();
    const ProgramResult result =
        RunProgram("moxi", Options({"--debug"}), folder.path, "b 0x210\nc\nc\nc\nlist\nd all\n");
    EXPECT_NE(result.output.find("=> 00000210"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("breakpoint 1: at 00000210"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find(", 3 hits"), std::string::npos) << result.output;
}

TEST_F(MoxiRun, AProfileCountsEveryInstruction) {
    AssembleLoop();
    RunProgram("moxi", Options({"--profile", folder.path + "/profile"}), folder.path);
    // Twice LINK, 1,000 rounds of two, two MOVEs and STOP.
    EXPECT_NE(ReadTextFile(folder.path + "/profile").find("4008 instructions in 2 messages"),
              std::string::npos)
        << ReadTextFile(folder.path + "/profile");
}

TEST_F(MoxiRun, WithoutMemoryToExecuteFromOneLineSaysSoAndTheGameRuns) {
    AssembleLoop();
    const std::string errors = folder.path + "/errors";
    const std::string image = folder.path + "/image";
    const pid_t process = fork();
    if (process == 0) {
        if (prctl(kSetNoExecGain, 1, 0, 0, 0) != 0) {
            std::_Exit(42);
        }
        std::freopen(errors.c_str(), "w", stderr);
        const std::string program = std::string(MOXI_BIN_DIR) + "/moxi";
        const std::string data = folder.path + "/data";
        execl(program.c_str(), "moxi", "--headless", "--data-folder", data.c_str(), "--dump-image",
              image.c_str(), folder.path.c_str(), nullptr);
        std::_Exit(43);
    }
    int status = 0;
    waitpid(process, &status, 0);
    if (WEXITSTATUS(status) == 42) {
        GTEST_SKIP() << "this system cannot refuse it";
    }
    EXPECT_EQ(ReadTextFile(errors),
              "log: modules are interpreted: there is no memory to execute translations from\n");
    u32 r2 = 0;
    const std::string bytes = ReadTextFile(image);
    ASSERT_GT(bytes.size(), 512u);
    std::memcpy(&r2, bytes.data() + 24, sizeof r2);
    EXPECT_EQ(r2, 77u);
}

}  // namespace moxi
