#include "app/record.h"

#include <cstdio>

#include "base/log.h"
#include "desktop/desktop.h"
#include "desktop/events.h"
#include "desktop/headless/script.h"
#include "host/window.h"

namespace {

constexpr u64 kNanosecondsPerMillisecond = 1000000;

constinit std::FILE* recordFile = nullptr;
constinit u64 launchTime = 0;
DesktopEvents inner;  // the handlers that the events go on to
// What the module itself asked for is no event, nor are the changes that full screen brings.
constinit bool fullScreenChanges = false;

void Write(const std::string& event) {
    const u64 elapsed = desktop.nanoseconds() - launchTime;
    std::fprintf(recordFile, "%llu %s\n",
                 static_cast<unsigned long long>(elapsed / kNanosecondsPerMillisecond),
                 event.c_str());
    std::fflush(recordFile);
}

bool IsUsersChange() {
    return !programmaticResize && !fullScreenChanges;
}

void RecordApplicationEvents() {
    desktopEvents.didFinishLaunching = [] {
        launchTime = desktop.nanoseconds();
        inner.didFinishLaunching();
    };
    desktopEvents.willBecomeActive = [] {
        Write("activate");
        inner.willBecomeActive();
    };
    desktopEvents.shouldTerminate = [] {
        Write("quit");
        return inner.shouldTerminate();
    };
    desktopEvents.screensChanged = [] {
        std::string sizes;
        for (const Screen& screen : desktop.screens()) {
            sizes += FormatText("%s%dx%d", sizes.empty() ? "" : ",", screen.frame.width,
                                screen.frame.height);
        }
        Write("screens " + sizes);
        inner.screensChanged();
    };
    desktopEvents.post = [](u32 command, u32 p1, u32 p2, u32 p3) {
        Write(FormatText("post %u 0x%X 0x%X 0x%X", command, p1, p2, p3));
        inner.post(command, p1, p2, p3);
    };
}

void RecordWindowEvents() {
    desktopEvents.windowShouldClose = [] {
        Write("close");
        const bool closes = inner.windowShouldClose();
        // The end of the application that follows a close is part of it.
        if (closes) desktopEvents.shouldTerminate = inner.shouldTerminate;
        return closes;
    };
    desktopEvents.windowDidMove = [] {
        if (IsUsersChange()) {
            const WindowFrame frame = desktop.windowFrame();
            Write(FormatText("move %d %d", frame.x, frame.y));
        }
        inner.windowDidMove();
    };
    // The resize that follows a change of the view's frame is part of it.
    desktopEvents.viewFrameDidChange = [] {
        if (IsUsersChange()) {
            const ViewSize size = desktop.viewSize();
            Write(FormatText("resize %d %d", size.width, size.height));
        }
        inner.viewFrameDidChange();
    };
    desktopEvents.windowDidMiniaturize = [] {
        Write("minimize");
        inner.windowDidMiniaturize();
    };
    desktopEvents.windowDidDeminiaturize = [] {
        Write("restore");
        inner.windowDidDeminiaturize();
    };
    desktopEvents.windowWillEnterFullScreen = [] {
        if (!programmaticResize) Write("full-screen on");
        fullScreenChanges = true;
        inner.windowWillEnterFullScreen();
    };
    desktopEvents.windowDidEnterFullScreen = [] {
        fullScreenChanges = false;
        inner.windowDidEnterFullScreen();
    };
    desktopEvents.windowWillExitFullScreen = [] {
        if (!programmaticResize) Write("full-screen off");
        fullScreenChanges = true;
        inner.windowWillExitFullScreen();
    };
    desktopEvents.windowDidExitFullScreen = [] {
        fullScreenChanges = false;
        inner.windowDidExitFullScreen();
    };
    desktopEvents.windowWillStartLiveResize = [] {
        Write("live-resize-start");
        inner.windowWillStartLiveResize();
    };
    desktopEvents.windowDidEndLiveResize = [] {
        Write("live-resize-end");
        inner.windowDidEndLiveResize();
    };
}

void RecordInputEvents() {
    desktopEvents.keyDown = [](u8 code, const std::string& text) {
        Write(FormatText("key-down %2.2X ", code) + QuoteScriptText(text));
        inner.keyDown(code, text);
    };
    desktopEvents.keyUp = [](u8 code, const std::string& text) {
        Write(FormatText("key-up %2.2X ", code) + QuoteScriptText(text));
        inner.keyUp(code, text);
    };
    desktopEvents.flagsChanged = [](bool shift, bool command, bool option) {
        Write(FormatText("modifiers%s%s%s", shift ? " shift" : "", command ? " command" : "",
                         option ? " option" : ""));
        inner.flagsChanged(shift, command, option);
    };
    desktopEvents.mouseDown = [](u32 button, i32 x, i32 y, i32 clicks) {
        Write(FormatText("mouse-down %u %d %d %d", button, x, y, clicks));
        inner.mouseDown(button, x, y, clicks);
    };
    desktopEvents.mouseUp = [](u32 button, i32 x, i32 y) {
        Write(FormatText("mouse-up %u %d %d", button, x, y));
        inner.mouseUp(button, x, y);
    };
    desktopEvents.mouseMoved = [](i32 x, i32 y) {
        Write(FormatText("mouse-move %d %d", x, y));
        inner.mouseMoved(x, y);
    };
    desktopEvents.mouseDragged = [](u32 button, i32 x, i32 y) {
        Write(FormatText("mouse-drag %u %d %d", button, x, y));
        inner.mouseDragged(button, x, y);
    };
    desktopEvents.scrollWheel = [](double deltaX, double deltaY, i32 x, i32 y) {
        Write(FormatText("scroll %.6f %.6f %d %d", deltaX, deltaY, x, y));
        inner.scrollWheel(deltaX, deltaY, x, y);
    };
    // Text without a key press has no event of its own in a script; as a posted message it
    // reaches the module the same way.
    desktopEvents.textInput = [](const std::string& text) {
        u8 bytes[8] = {};
        for (size_t i = 0; i < text.size() && i < sizeof bytes; ++i) {
            bytes[i] = static_cast<u8>(text[i]);
        }
        const u32 low = bytes[0] | u32{bytes[1]} << 8 | u32{bytes[2]} << 16 | u32{bytes[3]} << 24;
        const u32 high = bytes[4] | u32{bytes[5]} << 8 | u32{bytes[6]} << 16 | u32{bytes[7]} << 24;
        Write(FormatText("post 14 0x%X 0x%X 0", low, high));
        inner.textInput(text);
    };
}

}  // namespace

bool StartRecording(const std::string& path) {
    recordFile = std::fopen(path.c_str(), "w");
    if (recordFile == nullptr) return false;
    inner = desktopEvents;
    RecordApplicationEvents();
    RecordWindowEvents();
    RecordInputEvents();
    return true;
}

void CloseRecording() {
    if (recordFile == nullptr) return;
    std::fclose(recordFile);
    recordFile = nullptr;
    desktopEvents = inner;
}
