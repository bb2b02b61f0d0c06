#include "desktop_session.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace moxi {

namespace {

void SleepMs(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // namespace

pid_t StartProcess(const std::vector<std::string>& arguments, const std::string& log) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    const std::string output = log.empty() ? "/dev/null" : log;
    const pid_t child = fork();
    if (child != 0) {
        return child;
    }
    const int target = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
    dup2(target, STDOUT_FILENO);
    dup2(target, STDERR_FILENO);
    execvp(pointers[0], pointers.data());
    _exit(127);
}

int ExitStatusOf(pid_t process) {
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void StopProcess(pid_t process) {
    if (process <= 0) {
        return;
    }
    kill(process, SIGTERM);
    for (int i = 0; i < 200; ++i) {
        if (waitpid(process, nullptr, WNOHANG) != 0) {
            return;
        }
        SleepMs(10);
    }
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

bool IsProgramInstalled(const std::string& name) {
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

std::string OutputOf(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return output;
    }
    std::array<char, 4096> buffer{};
    while (const std::size_t size = fread(buffer.data(), 1, buffer.size(), pipe)) {
        output.append(buffer.data(), size);
    }
    pclose(pipe);
    if (!output.empty() && output.back() == '\n') {
        output.pop_back();
    }
    return output;
}

void CopyByOtherProgram(const std::string& text) {
    OutputOf("printf '" + text + "' | xclip -selection clipboard -i >/dev/null 2>&1");
    for (int i = 0; i < 100; ++i) {
        if (OutputOf("timeout 5 xclip -selection clipboard -o 2>/dev/null") == text) {
            return;
        }
        SleepMs(20);
    }
}

bool XSession::Start(const std::string& screen, bool windowManager) {
    if (!IsProgramInstalled("Xvfb") || !IsProgramInstalled("xdotool")) {
        return false;
    }
    if (windowManager && !IsProgramInstalled("openbox")) {
        return false;
    }
    int ends[2];
    if (pipe(ends) != 0) {
        return false;
    }
    server = StartProcess({"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", screen,
                           "-nolisten", "tcp", "-noreset"},
                          "");
    close(ends[1]);
    // The server writes its number once it can be reached.
    std::string number;
    char c = 0;
    while (read(ends[0], &c, 1) == 1 && c != '\n') {
        number += c;
    }
    close(ends[0]);
    if (number.empty()) {
        return false;
    }
    display = ":" + number;
    setenv("DISPLAY", display.c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    if (!windowManager) {
        return true;
    }
    manager = StartProcess({"openbox", "--sm-disable"}, "");
    for (int i = 0; i < 500; ++i) {
        if (OutputOf("xprop -root _NET_WORKAREA").find('=') != std::string::npos) {
            return true;
        }
        SleepMs(20);
    }
    return false;
}

void XSession::Stop() {
    StopProcess(manager);
    StopProcess(server);
    manager = server = -1;
}

bool WaylandSession::Start(int width, int height, const std::string& layouts, int scale) {
    if (!IsProgramInstalled("weston")) {
        return false;
    }
    const std::string size = std::to_string(width * scale) + "x" + std::to_string(height * scale);
    if (!xServer.Start(size + "x24", false)) {
        return false;
    }
    OutputOf("setxkbmap " + layouts);
    std::string pattern = (std::filesystem::temp_directory_path() / "moxi-wayland-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        return false;
    }
    folder = pattern;
    std::ofstream(folder + "/weston.ini") << "[shell]\npanel-position=none\nlocking=false\n";
    setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
    compositor = StartProcess(
        {"weston", "--backend=x11-backend.so", "--use-pixman", "--socket=moxi-test",
         "--width=" + std::to_string(width), "--height=" + std::to_string(height),
         "--scale=" + std::to_string(scale), "--idle-time=0", "--config=" + folder + "/weston.ini"},
        folder + "/weston.log");
    unsetenv("DISPLAY");
    setenv("WAYLAND_DISPLAY", "moxi-test", 1);
    for (int i = 0; i < 500; ++i) {
        if (std::filesystem::exists(folder + "/moxi-test")) {
            return true;
        }
        SleepMs(10);
    }
    return false;
}

void WaylandSession::Stop() {
    StopProcess(compositor);
    compositor = -1;
    xServer.Stop();
    if (!folder.empty()) {
        std::filesystem::remove_all(folder);
    }
    folder.clear();
}

}  // namespace moxi
