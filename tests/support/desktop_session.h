#pragma once
// A real desktop for tests: Xvfb with openbox, or weston inside of an Xvfb, each in processes of
// its own; and programs that run on it.

#include <sys/types.h>

#include <string>
#include <vector>

namespace moxi {

// Runs a program found in PATH with standard error to `log` (none when empty); -1 when that fails.
pid_t StartProcess(const std::vector<std::string>& arguments, const std::string& log);
// Waits for its end: its exit status, or 128 + the signal.
int ExitStatusOf(pid_t process);
// Ends it with SIGTERM, at last with SIGKILL, and waits.
void StopProcess(pid_t process);
bool IsProgramInstalled(const std::string& name);

// Standard output of a shell command, without the last line feed.
std::string OutputOf(const std::string& command);

// Another program (xclip) puts the text on the clipboard; returns once others can get it there.
void CopyByOtherProgram(const std::string& text);

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

// A compositor that shows its desktop in a window of an X server without a window manager: that
// gives it a keyboard and a pointer, which xdotool moves.
struct WaylandSession {
    WaylandSession() = default;
    WaylandSession(const WaylandSession&) = delete;
    WaylandSession& operator=(const WaylandSession&) = delete;
    ~WaylandSession() { Stop(); }

    // Starts both, with a runtime folder of their own, and points the environment at the
    // compositor; xdotool needs DISPLAY=`xServer.display`. False when something is missing.
    // The keyboard layouts are setxkbmap's. With a scale the X server has so many pixels for each
    // of the compositor's points.
    bool Start(int width, int height, const std::string& layouts = "us", int scale = 1);
    void Stop();

    XSession xServer;
    std::string folder;
    pid_t compositor = -1;
};

}  // namespace moxi
