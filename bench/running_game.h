#pragma once
// A game that runs in a real window for a benchmark to watch.

#include <sys/types.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/table.h"
#include "tests/support/desktop_session.h"

namespace moxi {

inline void SleepMs(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

struct Folder {
    std::string path;
    Folder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "moxi-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            Fail("no temporary folder");
        }
        path = pattern;
    }
    ~Folder() {
        std::error_code error;
        std::filesystem::remove_all(path, error);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
};

// A game in a window. The constructor starts it and waits until its window is there, and a second
// more; without one for 10 seconds it ends the benchmark. The destructor ends the game.
struct RunningGame {
    pid_t process = -1;
    unsigned long window = 0;

    // `command` is moxi with its arguments, `title` that of the window.
    RunningGame(const std::vector<std::string>& command, const std::string& title) {
        process = StartProcess(command, "");
        std::string found;
        for (int i = 0; i < 500 && found.empty(); ++i) {
            SleepMs(20);
            found = OutputOf("xdotool search --onlyvisible --name '^" + title + "$' 2>/dev/null");
        }
        if (found.empty()) {
            Fail("the window of " + title + " does not appear");
        }
        window = std::stoul(found);
        OutputOf("xdotool windowactivate --sync " + found);
        SleepMs(1000);
    }
    ~RunningGame() { Stop(); }
    RunningGame(const RunningGame&) = delete;
    RunningGame& operator=(const RunningGame&) = delete;

    // Ends it in order.
    void Stop() {
        if (process > 0) {
            StopProcess(process);
        }
        process = -1;
    }

    // Processor time of all its threads in nanoseconds.
    double ProcessorTime() const {
        double total = 0;
        for (const auto& task :
             std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
            double nanoseconds = 0;
            std::ifstream(task.path() / "schedstat") >> nanoseconds;
            total += nanoseconds;
        }
        return total;
    }
};

}  // namespace moxi
