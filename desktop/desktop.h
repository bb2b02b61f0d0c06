#pragma once
// The desktop as MOXI sees it: one record of functions, filled by exactly one implementation
// (desktop/sdl or desktop/headless) before the application starts. The rooms that use it are the
// same code on every desktop.
//
// Coordinates: windows and screens have their origin at the bottom-left of the main screen, y
// upwards, in points (one point is one pixel). View rectangles have their origin at the view's
// bottom-left corner. Pointer positions have their origin at the view's top-left corner.
//
// All functions are called on the main thread unless a comment says otherwise.

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct ViewRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

struct WindowFrame {
    i32 x = 0;
    i32 y = 0;
    i32 width = 0;
    i32 height = 0;

    bool operator==(const WindowFrame&) const = default;
};

struct ViewSize {
    i32 width = 0;
    i32 height = 0;

    bool operator==(const ViewSize&) const = default;
};

struct Screen {
    WindowFrame frame;         // the whole screen
    WindowFrame visibleFrame;  // without panels and docks
};

struct DateTime {
    u32 year = 0;
    u32 month = 0;   // 1..12
    u32 day = 0;     // 1..31
    u32 hour = 0;    // 0..23
    u32 minute = 0;  // 0..59
    u32 second = 0;  // 0..60
};

// What the view shows: rows top first, 4 bytes a pixel in the order R, G, B, unused.
struct ViewPixels {
    const u8* pixels = nullptr;
    i32 width = 0;
    i32 height = 0;
    // A second copy, from which these pixels were copied just now, so that they are likely still in
    // the processor's cache; null when there is none. Only the rectangle that is presented is the
    // same as in `pixels`.
    const u8* nearer = nullptr;
    i32 nearerStride = 0;  // bytes from row to row
};

// By how much the view is enlarged on the screen. The application always works with the view's own
// size.
struct ViewScale {
    enum class Kind : u8 {
        Automatic,     // by a factor that suits the desktop's density
        Steps,         // by the factor `steps`
        Fit,           // to the whole screen by the largest whole factor, with bars around the view
        FitFractions,  // to the whole screen by any factor: the view reaches the screen's edge
    };
    Kind kind = Kind::Automatic;
    i32 steps = 1;        // for Steps: 1 or more
    bool smooth = false;  // pixels are mixed where they meet; else each stays a square

    bool operator==(const ViewScale&) const = default;
};

using TimerId = u32;  // 0 means no timer

struct Desktop {
    // --- Application

    // Delivers desktopEvents.didFinishLaunching, then events, queued work, redraws and timers
    // until the application has terminated.
    void (*runEventLoop)();
    // Asks the application to quit, as the menu's quit item does: desktopEvents.shouldTerminate
    // decides; the event loop returns some time after it agreed.
    void (*terminate)();
    // Asked by work that never ends by itself: the user has chosen to end the program without an
    // answer of the application, which now has to end the process itself. True only once.
    bool (*endIsForced)();
    // Releases windows, devices and devices' threads; called once, just before the process ends.
    void (*shutDown)();

    // --- The one window and its view

    // Makes the window, not yet shown, with this content rectangle.
    void (*createWindow)(WindowFrame content);
    void (*setWindowTitle)(const char* utf8);
    // The icon of the window: R, G, B, A, rows top first. Null where windows have none.
    void (*setWindowIcon)(const u8* pixels, u32 width, u32 height);
    void (*showWindow)();
    void (*closeWindow)();  // as the close button: desktopEvents.windowShouldClose decides
    void (*minimizeWindow)();
    // The window's frame, with its decorations where the desktop tells how large they are.
    WindowFrame (*windowFrame)();
    // Moves and sizes the window. In full screen it sets the frame that the window has afterwards.
    void (*setWindowFrame)(WindowFrame frame);
    ViewSize (*viewSize)();
    bool (*isFullScreen)();
    void (*toggleFullScreen)();
    // May be called before there is a window. `screens` goes by the scale that was set before the
    // window was made, whatever is set later.
    void (*setViewScale)(const ViewScale& scale);
    // When the view's scale is Fit or FitFractions: whether the window fills the whole screen just
    // now. Nothing with any other scale.
    std::optional<bool> (*fittedScreen)();
    // Lets the window fill the whole screen, or makes it a window again, as the user wishes. The
    // application is not told. Does nothing with a scale that is neither Fit nor FitFractions.
    void (*setFittedScreen)(bool whole);
    // Asks for desktopEvents.drawRect; requests join into one rectangle until it is served.
    void (*requestRedraw)(ViewRect rect);
    // The pixels of `rect` have been drawn into the view's buffer and are to be shown.
    void (*presentView)(ViewPixels view, ViewRect rect);

    // --- The host's own surfaces, in the view's place

    // What such a surface fills: the whole content of the window, in the screen's own pixels. While
    // one is shown, pointer positions in events are its pixels.
    ViewSize (*windowPixels)();
    // Shows the surface: rows top first, 4 bytes a pixel in the order R, G, B, unused. What
    // presentView brings meanwhile is not seen.
    void (*presentSurface)(const u8* pixels, ViewSize size);
    // Shows the view again, and asks for a redraw of all of it.
    void (*hideSurface)();

    // --- Screens

