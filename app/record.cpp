#include "app/record.h"

#include <charconv>
#include <cstdio>

#include "base/log.h"
#include "base/output_files.h"
#include "desktop/desktop.h"
#include "desktop/events.h"
#include "desktop/headless/script.h"
#include "host/gamepad.h"
#include "host/queue.h"
#include "host/session.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

constexpr u64 kNanosecondsPerMillisecond = 1000000;

constinit std::FILE* recordFile = nullptr;
constinit u64 launchTime = 0;
DesktopEvents inner;   // the handlers that the events go on to
Desktop innerDesktop;  // the desktop that the program's wishes go on to

// A script holds causes alone. What the program itself brings about (a key of the menu that quits,
// a geometry that the module asks for, the changes that full screen brings) comes about again when
// the script is played.
constinit u32 ownChanges = 0;  // the program is changing the window just now
constinit bool fullScreenChanges = false;
constinit bool tookDesktop = false;     // `desktop` has the functions of NoteOwnChanges
constinit bool quitIsOurs = false;      // the program has asked to quit
constinit bool closeIsOurs = false;     // the program has asked to close the window
constinit bool closes = false;          // the window is about to be closed
constinit bool minimizeIsOurs = false;  // the program has asked to minimise it

void Write(const std::string& event) {
    // The pad's own events stand for the keys that become of them.
    if (recordFile == nullptr || padIsActing) {
        return;
    }
    const u64 elapsed = desktop.nanoseconds() - launchTime;
    std::fprintf(recordFile, "%llu %s\n",
                 static_cast<unsigned long long>(elapsed / kNanosecondsPerMillisecond),
                 event.c_str());
    std::fflush(recordFile);
}

// The shortest decimal number that is read back as the same.
std::string Decimal(double value) {
    char text[400];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed);
    return {text, end.ptr};
}

bool IsUsersChange() {
    return ownChanges == 0 && !fullScreenChanges;
}

// A move that comes while something waits is dropped. Played back a little earlier or later it
// might not be, and so it is left out.
bool MoveIsTold() {
    return !inMX && !inputSuspended && QueueIsEmpty();
}

// Whether a change that was asked for has come about; the wish is forgotten then.
bool TakeWish(bool& wish) {
    const bool wished = wish;
    wish = false;
    return wished;
}

void NoteOwnChanges() {
    tookDesktop = true;
    innerDesktop = desktop;
    desktop.terminate = [] {
        quitIsOurs = true;
        innerDesktop.terminate();
    };
    desktop.closeWindow = [] {
        closeIsOurs = true;
        innerDesktop.closeWindow();
    };
    desktop.minimizeWindow = [] {
        minimizeIsOurs = true;
        innerDesktop.minimizeWindow();
    };
    desktop.setWindowFrame = [](WindowFrame frame) {
        ++ownChanges;
        innerDesktop.setWindowFrame(frame);
        --ownChanges;
    };
    desktop.toggleFullScreen = [] {
        ++ownChanges;
        innerDesktop.toggleFullScreen();
        --ownChanges;
    };
}

void RecordApplicationEvents(DesktopEvents& events) {
    events.didFinishLaunching = [] {
        launchTime = desktop.nanoseconds();
        NoteOwnChanges();
        inner.didFinishLaunching();
    };
    events.willBecomeActive = [] {
        Write("activate");
        inner.willBecomeActive();
    };
    // Told only to a game that stands still for it.
    events.didResignActive = [] {
        Write("deactivate");
        inner.didResignActive();
    };
    events.shouldTerminate = [] {
        // The end of the application that follows a close is part of it.
        if (!closes && !TakeWish(quitIsOurs)) {
            Write("quit");
        }
        return inner.shouldTerminate();
    };
    events.screensChanged = [] {
        std::string sizes;
        for (const Screen& screen : desktop.screens()) {
            sizes += FormatText("%s%dx%d", sizes.empty() ? "" : ",", screen.frame.width,
                                screen.frame.height);
        }
        Write("screens " + sizes);
        inner.screensChanged();
    };
    events.clipboardDidChange = [](const std::string& text) {
        Write("clipboard " + QuoteScriptText(text));
        inner.clipboardDidChange(text);
    };
    events.expose = [](ViewRect rect) {
        Write("expose " + Decimal(rect.x) + " " + Decimal(rect.y) + " " + Decimal(rect.width) +
              " " + Decimal(rect.height));
        inner.expose(rect);
    };
    events.screenshot = [](const std::string& path) {
        Write("screenshot " + QuoteScriptText(path));
        return inner.screenshot(path);
    };
    events.post = [](u32 command, u32 p1, u32 p2, u32 p3) {
        Write(FormatText("post %u 0x%X 0x%X 0x%X", command, p1, p2, p3));
        inner.post(command, p1, p2, p3);
    };
}

