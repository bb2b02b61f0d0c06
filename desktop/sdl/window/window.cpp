#include "desktop/sdl/window/window.h"

#include <SDL_keyboard.h>
#include <SDL_mouse.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "desktop/common/rectangles.h"
#include "desktop/common/timers.h"
#include "desktop/events.h"
#include "desktop/quit_request.h"
#include "desktop/sdl/input/keyboard.h"
#include "desktop/sdl/input/mouse.h"
#include "desktop/sdl/input/pads.h"
#include "desktop/sdl/loop/clock.h"
#include "desktop/sdl/loop/display_loss.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/geometry_tracker.h"
#include "desktop/sdl/window/native_display.h"
#include "desktop/sdl/window/points.h"
#include "desktop/sdl/window/screens.h"
#include "desktop/sdl/window/view.h"
#include "desktop/sdl/window/wayland_side.h"
#include "desktop/sdl/window/x11_side.h"

namespace moxi {

// How long a window manager may take to bring a window back from full screen before we place it.
constexpr u64 kLeavingNanoseconds = 200'000'000;
constexpr u64 kLiveResizeNanoseconds = 30'000'000;

namespace {

constinit GeometryTracker tracker;  // content area
constinit Borders borders;          // all 0 where the desktop does not tell
constinit FrameWatch frames;
constinit bool reported = false;       // the desktop has told of a change since we looked
constinit bool positionsExist = true;  // Wayland has none
constinit bool shown = false;
constinit bool miniaturized = false;

// What the application asked for and the desktop has not been given. Giving it can block for
// 100 ms on X11, so it is done once in a turn of the loop and not at each request.
constinit bool owed = false;
constinit u64 owedFrom = 0;  // not before this time

constinit bool fullScreen = false;
constinit ScreenArea windowedContent;  // to come back to
constinit Borders windowedBorders;

constinit bool liveResize = false;
constinit u64 nextLiveLook = 0;

// A fitted view keeps its size whatever becomes of the window. The application has the frame that
// it asked for, and does not see that the window fills the screen.
constinit ViewScale scale;
constinit bool fitted = false;
constinit WindowFrame fittedFrame;
constinit bool onWholeScreen = false;
constinit ViewSize viewSizeTold;  // to the application, or asked for by it

// In full screen of its own the application has all of the screen's pixels.
bool IsFittedNow() {
    return fitted && !fullScreen;
}

}  // namespace

ViewSize CurrentViewSize() {
    if (IsFittedNow()) {
        return {fittedFrame.width, fittedFrame.height};
    }
    return ViewOf(tracker.known);
}

bool IsFullScreen() {
    return fullScreen;
}

WindowFrame GameWindowFrame() {
    const InsideDesktop inside;
    if (IsFittedNow()) {
        return fittedFrame;
    }
    return FrameOf(tracker.known, borders, MainScreenArea());
}

namespace {

ScreenArea ActualContent() {
    ScreenArea area;
    SDL_GetWindowPosition(gameWindow, &area.x, &area.y);
    SDL_GetWindowSize(gameWindow, &area.width, &area.height);
    if (!positionsExist) {
        // The bottom-left corner stays where the application believes it to be.
        area.x = tracker.known.x;
        area.y = tracker.known.y + tracker.known.height - area.height;
    }
    return area;
}

// What the X server has. Not to be asked at any time: a window manager may be moving the window
// about while it shows or hides it, and tells only when it has finished.
ScreenArea ContentOnServer() {
    SDL_Rect content;
    if (!AskX11ForWindow(gameWindow, content)) {
        return ActualContent();
    }
    return {content.x, content.y, content.w, content.h};
}

bool AskForPlacement(Placement& placement) {
    X11Placement asked;
    if (!AskX11ForPlacement(XWindow(gameWindow), asked)) {
        return false;
    }
    const auto [x, y, width, height] = asked.content;
    const auto [outerX, outerY, outerWidth, outerHeight] = asked.frame;
    const auto [left, right, top, bottom] = asked.borders;
    placement = {.content = {x, y, width, height},
                 .borders = {.top = top, .left = left, .bottom = bottom, .right = right},
                 .frame = {outerX, outerY, outerWidth, outerHeight}};
    return true;
}

// Whether the frame has another place now though the content has stayed where it is. The
// borders that a window has from the start are no news.
bool TakeBorders(const Borders& now) {
    const Borders before = std::exchange(borders, now);
    return before != Borders{} && (before.left != now.left || before.bottom != now.bottom);
}

void TellSize() {
    Tell(desktopEvents.viewFrameDidChange);
    Tell(desktopEvents.windowDidResize);
}

// Shows the view as it has to be now, and answers whether it has another size.
bool FitViewNow() {
    const ViewSize before = viewSizeTold;
    viewSizeTold = CurrentViewSize();
    const Fitting fitting = !IsFittedNow()                                ? Fitting::Steps
                            : scale.kind == ViewScale::Kind::FitFractions ? Fitting::Fractions
                                                                          : Fitting::Whole;
    FitView(fitting, pointSize, scale.smooth);
    ResizeView(viewSizeTold);
    return before.width != viewSizeTold.width || before.height != viewSizeTold.height;
}

void TellChange(const GeometryChange& change) {
    // A fitted view stays where and as large as the application wants it.
    const bool resized = change.resized && FitViewNow();
    if (change.moved && !IsFittedNow()) {
        Tell(desktopEvents.windowDidMove);
    }
    if (resized) {
        TellSize();
    }
}

}  // namespace

void CreateGameWindow(WindowFrame content) {
    const InsideDesktop inside;
    if (gameWindow != nullptr) {
        return;
    }
    tracker = {};
    borders = {};
    fittedFrame = content;
    tracker.known = ContentOf(content, borders, MainScreenArea());
    positionsExist = std::string_view(SDL_GetCurrentVideoDriver()) != "wayland";
    gameWindow = SDL_CreateWindow(
        GameWindowTitle(), tracker.known.x, tracker.known.y, tracker.known.width,
        tracker.known.height, SDL_WINDOW_HIDDEN | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI);
    if (gameWindow == nullptr) {
        return SystemLog(std::string("no window: ") + SDL_GetError());
    }
    FitViewNow();
    if (!StartView(gameWindow, CurrentViewSize())) {
        SystemLog(std::string("no renderer: ") + SDL_GetError());
    }
    NameX11Window(gameWindow, GameWindowTitle());
    WatchDisplay(gameWindow);
    StartWaylandSide(gameWindow);
}

// --- The scale

namespace {

i32 StepsOf(const ViewScale& wanted) {
    switch (wanted.kind) {
        case ViewScale::Kind::Steps:
            return std::clamp(wanted.steps, 1, MostSteps(MainScreenArea()));
        case ViewScale::Kind::Automatic: return DesktopDensity(MainScreenArea());
        case ViewScale::Kind::Fit:
        case ViewScale::Kind::FitFractions: return 1;
    }
    return 1;
}

bool IsFitting(const ViewScale& wanted) {
    return wanted.kind == ViewScale::Kind::Fit || wanted.kind == ViewScale::Kind::FitFractions;
}

void UseWholeScreen(bool use) {
    if (onWholeScreen == use) {
        return;
    }
    onWholeScreen = use;
    // In full screen of the application's own it is there already, and stays.
    if (fullScreen) {
        return;
    }
    SDL_SetWindowFullscreen(gameWindow, use ? SDL_WINDOW_FULLSCREEN_DESKTOP : 0);
    const u64 now = Nanoseconds();
    if (use) {
        windowedContent = tracker.known;
        windowedBorders = borders;
        borders = {};
        AskGeometry(tracker, ScreenAreaOf(gameWindow), now);
        owed = false;
    } else {
        borders = windowedBorders;
        AskGeometry(tracker, windowedContent, now);
        owed = true;
        owedFrom = now + kLeavingNanoseconds;
    }
    reported = true;
    RequestWholeRedraw();
}

}  // namespace

std::optional<bool> FittedScreen() {
    if (gameWindow == nullptr || !IsFittedNow()) {
        return std::nullopt;
    }
    return onWholeScreen;
}

void SetFittedScreen(bool whole) {
    const InsideDesktop inside;
    if (FittedScreen()) {
        UseWholeScreen(whole);
    }
}

namespace {

// The view keeps its size, and the window takes another one.
void ResizeWindowToView(const WindowFrame& frame) {
    if (fullScreen || gameWindow == nullptr) {
        return;
    }
    const ScreenArea content = ContentOf(frame, borders, MainScreenArea());
    ScreenArea& target = onWholeScreen ? windowedContent : tracker.known;
    if (onWholeScreen) {
        target = content;
        return;
    }
    AskGeometry(tracker, content, Nanoseconds());
    owed = true;
}

}  // namespace

void SetViewScale(const ViewScale& wanted) {
    const InsideDesktop inside;
    if (gameWindow != nullptr && wanted == scale) {
        return;
    }
    const WindowFrame frame = GameWindowFrame();
    scale = wanted;
    pointSize = StepsOf(wanted);
    if (wanted.kind == ViewScale::Kind::Steps && pointSize < wanted.steps) {
        SystemLog(FormatText("scale %d: the screen has room for %d", wanted.steps, pointSize));
    }
    if (gameWindow == nullptr) {
        screenPointSize = pointSize;
        fitted = IsFitting(wanted);
        return;
    }
    const bool wasFitted = fitted;
    fitted = IsFitting(wanted);
    if (fitted && !wasFitted) {
        fittedFrame =
            fullScreen ? FrameOf(windowedContent, windowedBorders, MainScreenArea()) : frame;
        if (shown) {
            UseWholeScreen(true);
        }
    }
    if (!fitted) {
        UseWholeScreen(false);
        ResizeWindowToView(wasFitted ? fittedFrame : frame);
    }
    // In full screen of its own the application has more or fewer points now.
    if (FitViewNow()) {
        TellSize();
    }
}

void ShowGameWindow() {
    const InsideDesktop inside;
    if (gameWindow == nullptr) {
        return;
    }
    SDL_ShowWindow(gameWindow);
    SDL_RaiseWindow(gameWindow);
    if (shown) {
        return;
    }
    shown = true;
    Placement placement;
    if (AskForPlacement(placement)) {
        TakeBorders(placement.borders);
    }
    // Window managers put the frame where the content should be.
    owed = true;
    reported = true;
    RequestWholeRedraw();
    if (fitted) {
        UseWholeScreen(true);
    }
}

void MinimizeGameWindow() {
    const InsideDesktop inside;
    if (gameWindow != nullptr) {
        SDL_MinimizeWindow(gameWindow);
    }
}

void SetGameWindowFrame(WindowFrame frame) {
    const InsideDesktop inside;
    frame = WithinLimits(frame);
    if (fitted) {
        const bool moved = frame.x != fittedFrame.x || frame.y != fittedFrame.y;
        fittedFrame = frame;
        if (fullScreen) {
            return;
        }
        if (moved) {
            Tell(desktopEvents.windowDidMove);
        }
        if (FitViewNow()) {
            TellSize();
        }
        return;
    }
    if (fullScreen) {
        windowedContent = ContentOf(frame, windowedBorders, MainScreenArea());
        return;
    }
    const ScreenArea content = ContentOf(frame, borders, MainScreenArea());
    // Pixels that make up no point are left alone.
    const bool isTheSame = FrameOf(content, borders, MainScreenArea()) == GameWindowFrame();
    if (isTheSame && !owed) {
        return;
    }
    const GeometryChange change = AskGeometry(tracker, content, Nanoseconds());
    owed = true;
    TellChange(change);
}

namespace {

void EnterFullScreen(bool byUs) {
    Tell(desktopEvents.windowWillEnterFullScreen);
    if (gameWindow == nullptr) {
        return;
    }
    if (!onWholeScreen) {
        windowedContent = tracker.known;
        windowedBorders = borders;
    }
    fullScreen = true;
    owed = false;
    borders = {};
    const ScreenArea screen = ScreenAreaOf(gameWindow);
    if (byUs && !onWholeScreen) {
        SDL_SetWindowFullscreen(gameWindow, SDL_WINDOW_FULLSCREEN_DESKTOP);
    }
    const GeometryChange change = AskGeometry(tracker, screen, Nanoseconds());
    // A fitted view gets all of the screen now, even where the window's frame stays the same.
    TellChange({.moved = change.moved, .resized = change.resized || fitted});
    Tell(desktopEvents.windowDidEnterFullScreen);
}

void LeaveFullScreen(bool byUs) {
    Tell(desktopEvents.windowWillExitFullScreen);
    if (gameWindow == nullptr) {
        return;
    }
    fullScreen = false;
    if (onWholeScreen) {
        TellChange({.moved = false, .resized = true});
        Tell(desktopEvents.windowDidExitFullScreen);
        return;
    }
    borders = windowedBorders;
    if (byUs) {
        SDL_SetWindowFullscreen(gameWindow, 0);
    }
    const u64 now = Nanoseconds();
    owed = true;
    owedFrom = now + kLeavingNanoseconds;
    const GeometryChange change = AskGeometry(tracker, windowedContent, now);
    TellChange({.moved = change.moved, .resized = change.resized || fitted});
    Tell(desktopEvents.windowDidExitFullScreen);
}

}  // namespace

void ToggleFullScreen() {
    const InsideDesktop inside;
    if (gameWindow == nullptr) {
        return;
    }
    if (fullScreen) {
        LeaveFullScreen(true);
    } else {
        EnterFullScreen(true);
    }
    reported = true;
}

namespace {

void GiveWhatIsOwed() {
    owed = false;
    reported = true;
    if (fullScreen || onWholeScreen) {
        return;
    }
    const ScreenArea actual = ActualContent();
    const ScreenArea& wanted = tracker.known;
    if (actual == wanted) {
        return;
    }
    if ((SDL_GetWindowFlags(gameWindow) & SDL_WINDOW_MAXIMIZED) != 0) {
        SDL_RestoreWindow(gameWindow);
    }
    if (actual.width != wanted.width || actual.height != wanted.height) {
        SDL_SetWindowSize(gameWindow, wanted.width, wanted.height);
    }
    if (actual.x != wanted.x || actual.y != wanted.y) {
        SDL_SetWindowPosition(gameWindow, wanted.x, wanted.y);
    }
    HoldNews(tracker, Nanoseconds());
}

// A resize that comes while a mouse button is held that we have not seen pressed is the user's at
// the window's border. Wayland does not let us know.
void StartLiveResize() {
    if (liveResize || fullScreen || fitted || AnyButtonHeld()) {
        return;
    }
    if (SDL_GetGlobalMouseState(nullptr, nullptr) == 0) {
        return;
    }
    liveResize = true;
    nextLiveLook = Nanoseconds() + kLiveResizeNanoseconds;
    Tell(desktopEvents.windowWillStartLiveResize);
}

void WatchLiveResize(u64 now) {
    if (!liveResize || now < nextLiveLook) {
        return;
    }
    nextLiveLook = now + kLiveResizeNanoseconds;
    if (SDL_GetGlobalMouseState(nullptr, nullptr) != 0) {
        return;
    }
    liveResize = false;
    Tell(desktopEvents.windowDidEndLiveResize);
    RequestWholeRedraw();
}

// Where a window manager refuses what was asked for, SDL goes on believing in it, draws for it and
// hears of no change.
void MakeSdlBelieve(const ScreenArea& actual) {
    ScreenArea believed;
    SDL_GetWindowPosition(gameWindow, &believed.x, &believed.y);
    SDL_GetWindowSize(gameWindow, &believed.width, &believed.height);
    if (believed == actual) {
        return;
    }
    if (believed.width != actual.width || believed.height != actual.height) {
        SDL_SetWindowSize(gameWindow, actual.width, actual.height);
    }
    if (positionsExist && (believed.x != actual.x || believed.y != actual.y)) {
        SDL_SetWindowPosition(gameWindow, actual.x, actual.y);
    }
    RequestWholeRedraw();
}

void LookAtWindow(u64 now) {
    reported = false;
    if (!shown || miniaturized) {
        return;
    }
    const bool isFullScreen = (SDL_GetWindowFlags(gameWindow) & SDL_WINDOW_FULLSCREEN) != 0;
    if (isFullScreen != (fullScreen || onWholeScreen)) {
        if (IsFittedNow()) {
            // The window manager's doing, which is nothing that the application sees.
            onWholeScreen = !isFullScreen;
            UseWholeScreen(isFullScreen);
        } else if (isFullScreen) {
            EnterFullScreen(false);
        } else {
            LeaveFullScreen(false);
        }
        return;
    }
    bool isFrameMoved = false;
    Placement placement;
    if (!fullScreen && !onWholeScreen && AskForPlacement(placement)) {
        const bool isChange = borders != Borders{};
        if (isChange && now < tracker.heldUntil) {
            return;
        }
        if (isChange && IsFrameChanging(frames, placement, borders, ActualContent(), now)) {
            return;
        }
        isFrameMoved = TakeBorders(placement.borders);
    } else {
        frames.waitUntil = 0;
    }
    const ScreenArea before = tracker.known;
    // The window manager has had its time, and whatever it answers it has answered.
    const bool overdue = now >= NextObservation(tracker);
    const ScreenArea actual = overdue ? ContentOnServer() : ActualContent();
    GeometryChange change = ObserveGeometry(tracker, actual, now);
    change.moved = change.moved || isFrameMoved;
    if (change.resized) {
        const ScreenArea news = tracker.known;
        tracker.known = before;  // the live resize starts before the size has changed
        StartLiveResize();
        tracker.known = news;
    }
    if (overdue && tracker.known == actual) {
        MakeSdlBelieve(actual);
    }
    TellChange(change);
}

}  // namespace

bool IsInLiveResize() {
    return liveResize;
}

namespace {

// A window that is hidden or minimised is not looked at; its coming back is reported.
u64 NextLook() {
    if (!shown || miniaturized) {
        return kNever;
    }
    return std::min(NextObservation(tracker), NextFrameLook(frames));
}

}  // namespace

void SettleWindow() {
    if (gameWindow == nullptr) {
        return;
    }
    const u64 now = Nanoseconds();
    if (owed && now >= owedFrom) {
        GiveWhatIsOwed();
    }
    reported = X11BordersMayDiffer() || reported;
    if (!owed && (reported || now >= NextLook())) {
        LookAtWindow(now);
    }
    if (gameWindow != nullptr) {
        WatchLiveResize(now);
    }
}

u64 NextSettling() {
    if (gameWindow == nullptr) {
        return kNever;
    }
    u64 next = NextLook();
    if (owed) {
        next = std::min(next, owedFrom);
    }
    if (liveResize) {
        next = std::min(next, nextLiveLook);
    }
    return next;
}

namespace {

void SetMiniaturized(bool now) {
    if (miniaturized == now) {
        return;  // SDL reports some of them twice
    }
    miniaturized = now;
    if (now) {
        Tell(desktopEvents.windowDidMiniaturize);
    } else {
        RequestWholeRedraw();
        Tell(desktopEvents.windowDidDeminiaturize);
    }
}

}  // namespace

void HandleWindowEvent(const SDL_WindowEvent& event) {
    switch (event.event) {
        case SDL_WINDOWEVENT_EXPOSED: RequestWholeRedraw(); break;
        case SDL_WINDOWEVENT_SIZE_CHANGED:
            RequestWholeRedraw();
            reported = true;
            break;
        case SDL_WINDOWEVENT_SHOWN:
        case SDL_WINDOWEVENT_MOVED:
        case SDL_WINDOWEVENT_RESIZED:
        case SDL_WINDOWEVENT_DISPLAY_CHANGED: reported = true; break;
        case SDL_WINDOWEVENT_MAXIMIZED:
        case SDL_WINDOWEVENT_RESTORED:
            reported = true;
            SetMiniaturized(false);
            break;
        case SDL_WINDOWEVENT_MINIMIZED: SetMiniaturized(true); break;
        case SDL_WINDOWEVENT_FOCUS_GAINED:
            // Not at start-up: a Wayland desktop without a keyboard does not survive it.
            if (SDL_IsTextInputActive() != SDL_TRUE) {
                SDL_StartTextInput();
            }
            Tell(desktopEvents.willBecomeActive);
            break;
        case SDL_WINDOWEVENT_FOCUS_LOST:
            ReleaseHeldKeys();
            ReleaseHeldButtons();
            ReleasePads();
            Tell(desktopEvents.didResignActive);
            break;
        case SDL_WINDOWEVENT_CLOSE: closeRequested = true; break;
        default: break;
    }
}

void DestroyGameWindow() {
    if (gameWindow == nullptr) {
        return;
    }
    StopView();
    SDL_DestroyWindow(gameWindow);
    ForgetGameWindow();
}

void ForgetGameWindow() {
    gameWindow = nullptr;
    frames = {};
    owed = reported = shown = miniaturized = liveResize = fullScreen = onWholeScreen = false;
}

}  // namespace moxi
