#pragma once
// A real desktop for tests: Xvfb with openbox, or a headless weston, each in processes of its own;
// and programs that run on it.

#include <sys/types.h>

#include <string>
#include <vector>

// Runs a program found in PATH with standard error to `log` (none when empty); -1 when that fails.
pid_t StartProcess(const std::vector<std::string>& arguments, const std::string& log);
// Ends it with SIGTERM, at last with SIGKILL, and waits.
void StopProcess(pid_t process);
bool IsProgramInstalled(const std::string& name);

// Standard output of a shell command, without the last line feed.
std::string OutputOf(const std::string& command);

struct XSession {
    XSession() = default;
    XSession(const XSession&) = delete;
    XSession& operator=(const XSession&) = delete;
    ~XSession() { Stop(); }

    // Starts the server on a free display and sets DISPLAY. False when something is missing.
    bool Start(const std::string& screen, bool windowManager = true);
    void Stop();

    std::string display;  // ":N"
    pid_t server = -1;
    pid_t manager = -1;
};

struct WaylandSession {
    WaylandSession() = default;
    WaylandSession(const WaylandSession&) = delete;
    WaylandSession& operator=(const WaylandSession&) = delete;
    ~WaylandSession() { Stop(); }

    // Starts a headless compositor in a runtime folder of its own and points the environment at it.
    bool Start(int width, int height);
    void Stop();

    std::string folder;
    pid_t compositor = -1;
};
