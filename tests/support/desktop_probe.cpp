#include "desktop_probe.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

#include "app/signals.h"
#include "desktop/desktop.h"
#include "desktop/events.h"
#include "desktop/sdl/sdl_desktop.h"

namespace moxi {

bool probeMayClose = true;

static int logDescriptor = -1;
static std::function<void()> launchAction;
static std::function<void(const std::string&)> keyAction;
static std::vector<u8> scene;
static i32 sceneWidth = 0;
static i32 sceneHeight = 0;

void ProbeLog(const std::string& line) {
    const std::string text = line + "\n";
    if (write(logDescriptor, text.data(), text.size()) < 0) {
        _exit(3);
    }
}

static std::string Numbers(std::initializer_list<double> numbers) {
    std::string text;
    for (const double number : numbers) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, " %g", number);
        text += buffer;
    }
    return text;
}

static std::string Quoted(const std::string& text) {
    std::string quoted = " \"";
    for (const char c : text) {
        const unsigned byte = static_cast<unsigned char>(c);
        char buffer[8];
        std::snprintf(buffer, sizeof buffer, byte < 32 || byte == 127 ? "\\x%02X" : "%c", byte);
        quoted += buffer;
    }
    return quoted + "\"";
}

static std::string Code(u8 code) {
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, " %02X", code);
    return buffer;
}

static void LogFrame(const char* name) {
    const WindowFrame frame = desktop.windowFrame();
    ProbeLog(name + Numbers({static_cast<double>(frame.x), static_cast<double>(frame.y),
                             static_cast<double>(frame.width), static_cast<double>(frame.height)}));
}

static void LogSize(const char* name) {
    const ViewSize size = desktop.viewSize();
    ProbeLog(name + Numbers({static_cast<double>(size.width), static_cast<double>(size.height)}));
}

// Red grows to the right and green downwards, in steps of 8 pixels; blue tells the corner.
static void DrawScene(ViewRect rect) {
    const ViewSize size = desktop.viewSize();
    if (size.width != sceneWidth || size.height != sceneHeight) {
        sceneWidth = size.width;
        sceneHeight = size.height;
        scene.assign(
            static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * 4, 0);
        std::size_t at = 0;
        for (i32 y = 0; y < size.height; ++y) {
            for (i32 x = 0; x < size.width; ++x, at += 4) {
                scene[at] = static_cast<u8>(x / 8);
                scene[at + 1] = static_cast<u8>(y / 8);
                scene[at + 2] = x < 40 && y < 40 ? 255 : 0;
            }
        }
    }
    desktop.presentView({scene.data(), sceneWidth, sceneHeight}, rect);
}

static int ticks = 0;
static int ticksBefore = 0;  // a live resize

static void Launch() {
    desktop.setWindowTitle("Probe");
    desktop.createWindow({100, 100, 1000, 600});
    desktop.showWindow();
    desktop.startTimer(5000, [] { ++ticks; });
    ProbeLog("launched");
    if (launchAction) {
        launchAction();
    }
}