void RecordWindowEvents(DesktopEvents& events) {
    events.windowShouldClose = [] {
        if (!TakeWish(closeIsOurs)) {
            Write("close");
        }
        closes = inner.windowShouldClose();
        return closes;
    };
    events.windowDidMove = [] {
        if (IsUsersChange()) {
            const WindowFrame frame = desktop.windowFrame();
            Write(FormatText("move %d %d", frame.x, frame.y));
        }
        inner.windowDidMove();
    };
    // The resize that follows a change of the view's frame is part of it.
    events.viewFrameDidChange = [] {
        if (IsUsersChange()) {
            const ViewSize size = desktop.viewSize();
            Write(FormatText("resize %d %d", size.width, size.height));
        }
        inner.viewFrameDidChange();
    };
    events.windowDidMiniaturize = [] {
        if (!TakeWish(minimizeIsOurs)) {
            Write("minimize");
        }
        inner.windowDidMiniaturize();
    };
    events.windowDidDeminiaturize = [] {
        minimizeIsOurs = false;
        Write("restore");
        inner.windowDidDeminiaturize();
    };
    events.windowWillEnterFullScreen = [] {
        if (ownChanges == 0) {
            Write("full-screen on");
        }
        fullScreenChanges = true;
        inner.windowWillEnterFullScreen();
    };
    events.windowDidEnterFullScreen = [] {
        fullScreenChanges = false;
        inner.windowDidEnterFullScreen();
    };
    events.windowWillExitFullScreen = [] {
        if (ownChanges == 0) {
            Write("full-screen off");
        }
        fullScreenChanges = true;
        inner.windowWillExitFullScreen();
    };
    events.windowDidExitFullScreen = [] {
        fullScreenChanges = false;
        inner.windowDidExitFullScreen();
    };
    events.windowWillStartLiveResize = [] {
        Write("live-resize-start");
        inner.windowWillStartLiveResize();
    };
    events.windowDidEndLiveResize = [] {
        Write("live-resize-end");
        inner.windowDidEndLiveResize();
    };
}

void RecordInputEvents(DesktopEvents& events) {
    events.keyDown = [](u8 code, const std::string& text) {
        Write(FormatText("key-down %2.2X ", code) + QuoteScriptText(text));
        inner.keyDown(code, text);
    };
    events.keyUp = [](u8 code, const std::string& text) {
        Write(FormatText("key-up %2.2X ", code) + QuoteScriptText(text));
        inner.keyUp(code, text);
    };
    events.flagsChanged = [](bool shift, bool command, bool option) {
        Write(FormatText("modifiers%s%s%s", shift ? " shift" : "", command ? " command" : "",
                         option ? " option" : ""));
        inner.flagsChanged(shift, command, option);
    };
    events.mouseDown = [](u32 button, i32 x, i32 y, i32 clicks) {
        Write(FormatText("mouse-down %u %d %d %d", button, x, y, clicks));
        inner.mouseDown(button, x, y, clicks);
    };
    events.mouseUp = [](u32 button, i32 x, i32 y) {
        Write(FormatText("mouse-up %u %d %d", button, x, y));
        inner.mouseUp(button, x, y);
    };
    events.mouseMoved = [](i32 x, i32 y) {
        if (MoveIsTold()) {
            Write(FormatText("mouse-move %d %d", x, y));
        }
        inner.mouseMoved(x, y);
    };
    events.mouseDragged = [](u32 button, i32 x, i32 y) {
        if (MoveIsTold()) {
            Write(FormatText("mouse-drag %u %d %d", button, x, y));
        }
        inner.mouseDragged(button, x, y);
    };
    events.scrollWheel = [](double deltaX, double deltaY, i32 x, i32 y) {
        Write("scroll " + Decimal(deltaX) + " " + Decimal(deltaY) + FormatText(" %d %d", x, y));
        inner.scrollWheel(deltaX, deltaY, x, y);
    };
    events.padButton = [](PadButton button, bool down) {
        Write("pad-button " + std::string(NameOf(button)) + (down ? " down" : " up"));
        inner.padButton(button, down);
    };
    events.padAxis = [](PadAxis axis, double value) {
        Write("pad-axis " + std::string(NameOf(axis)) + " " + Decimal(value));
        inner.padAxis(axis, value);
    };
    // Text without a key press has no event of its own in a script; as a posted message it
    // reaches the module the same way.
    events.textInput = [](const std::string& text) {
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
    recordFile = outputFiles.open(path);
    return recordFile != nullptr;
}

DesktopEvents Recorded(const DesktopEvents& handlers) {
    if (recordFile == nullptr) {
        return handlers;
    }
    inner = handlers;
    DesktopEvents events = handlers;
    RecordApplicationEvents(events);
    RecordWindowEvents(events);
    RecordInputEvents(events);
    return events;
}

void CloseRecording() {
    if (recordFile == nullptr) {
        return;
    }
    std::fclose(recordFile);
    recordFile = nullptr;
    if (tookDesktop) {
        desktop = innerDesktop;
    }
    tookDesktop = false;
}

}  // namespace moxi
