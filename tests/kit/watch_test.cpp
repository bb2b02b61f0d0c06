// `moxi --watch`: the game starts again when its MAIN.MX changes. The runs are headless and longer
// than anybody waits, so they go on until they are asked to end.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/desktop_session.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

// A module that writes `word` to debug.log at its start. It lets itself be closed when `answer`
// is 1.
std::string ModuleThatWrites(const std::string& word, int answer) {
    const AssembleResult assembled = Assemble(R"(
        .stack 4096
        .heap 4096
        .code
start:  LINK 0, 0
        MOVE.B [HDR_RESULT], #)" + std::to_string(answer) +
                                                  R"(
        CMP.L [FP+12], #1
        BNE @done
        MOVE.L R15, #word
        DEBUGLOG
@done:  RETURN 0
        .data
word:   .asciz ")" + word + "\\n\"\n",
                                              "test.mxs");
    EXPECT_TRUE(assembled.ok) << FormatErrors(assembled);
    return std::string(assembled.bytes.begin(), assembled.bytes.end());
}

struct WatchedGame {
    TemporaryFolder folder;
    std::string game = folder.path + "/game";
    std::string log = folder.path + "/stderr";
    pid_t process = -1;

    explicit WatchedGame(const std::string& module) {
        fs::create_directories(game);
        WriteTextFile(game + "/MAIN.MX", module);
        process =
            StartProcess({std::string(MOXI_BIN_DIR) + "/moxi", "--watch", "--headless", "--run-ms",
                          "1000000000000", "--data-folder", folder.path + "/data", game},
                         log);
    }
    ~WatchedGame() {
        if (process > 0) {
            StopProcess(process);
        }
    }
    WatchedGame(const WatchedGame&) = delete;
    WatchedGame& operator=(const WatchedGame&) = delete;

    std::string Written() const { return ReadTextFile(folder.path + "/data/debug.log"); }
    std::string Said() const { return ReadTextFile(log); }
    // Puts another file into MAIN.MX's place, as compilers do that leave no half a file.
    void Replace(const std::string& module) const {
        WriteTextFile(game + "/new", module);
        fs::rename(game + "/new", game + "/MAIN.MX");
    }
    int End() {
        kill(process, SIGTERM);
        const int status = ExitStatusOf(process);
        process = -1;
        return status;
    }
};

// Half a minute is for machines that are busy with something else.
template <class Condition>
bool Becomes(Condition condition) {
    for (int i = 0; i < 3000; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

size_t CountOf(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST(Watch, AModuleThatIsReplacedStartsAgain) {
    WatchedGame game(ModuleThatWrites("one", 1));
    ASSERT_TRUE(Becomes([&] { return CountOf(game.Written(), "one") == 1; })) << game.Said();
    game.Replace(ModuleThatWrites("two", 1));
    ASSERT_TRUE(Becomes([&] { return CountOf(game.Written(), "two") == 1; })) << game.Said();
    EXPECT_EQ(CountOf(game.Written(), "one"), 1u);
    EXPECT_EQ(game.End(), 0);
    EXPECT_EQ(game.Said(), "log: MAIN.MX has changed, the game starts again\n");
}

TEST(Watch, ABrokenModuleIsToldOfOnceAndTheGameGoesOn) {
    WatchedGame game(ModuleThatWrites("one", 1));
    ASSERT_TRUE(Becomes([&] { return CountOf(game.Written(), "one") == 1; })) << game.Said();
    const std::string module = ModuleThatWrites("two", 1);
    const std::string path = game.game + "/MAIN.MX";
    WriteTextFile(path, module.substr(0, module.size() - 1));
    const std::string line =
        "log: " + path + ": the file is not complete, the game goes on as it is\n";
    ASSERT_TRUE(Becomes([&] { return game.Said() == line; })) << game.Said();
    EXPECT_EQ(CountOf(game.Written(), "two"), 0u);
    std::ofstream(path, std::ios::app | std::ios::binary) << module.back();
    ASSERT_TRUE(Becomes([&] { return CountOf(game.Written(), "two") == 1; })) << game.Said();
    EXPECT_EQ(game.End(), 0);
    EXPECT_EQ(game.Said(), line + "log: MAIN.MX has changed, the game starts again\n");
}

TEST(Watch, AGameThatRefusesToEndIsEnded) {
    WatchedGame game(ModuleThatWrites("one", 0));
    ASSERT_TRUE(Becomes([&] { return CountOf(game.Written(), "one") == 1; })) << game.Said();
    game.Replace(ModuleThatWrites("two", 1));
    ASSERT_TRUE(Becomes([&] { return CountOf(game.Written(), "two") == 1; })) << game.Said();
    EXPECT_EQ(game.End(), 0);
}

TEST(Watch, TheEndOfTheRunIsTheEnd) {
    const TemporaryFolder folder;
    fs::create_directories(folder.path + "/game");
    WriteTextFile(folder.path + "/game/MAIN.MX", ModuleThatWrites("one", 1));
    const std::vector<std::string> arguments = {"--watch",       "--headless", "--run-ms", "10",
                                                "--data-folder", "data",       "game"};
    EXPECT_EQ(RunProgram("moxi", arguments, folder.path).status, 0);
    WriteTextFile(folder.path + "/game/MAIN.MX", "no module");
    const ProgramResult failed = RunProgram("moxi", arguments, folder.path);
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.errors, "fatal: Error reading .MX file\n");
}

}  // namespace

}  // namespace moxi