static void FillEvents() {
    desktopEvents.didFinishLaunching = Launch;
    desktopEvents.shouldTerminate = [] {
        ProbeLog("should-terminate");
        return probeMayClose;
    };
    desktopEvents.willTerminate = [] { ProbeLog("will-terminate"); };
    desktopEvents.willBecomeActive = [] { ProbeLog("active"); };
    desktopEvents.screensChanged = [] {
        for (const Screen& screen : desktop.screens()) {
            ProbeLog("screen" + Numbers({static_cast<double>(screen.frame.width),
                                         static_cast<double>(screen.frame.height)}));
        }
        ProbeLog("screens");
    };
    desktopEvents.windowShouldClose = [] {
        ProbeLog("should-close");
        return probeMayClose;
    };
    desktopEvents.windowWillClose = [] { ProbeLog("will-close"); };
    desktopEvents.windowDidResize = [] { LogSize("resize"); };
    desktopEvents.windowDidMove = [] { LogFrame("move"); };
    desktopEvents.windowDidMiniaturize = [] { ProbeLog("minimize"); };
    desktopEvents.windowDidDeminiaturize = [] { ProbeLog("restore"); };
    desktopEvents.windowWillEnterFullScreen = [] { ProbeLog("will-enter"); };
    desktopEvents.windowDidEnterFullScreen = [] { ProbeLog("did-enter"); };
    desktopEvents.windowWillExitFullScreen = [] { ProbeLog("will-exit"); };
    desktopEvents.windowDidExitFullScreen = [] { ProbeLog("did-exit"); };
    desktopEvents.windowWillStartLiveResize = [] {
        ticksBefore = ticks;
        ProbeLog("live-start");
    };
    desktopEvents.windowDidEndLiveResize = [] {
        ProbeLog("live-ticks " + std::to_string(ticks - ticksBefore));
        ProbeLog("live-end");
    };
    desktopEvents.viewFrameDidChange = [] { LogSize("frame"); };
    desktopEvents.drawRect = [](ViewRect rect) {
        ProbeLog("draw" + Numbers({rect.x, rect.y, rect.width, rect.height}));
        DrawScene(rect);
    };
    desktopEvents.keyDown = [](u8 code, const std::string& text) {
        ProbeLog("key-down" + Code(code) + Quoted(text));
        if (keyAction) {
            keyAction(text);
        }
    };
    desktopEvents.keyUp = [](u8 code, const std::string& text) {
        ProbeLog("key-up" + Code(code) + Quoted(text));
    };
    desktopEvents.textInput = [](const std::string& text) { ProbeLog("text" + Quoted(text)); };
    desktopEvents.flagsChanged = [](bool shift, bool command, bool option) {
        ProbeLog(std::string("modifiers") + (shift ? " shift" : "") + (command ? " command" : "") +
                 (option ? " option" : ""));
    };
    desktopEvents.mouseDown = [](u32 button, i32 x, i32 y, i32 clicks) {
        ProbeLog("mouse-down" + Numbers({static_cast<double>(button), static_cast<double>(x),
                                         static_cast<double>(y), static_cast<double>(clicks)}));
    };
    desktopEvents.mouseUp = [](u32 button, i32 x, i32 y) {
        ProbeLog("mouse-up" + Numbers({static_cast<double>(button), static_cast<double>(x),
                                       static_cast<double>(y)}));
    };
    desktopEvents.mouseMoved = [](i32 x, i32 y) {
        ProbeLog("mouse-move" + Numbers({static_cast<double>(x), static_cast<double>(y)}));
    };
    desktopEvents.mouseDragged = [](u32 button, i32 x, i32 y) {
        ProbeLog("mouse-drag" + Numbers({static_cast<double>(button), static_cast<double>(x),
                                         static_cast<double>(y)}));
    };
    desktopEvents.didResignActive = [] { ProbeLog("inactive"); };
    desktopEvents.padButton = [](PadButton button, bool down) {
        ProbeLog("pad-button " + std::string(NameOf(button)) + (down ? " down" : " up"));
    };
    desktopEvents.padAxis = [](PadAxis axis, double value) {
        ProbeLog("pad-axis " + std::string(NameOf(axis)) + Numbers({value}));
    };
    desktopEvents.scrollWheel = [](double deltaX, double deltaY, i32 x, i32 y) {
        ProbeLog("scroll" +
                 Numbers({deltaX, deltaY, static_cast<double>(x), static_cast<double>(y)}));
    };
}

[[noreturn]] static void RunProbe() {
    FillEvents();
    std::string error;
    if (!StartSdlDesktop(&error)) {
        ProbeLog("error " + error);
        _exit(1);
    }
    HandleSignals(0);
    desktop.runEventLoop();
    desktop.shutDown();
    ProbeLog("ended");
    _exit(0);
}

void DesktopProbe::Start(const std::function<void()>& atLaunch,
                         const std::function<void(const std::string&)>& onKey) {
    std::string pattern = (std::filesystem::temp_directory_path() / "moxi-probe-XXXXXX").string();
    const int descriptor = mkstemp(pattern.data());
    logFile = pattern;
    process = fork();
    if (process == 0) {
        logDescriptor = descriptor;
        fcntl(descriptor, F_SETFL, O_APPEND);
        launchAction = atLaunch;
        keyAction = onKey;
        RunProbe();
    }
    close(descriptor);
}

DesktopProbe::~DesktopProbe() {
    if (process > 0) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    if (!logFile.empty()) {
        std::filesystem::remove(logFile);
    }
}

std::vector<std::string> DesktopProbe::Log(std::size_t from) const {
    std::vector<std::string> lines;
    std::ifstream file(logFile);
    std::string line;
    for (std::size_t i = 0; std::getline(file, line); ++i) {
        if (i >= from) {
            lines.push_back(line);
        }
    }
    return lines;
}

int DesktopProbe::WaitFor(const std::string& prefix, std::size_t from, int turns) const {
    for (int turn = 0; turn < turns; ++turn) {
        const std::vector<std::string> lines = Log(from);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].starts_with(prefix)) {
                return static_cast<int>(from + i);
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return -1;
}

std::size_t DesktopProbe::WaitForQuiet() const {
    std::size_t count = Log().size();
    for (int quiet = 0; quiet < 30; ++quiet) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const std::size_t now = Log().size();
        if (now != count) {
            quiet = 0;
        }
        count = now;
    }
    return count;
}

int DesktopProbe::WaitForExit() {
    int status = 0;
    for (int turn = 0; turn < 1000; ++turn) {
        if (waitpid(process, &status, WNOHANG) == process) {
            process = -1;
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return -1;
}

}  // namespace moxi
