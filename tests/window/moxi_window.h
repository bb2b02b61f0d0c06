#pragma once
// The real program in a real window on an X server of its own, with a module that writes its
// messages down (tests/window/messages.mxs).

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/desktop_session.h"
#include "tests/support/headless_run.h"

namespace moxi {

using Lines = std::vector<std::string>;

constexpr int kLooks = 2000;  // 10 ms apart

inline void Pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

inline void Shell(const std::string& command) {
    EXPECT_EQ(std::system((command + " >/dev/null").c_str()), 0) << command;
}

template <class Condition>
bool WaitUntil(Condition condition) {
    for (int i = 0; i < kLooks; ++i) {
        if (condition()) {
            return true;
        }
        Pause();
    }
    return false;
}

// The messages in a debug.log as "command p1 p2 p3" in hexadecimal without leading zeros.
inline Lines MessagesIn(const std::string& path) {
    Lines lines;
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::ostringstream shown;
        unsigned number = 0;
        while (words >> std::hex >> number) {
            shown << (shown.str().empty() ? "" : " ") << std::hex << number;
        }
        lines.push_back(shown.str());
    }
    return lines;
}

// Makes the game "Message Log" in a folder and gives its path.
inline std::string MakeMessageLog(const std::string& folder) {
    const std::string source = std::string(MOXI_SOURCE_DIR) + "/tests/window/messages.mxs";
    const AssembleResult assembled = Assemble(ReadTextFile(source), source);
    EXPECT_TRUE(assembled.ok) << FormatErrors(assembled);
    const std::string game = folder + "/Message Log";
    std::filesystem::create_directory(game);
    WriteTextFile(game + "/MAIN.MX", std::string(assembled.bytes.begin(), assembled.bytes.end()));
    return game;
}

inline void ErasePointer(Lines& lines) {
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("f "); });
}

inline bool Contains(const Lines& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

class MoxiWindow : public testing::Test {
  protected:
    explicit MoxiWindow(const std::string& size = "1400x900x24") : screenPixels(size) {}

    void SetUp() override {
        if (!IsProgramInstalled("Xvfb")) {
            GTEST_SKIP() << "Xvfb is missing";
        }
        ASSERT_TRUE(session.Start(screenPixels));
        game = MakeMessageLog(folder.path);
    }

    void TearDown() override {
        if (process <= 0) {
            return;
        }
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }

    // Starts the program with further options and waits for nothing.
    void Launch(const Lines& options = {}) {
        name = "Message Log";
        Lines arguments = {std::string(MOXI_BIN_DIR) + "/moxi", "--data-folder",
                           folder.path + "/data"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(game);
        process = StartProcess(arguments, folder.path + "/errors");
    }

    // Starts it in a window that has the keyboard and the pointer.
    void Start(const Lines& options = {"--mute"}) {
        Launch(options);
        WaitUntil([this] { return !Window().empty(); });
        ASSERT_NE(Window(), "") << Errors();
        if (session.manager > 0) {
            // The window manager gives it the keyboard, at the latest when it is asked to.
            Shell("xdotool windowactivate --sync " + Window());
        }
        Shell("xdotool mousemove 700 500");
        WaitForQuiet();
    }

    std::string Window() const {
        return OutputOf("xdotool search --onlyvisible --name '^" + name + "$' 2>/dev/null");
    }
    std::string Errors() const { return ReadTextFile(folder.path + "/errors"); }
    Lines Messages() const { return MessagesIn(folder.path + "/data/debug.log"); }

    void WaitForQuiet() const {
        std::size_t count = Messages().size();
        for (int quiet = 0; quiet < 30; ++quiet) {
            Pause();
            if (Messages().size() != count) {
                quiet = 0;
            }
            count = Messages().size();
        }
    }

    // The messages that the command causes, the pointer's among them.
    Lines CauseAll(const std::string& command) {
        const std::size_t before = Messages().size();
        Shell(command);
        WaitForQuiet();
        Lines lines = Messages();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
        return lines;
    }

    // The same without the pointer's.
    Lines Cause(const std::string& command) {
        Lines lines = CauseAll(command);
        ErasePointer(lines);
        return lines;
    }

    // The same without releases too, whose order xdotool decides.
    Lines Type(const std::string& keys) {
        Lines lines = Cause("xdotool key " + keys);
        std::erase_if(lines, [](const std::string& line) { return line.starts_with("d "); });
        return lines;
    }

    bool WaitForMessage(const std::string& message) const {
        return WaitUntil([&] { return Contains(Messages(), message); });
    }

    // The exit status; the negative number of the signal that ended it; -100 when nothing did.
    int WaitForExit() {
        int status = 0;
        const bool ended = WaitUntil([&] { return waitpid(process, &status, WNOHANG) == process; });
        if (!ended) {
            return -100;
        }
        process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    // Waits for the box that offers to wait or to end, and presses "End".
    void EndInBox(const std::string& window) {
        std::string box;
        WaitUntil([&] {
            box = OutputOf("xdotool search --onlyvisible --name '^" + name + "$' | grep -v '^" +
                           window + "$'");
            return !box.empty();
        });
        ASSERT_NE(box, "");
        // The second button from the right. The box may not have its place at once.
        const bool pressed = WaitUntil([&] {
            OutputOf("eval $(xdotool getwindowgeometry --shell " + box +
                     "); xdotool mousemove --window " + box +
                     " $((WIDTH - 160)) $((HEIGHT - 35)) click 1 sleep 0.2");
            return Window().find(box) == std::string::npos;
        });
        EXPECT_TRUE(pressed);
    }

    std::string screenPixels;  // width, height and depth
    TemporaryFolder folder;
    XSession session;
    std::string game;
    std::string name;
    pid_t process = -1;
};

}  // namespace moxi
