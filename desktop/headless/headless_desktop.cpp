#include "desktop/headless/headless_desktop.h"

#include <algorithm>
#include <ctime>
#include <deque>
#include <utility>

#include "base/log.h"
#include "desktop/common/date_time.h"
#include "desktop/common/rectangles.h"
#include "desktop/common/timers.h"
#include "desktop/events.h"
#include "desktop/quit_request.h"
#include "desktop/us_layout.h"

namespace moxi {

namespace {

constexpr u64 kMicrosecondsPerMillisecond = 1000;
// The virtual time that each reading of the clock takes.
constexpr u64 kClockReadingMicroseconds = 50;
constexpr u64 kDefaultRunMilliseconds = 1000;

struct QueuedWork {
    u64 queuedAt;  // microseconds
    void (*work)();
};

struct HeadlessState {
    HeadlessOptions options;
    u64 now = 0;  // microseconds of virtual time
    u64 end = 0;  // of the run, the same
    bool terminated = false;

    size_t nextEvent = 0;
    std::deque<QueuedWork> mainQueue;
    Timers timers;  // in microseconds

    WindowFrame frame;
    WindowFrame frameBeforeFullScreen;
    bool shown = false;
    bool fullScreen = false;
    bool miniaturized = false;
    ViewRect redraw;  // the requests joined; empty when there is none
    u64 redrawRequestedAt = 0;