    std::vector<Screen> (*screens)();  // the main screen first; never empty

    // --- Time

    // Monotonic time in nanoseconds since an arbitrary start.
    u64 (*nanoseconds)();
    // Called each time the module has read the clock. Virtual time then moves on a little, so that
    // a module that waits for the clock in a loop does not wait for ever.
    void (*clockWasRead)();
    DateTime (*localDateTime)();
    // Turns the time at which a file was changed on the disk into the time that the module is told.
    // They are the same, except in a run with a date of its own: files that were changed during the
    // run then have the run's own time.
    std::time_t (*fileTime)(const timespec& changed);
    // Calls `handler` on the main thread every `microseconds` (at least 1), first after one
    // interval. Missed firings are skipped and the phase is kept.
    TimerId (*startTimer)(u64 microseconds, void (*handler)());
    // As startTimer, but for the host's own surfaces: such a timer goes on while the game is held.
    TimerId (*startSurfaceTimer)(u64 microseconds, void (*handler)());
    void (*stopTimer)(TimerId timer);  // of either kind; 0 is ignored
    // While the game is held no timer of its own fires and `nanoseconds` stands still. When it goes
    // on, both do so from where they were.
    void (*holdGame)(bool held);
    // Halts the module for `milliseconds`; waiting redraws may be shown meanwhile.
    void (*sleep)(u64 milliseconds);

    // --- Threads

    bool (*isMainThread)();  // any thread
    // Any thread. Runs `work` later on the main thread, in the order of the calls. Work that is
    // waiting already is not queued a second time.
    void (*queueOnMain)(void (*work)());

    // --- Services

    // The text by which the menu finds the item of a key. `code` is the key's positional virtual
    // key code, `text` what it typed. A Latin text is returned as it is; else the result is the
    // character that the key has without Shift in the user's first Latin layout, or on a US
    // keyboard when there is no such layout.
    std::string (*latinText)(u8 code, const std::string& text);
    std::optional<std::string> (*clipboardText)();  // UTF-8; nothing when there is no text
    void (*setClipboardText)(const std::string& utf8);
    // Moves the pointer that the user sees to this point of the view, if the desktop allows it. No
    // event follows.
    void (*movePointer)(i32 x, i32 y);
    void (*setHandCursor)(bool hand);  // the pointing hand, or the arrow
    void (*openUrl)(const std::string& utf8);
    // Whether the user is asked before the first address of a run is opened.
    void (*askBeforeUrls)(bool ask);
    // Shows a modal box with a warning sign, the text and the button "Sigh"; returns when it is
    // dismissed. The text has been written to standard error already.
    void (*alert)(const std::string& utf8);
    // As alert, with a second button, "End", for a module that may show one text after another
    // without end. True when the user wants the program to end: by that button, or by a request to
    // close or to quit that waits for its answer.
    bool (*alertOrEnd)(const std::string& utf8);
};

// Harmless defaults: a desktop without a screen, on which nothing happens. Tests replace single
// functions.
inline constinit Desktop desktop = {
    .runEventLoop = [] {},
    .terminate = [] {},
    .endIsForced = [] { return false; },
    .shutDown = [] {},
    .createWindow = [](WindowFrame) {},
    .setWindowTitle = [](const char*) {},
    .setWindowIcon = nullptr,
    .showWindow = [] {},
    .closeWindow = [] {},
    .minimizeWindow = [] {},
    .windowFrame = [] { return WindowFrame{}; },
    .setWindowFrame = [](WindowFrame) {},
    .viewSize = [] { return ViewSize{}; },
    .isFullScreen = [] { return false; },
    .toggleFullScreen = [] {},
    .setViewScale = [](const ViewScale&) {},
    .fittedScreen = [] { return std::optional<bool>{}; },
    .setFittedScreen = [](bool) {},
    .requestRedraw = [](ViewRect) {},
    .presentView = [](ViewPixels, ViewRect) {},
    .windowPixels = [] { return desktop.viewSize(); },
    .presentSurface = [](const u8*, ViewSize) {},
    .hideSurface = [] {},
    .screens = [] { return std::vector<Screen>{Screen{}}; },
    .nanoseconds = [] { return u64{0}; },
    .clockWasRead = [] {},
    .localDateTime = [] { return DateTime{}; },
    .fileTime = [](const timespec& changed) { return changed.tv_sec; },
    .startTimer = [](u64, void (*)()) { return TimerId{0}; },
    .startSurfaceTimer = [](u64, void (*)()) { return TimerId{0}; },
    .stopTimer = [](TimerId) {},
    .holdGame = [](bool) {},
    .sleep = [](u64) {},
    .isMainThread = [] { return true; },
    .queueOnMain = [](void (*work)()) { work(); },
    .latinText = [](u8, const std::string& text) { return text; },
    .clipboardText = [] { return std::optional<std::string>{}; },
    .setClipboardText = [](const std::string&) {},
    .movePointer = [](i32, i32) {},
    .setHandCursor = [](bool) {},
    .openUrl = [](const std::string&) {},
    .askBeforeUrls = [](bool) {},
    .alert = [](const std::string&) {},
    .alertOrEnd =
        [](const std::string& utf8) {
            desktop.alert(utf8);
            return false;
        },
};

}  // namespace moxi