    std::optional<std::string> clipboard;
    std::time_t dateAtStart = 0;  // the local date and time as if it were UTC
    timespec startOfRun = {};     // by the clock that stamps files
};

HeadlessState state;

// --- Redraws

ViewSize SizeOfView() {
    return {state.frame.width, state.frame.height};
}

void RequestRedraw(ViewRect rect) {
    if (IsEmpty(rect)) {
        return;
    }
    if (IsEmpty(state.redraw)) {
        state.redrawRequestedAt = state.now;
    }
    state.redraw = Joined(state.redraw, rect);
}

void ServeRedraw() {
    const ViewRect rect = Clipped(std::exchange(state.redraw, {}), SizeOfView());
    if (!IsEmpty(rect)) {
        desktopEvents.drawRect(rect);
    }
}

// --- The window

// Sets the frame and tells of what changed, in the order move, frame change, resize.
void ChangeFrame(WindowFrame frame) {
    frame = WithinLimits(frame);
    const WindowFrame before = state.frame;
    state.frame = frame;
    const bool resized = before.width != frame.width || before.height != frame.height;
    if (before.x != frame.x || before.y != frame.y) {
        desktopEvents.windowDidMove();
    }
    if (resized) {
        if (state.shown) {
            RequestRedraw(WholeView(SizeOfView()));
        }
        desktopEvents.viewFrameDidChange();
        desktopEvents.windowDidResize();
    }
}

void SetWindowFrame(WindowFrame frame) {
    if (state.fullScreen) {
        state.frameBeforeFullScreen = frame;
    } else {
        ChangeFrame(frame);
    }
}

void ToggleFullScreen() {
    if (state.fullScreen) {
        desktopEvents.windowWillExitFullScreen();
        state.fullScreen = false;
        ChangeFrame(state.frameBeforeFullScreen);
        desktopEvents.windowDidExitFullScreen();
    } else {
        desktopEvents.windowWillEnterFullScreen();
        state.fullScreen = true;
        state.frameBeforeFullScreen = state.frame;
        ChangeFrame(desktop.screens().front().frame);
        desktopEvents.windowDidEnterFullScreen();
    }
}

void SetMiniaturized(bool miniaturized) {
    if (state.miniaturized == miniaturized) {
        return;
    }
    state.miniaturized = miniaturized;
    if (miniaturized) {
        desktopEvents.windowDidMiniaturize();
    } else {
        desktopEvents.windowDidDeminiaturize();
    }
}

void Terminate() {
    if (state.terminated || !desktopEvents.shouldTerminate()) {
        return;
    }
    desktopEvents.willTerminate();
    state.terminated = true;
}

void CloseWindow() {
    if (!desktopEvents.windowShouldClose()) {
        return;
    }
    desktopEvents.windowWillClose();
    // The end of the application that follows asks once more; with the window gone, the answer
    // cannot keep the program alive.
    desktopEvents.shouldTerminate();
    desktopEvents.willTerminate();
    state.terminated = true;
}

std::vector<Screen> Screens() {
    std::vector<Screen> screens;
    i32 x = 0;
    for (const ViewSize& size : state.options.screens) {
        const WindowFrame frame = {x, 0, size.width, size.height};
        screens.push_back({frame, frame});
        x += size.width;
    }
    return screens;
}

// --- Script events

i32 Number(const ScriptEvent& event, u32 index) {
    return static_cast<i32>(event.numbers[index]);
}

void PlayKeyboardEvent(const ScriptEvent& event) {
    const u8 code = static_cast<u8>(event.numbers[0]);
    switch (event.kind) {
        case ScriptEventKind::KeyDown: desktopEvents.keyDown(code, event.text); break;
        case ScriptEventKind::KeyUp: desktopEvents.keyUp(code, event.text); break;
        default: desktopEvents.flagsChanged(event.shift, event.command, event.option);
    }
}

void PlayMouseEvent(const ScriptEvent& event) {
    const u32 button = static_cast<u32>(event.numbers[0]);
    const i32 x = Number(event, 1);
    const i32 y = Number(event, 2);
    switch (event.kind) {
        case ScriptEventKind::MouseDown:
            desktopEvents.mouseDown(button, x, y, Number(event, 3));
            break;
        case ScriptEventKind::MouseUp: desktopEvents.mouseUp(button, x, y); break;
        case ScriptEventKind::MouseDrag: desktopEvents.mouseDragged(button, x, y); break;
        case ScriptEventKind::Scroll:
            desktopEvents.scrollWheel(event.deltas[0], event.deltas[1], Number(event, 0),
                                      Number(event, 1));
            break;
        default: desktopEvents.mouseMoved(Number(event, 0), Number(event, 1));
    }
}

void PlayEvent(const ScriptEvent& event) {
    switch (event.kind) {
        case ScriptEventKind::KeyDown:
        case ScriptEventKind::KeyUp:
        case ScriptEventKind::Modifiers: PlayKeyboardEvent(event); break;
        case ScriptEventKind::MouseDown:
        case ScriptEventKind::MouseUp:
        case ScriptEventKind::MouseMove:
        case ScriptEventKind::MouseDrag:
        case ScriptEventKind::Scroll: PlayMouseEvent(event); break;
        case ScriptEventKind::PadButton:
            desktopEvents.padButton(event.padButton, event.down);
            break;
        case ScriptEventKind::PadAxis: desktopEvents.padAxis(event.padAxis, event.deltas[0]); break;
        case ScriptEventKind::Resize:
            ChangeFrame({state.frame.x, state.frame.y, Number(event, 0), Number(event, 1)});
            break;
        case ScriptEventKind::LiveResizeStart: desktopEvents.windowWillStartLiveResize(); break;
        case ScriptEventKind::LiveResizeEnd: desktopEvents.windowDidEndLiveResize(); break;
        case ScriptEventKind::Move:
            ChangeFrame(
                {Number(event, 0), Number(event, 1), state.frame.width, state.frame.height});
            break;
        case ScriptEventKind::Minimize: SetMiniaturized(true); break;
        case ScriptEventKind::Restore: SetMiniaturized(false); break;
        case ScriptEventKind::FullScreenOn:
            if (!state.fullScreen) {
                ToggleFullScreen();
            }
            break;
        case ScriptEventKind::FullScreenOff:
            if (state.fullScreen) {
                ToggleFullScreen();
            }
            break;
        case ScriptEventKind::Activate: desktopEvents.willBecomeActive(); break;
        case ScriptEventKind::Deactivate: desktopEvents.didResignActive(); break;
        case ScriptEventKind::Expose:
            // Told at once, as the script says it: not joined with other requests, not clipped.
            desktopEvents.expose(
                {event.deltas[0], event.deltas[1], event.deltas[2], event.deltas[3]});
            break;
        case ScriptEventKind::Close: CloseWindow(); break;
        case ScriptEventKind::Quit: Terminate(); break;
        case ScriptEventKind::Screens:
            state.options.screens = event.screens;
            desktopEvents.screensChanged();
            break;
        case ScriptEventKind::Clipboard:
            state.clipboard = event.text;
            desktopEvents.clipboardDidChange(event.text);
            break;
        case ScriptEventKind::Drop: desktopEvents.fileDropped(event.text); break;
        case ScriptEventKind::Post:
            desktopEvents.post(
                static_cast<u32>(event.numbers[0]), static_cast<u32>(event.numbers[1]),
                static_cast<u32>(event.numbers[2]), static_cast<u32>(event.numbers[3]));
            break;
        case ScriptEventKind::Screenshot:
            if (!desktopEvents.screenshot(event.text)) {
                SystemLog("screenshot: cannot write " + event.text);
            }
            break;
    }
}

// --- The loop

u64 EventTime(size_t index) {
    return state.options.script[index].milliseconds * kMicrosecondsPerMillisecond;
}

bool PlayDueEvent(u64 limit) {
    if (state.nextEvent >= state.options.script.size() || EventTime(state.nextEvent) > limit) {
        return false;
    }
    PlayEvent(state.options.script[state.nextEvent++]);
    return true;
}

bool RunQueuedWork() {
    if (state.mainQueue.empty() || state.mainQueue.front().queuedAt > state.end) {
        return false;
    }
    const QueuedWork work = state.mainQueue.front();
    state.mainQueue.pop_front();
    work.work();
    return true;
}

bool ServeDueRedraw() {
    if (IsEmpty(state.redraw) || state.redrawRequestedAt > state.end) {
        return false;
    }
    ServeRedraw();
    return true;
}

bool FireTimer(u64 limit) {
    return FireDueTimer(
        state.timers, limit, [] { return state.now; }, [](void (*handler)()) { handler(); });
}

// Moves virtual time on to the next event or timer; false when none is left before the end.
bool JumpToNext() {
    u64 next = kNever;
    if (state.nextEvent < state.options.script.size()) {
        next = EventTime(state.nextEvent);
    }
    next = std::min(next, EarliestDeadline(state.timers));
    if (next > state.end) {
        return false;
    }
    state.now = std::max(state.now, next);
    return true;
}

// A termination signal is answered as the menu's quit item is, between two steps.
bool AnswerQuitRequest() {
    QuitRequest made = QuitRequest::Made;
    if (!quitRequest.compare_exchange_strong(made, QuitRequest::BeingAnswered)) {
        return false;
    }
    Terminate();
    NoteQuitAnswer();
    return true;
}

void RunEventLoop() {
    desktopEvents.didFinishLaunching();
    while (!state.terminated) {
        if (AnswerQuitRequest()) {
            continue;
        }
        // What was due at or before the end still happens, also when the module's own waiting
        // has carried the time beyond it.
        const u64 limit = std::min(state.now, state.end);
        if (PlayDueEvent(limit) || RunQueuedWork() || ServeDueRedraw() || FireTimer(limit)) {
            continue;
        }
        if (!JumpToNext()) {
            break;
        }
    }
    // A run that nothing has ended earlier lasts until its end.
    if (!state.terminated) {
        state.now = std::max(state.now, state.end);
    }
}

// --- Time

TimerId StartTimer(u64 microseconds, void (*handler)()) {
    return StartTimer(state.timers, state.now, microseconds, handler);
}

std::time_t Now() {
    constexpr u64 kMicrosecondsPerSecond = 1000000;
    return state.dateAtStart + static_cast<std::time_t>(state.now / kMicrosecondsPerSecond);
}

DateTime LocalDateTime() {
    const std::time_t time = Now();
    std::tm parts = {};
    gmtime_r(&time, &parts);
    return DateOf(parts);
}

// In a run with a date of its own, a file that was changed during the run was changed now, by the
// run's clock, whatever the disk says. So the same run comes out the same on every day.
std::time_t FileTime(const timespec& changed) {
    const timespec& start = state.startOfRun;
    const bool isOfThisRun = changed.tv_sec != start.tv_sec ? changed.tv_sec > start.tv_sec
                                                            : changed.tv_nsec >= start.tv_nsec;
    return state.options.date && isOfThisRun ? Now() : changed.tv_sec;
}

// The local date and time at the start, as if it were UTC, which knows no jumps of the clock.
std::time_t DateAtStart(const std::optional<DateTime>& date) {
    std::tm parts = date ? PartsOf(*date) : LocalParts();
    return timegm(&parts);
}

}  // namespace

void StartHeadlessDesktop(const HeadlessOptions& options) {
    state = {};
    state.options = options;
    state.dateAtStart = DateAtStart(options.date);
    clock_gettime(CLOCK_REALTIME_COARSE, &state.startOfRun);
    const u64 lastEvent = options.script.empty() ? 0 : options.script.back().milliseconds;
    state.end = options.runMilliseconds.value_or(lastEvent + kDefaultRunMilliseconds) *
                kMicrosecondsPerMillisecond;

    desktop.runEventLoop = RunEventLoop;
    desktop.terminate = Terminate;
    // There is nobody to ask whether to go on waiting, so only a termination signal ends work that
    // never ends by itself.
    desktop.endIsForced = SignalHasWaitedLong;
    desktop.shutDown = [] {};
    desktop.createWindow = [](WindowFrame content) { state.frame = content; };
    desktop.setWindowTitle = [](const char*) {};
    desktop.showWindow = [] {
        state.shown = true;
        RequestRedraw(WholeView(SizeOfView()));
    };
    desktop.closeWindow = CloseWindow;
    desktop.minimizeWindow = [] { SetMiniaturized(true); };
    desktop.windowFrame = [] { return state.frame; };
    desktop.setWindowFrame = SetWindowFrame;
    desktop.viewSize = SizeOfView;
    desktop.isFullScreen = [] { return state.fullScreen; };
    desktop.toggleFullScreen = ToggleFullScreen;
    desktop.setViewScale = [](const ViewScale&) {};
    desktop.fittedScreen = [] { return std::optional<bool>{}; };
    desktop.setFittedScreen = [](bool) {};
    desktop.requestRedraw = RequestRedraw;
    desktop.presentView = [](ViewPixels, ViewRect) {};
    desktop.windowPixels = [] { return desktop.viewSize(); };
    // Nothing is shown; whoever draws a surface keeps it for screenshots.
    desktop.presentSurface = [](const u8*, ViewSize) {};
    desktop.hideSurface = [] { RequestRedraw(WholeView(desktop.viewSize())); };
    desktop.screens = Screens;
    desktop.nanoseconds = [] { return TimeWithoutHolds(state.timers, state.now) * 1000; };
    desktop.clockWasRead = [] { state.now += kClockReadingMicroseconds; };
    desktop.localDateTime = LocalDateTime;
    desktop.fileTime = FileTime;
    desktop.startTimer = StartTimer;
    desktop.startSurfaceTimer = [](u64 microseconds, void (*handler)()) {
        return StartTimer(state.timers, state.now, microseconds, handler, TimerOwner::Host);
    };
    desktop.stopTimer = [](TimerId timer) { StopTimer(state.timers, timer); };
    desktop.holdGame = [](bool held) {
        held ? HoldTimers(state.timers, state.now) : LetTimersGo(state.timers, state.now);
    };
    desktop.sleep = [](u64 milliseconds) {
        state.now += milliseconds * kMicrosecondsPerMillisecond;
    };
    desktop.isMainThread = [] { return true; };
    desktop.queueOnMain = [](void (*work)()) {
        // Work that is waiting already is not queued again: to run it once does all that is needed,
        // and a module may ask for it without end.
        const bool waits = std::any_of(state.mainQueue.begin(), state.mainQueue.end(),
                                       [&](const QueuedWork& each) { return each.work == work; });
        if (!waits) {
            state.mainQueue.push_back({state.now, work});
        }
    };
    // There are no keyboard layouts here, so the US keyboard stands in.
    desktop.latinText = [](u8 code, const std::string& text) {
        const char us = UsCharacter(code);
        return IsLatin(text) || us == 0 ? text : std::string(1, us);
    };
    desktop.clipboardText = [] { return state.clipboard; };
    desktop.setClipboardText = [](const std::string& utf8) { state.clipboard = utf8; };
    desktop.movePointer = [](i32, i32) {};
    desktop.setHandCursor = [](bool) {};
    desktop.openUrl = [](const std::string& utf8) { SystemLog("OpenURL " + utf8); };
    desktop.askBeforeUrls = [](bool) {};
    desktop.alert = [](const std::string&) {};
    desktop.alertOrEnd = [](const std::string&) { return SignalIsWaiting(); };
}

}  // namespace moxi
