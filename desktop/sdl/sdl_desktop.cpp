#include "desktop/sdl/sdl_desktop.h"

#include <SDL.h>
#include <langinfo.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "desktop/common/date_time.h"
#include "desktop/desktop.h"
#include "desktop/quit_request.h"
#include "desktop/sdl/input/keyboard.h"
#include "desktop/sdl/input/layouts.h"
#include "desktop/sdl/input/mouse.h"
#include "desktop/sdl/input/pad_helper.h"
#include "desktop/sdl/input/pads.h"
#include "desktop/sdl/loop/clock.h"
#include "desktop/sdl/loop/display_loss.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/loop/run_loop.h"
#include "desktop/sdl/loop/watchdog.h"
#include "desktop/sdl/services.h"
#include "desktop/sdl/url_opener.h"
#include "desktop/sdl/window/alert.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/native_display.h"
#include "desktop/sdl/window/screens.h"
#include "desktop/sdl/window/view.h"
#include "desktop/sdl/window/wayland_side.h"
#include "desktop/sdl/window/window.h"
#include "desktop/sdl/window/x11_side.h"

namespace moxi {

namespace {

void SetHints() {
    // The window's class has to be that of the desktop entry.
    setenv("SDL_VIDEO_X11_WMCLASS", "moxi", 1);
    setenv("SDL_VIDEO_WAYLAND_WMCLASS", "moxi", 1);
    SDL_SetHint(SDL_HINT_APP_NAME, "MOXI");
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_QUIT_ON_LAST_WINDOW_CLOSE, "0");
    SDL_SetHint(SDL_HINT_VIDEO_MINIMIZE_ON_FOCUS_LOSS, "0");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
    SDL_SetHint(SDL_HINT_IME_SHOW_UI, "1");
    SDL_SetHint(SDL_HINT_RENDER_VSYNC, "0");
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "nearest");
}

// Window titles beyond ASCII reach X11 in the encoding of the locale, so it has to be one that has
// every character. Numbers and sorting stay as they are in C.
void UseUnicodeLocale() {
    const auto isUnicode = [] { return std::string_view(nl_langinfo(CODESET)) == "UTF-8"; };
    if (std::setlocale(LC_CTYPE, "") != nullptr && isUnicode()) {
        return;
    }
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) {
        std::setlocale(LC_CTYPE, "C");
    }
}

// SDL falls back silently to drivers that show nothing to anybody.
bool IsRealDisplay(std::string_view driver) {
    return driver != "offscreen" && driver != "dummy" && driver != "evdev";
}

// SDL 2.26 crashes on a Wayland desktop without any seat, so where it would come to that the start
// is tried in another process first.
bool SurvivesStart() {
    const auto isSet = [](const char* name) {
        const char* value = std::getenv(name);
        return value != nullptr && value[0] != '\0';
    };
    if (isSet("DISPLAY") || !isSet("WAYLAND_DISPLAY")) {
        return true;
    }
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGSEGV, SIG_DFL);
        // What SDL has to say it says again at the real start.
        if (std::freopen("/dev/null", "w", stderr) == nullptr) {
            _exit(1);
        }
        _exit(SDL_Init(SDL_INIT_VIDEO) == 0 ? 0 : 1);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        return true;
    }
    return !WIFSIGNALED(status);
}

void ShutDown() {
    {
        // Not inside: it may be waiting to enter.
        const OutsideDesktop outside;
        StopWatchdog();
    }
    const InsideDesktop inside;
    StopTimers();
    StopUrlOpener();
    StopPadHelper();
    LetLossEndProcess();
    // SDL waits for ever for what the server says of a window that is lost.
    if (DisplayLoss() != Loss::None) {
        return;
    }
    DestroyGameWindow();
    FreeCursors();
    StopPads();
    StopX11Side();
    StopWaylandSide();
    SDL_Quit();
}

// The watchdog begins with the window that it is to keep alive. The launch goes on after that, and
// may hang in the module already; and SDL waits for a server that goes away while it shows the
// window for ever.
void ShowWindow() {
    if (gameWindow != nullptr) {
        StartWatchdog();
    }
    ShowGameWindow();
}

std::vector<Screen> ScreensNow() {
    const InsideDesktop inside;
    return Screens();
}

}  // namespace

bool StartSdlDesktop(std::string* error) {
    SetHints();
    UseUnicodeLocale();
    if (!SurvivesStart()) {
        *error = "no display: the Wayland desktop has neither keyboard nor pointer";
        return false;
    }
    // Without a sandbox nothing has started them.
    StartPadHelper([] {});
    StartUrlOpener([] {});
    TakeX11Errors();
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        *error = std::string("no display: ") + SDL_GetError();
        StopUrlOpener();
        return false;
    }
    const char* driver = SDL_GetCurrentVideoDriver();
    if (driver == nullptr || !IsRealDisplay(driver)) {
        *error = "no display: neither an X11 nor a Wayland desktop can be reached";
        SDL_Quit();
        StopUrlOpener();
        return false;
    }
    // On X11 a window's surface goes to the server as it is, and only where it has changed.
    if (std::string_view(driver) == "x11") {
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        StartX11Side();
    }
    BindGateToMainThread();
    ResetSdlKeyboard();
    ResetSdlMouse();
    StartPads();
    StartScreens();
    StartRunLoop();

    desktop = {
        .runEventLoop = RunEventLoop,
        .terminate = RequestTerminate,
        .endIsForced = EndIsForced,
        .shutDown = ShutDown,
        .createWindow = CreateGameWindow,
        .setWindowTitle = SetGameWindowTitle,
        .setWindowIcon = SetGameWindowIcon,
        .showWindow = ShowWindow,
        .closeWindow = [] { closeRequested = true; },
        .minimizeWindow = MinimizeGameWindow,
        .windowFrame = GameWindowFrame,
        .setWindowFrame = SetGameWindowFrame,
        .viewSize = CurrentViewSize,
        .isFullScreen = IsFullScreen,
        .toggleFullScreen = ToggleFullScreen,
        .setViewScale = SetViewScale,
        .fittedScreen = FittedScreen,
        .setFittedScreen = SetFittedScreen,
        .requestRedraw = RequestRedraw,
        .presentView = PresentView,
        .windowPixels = WindowPixels,
        .presentSurface = PresentSurface,
        .hideSurface = HideSurface,
        .screens = ScreensNow,
        .nanoseconds = GameNanoseconds,
        .clockWasRead = [] {},
        .localDateTime = [] { return DateOf(LocalParts()); },
        .fileTime = [](const timespec& changed) { return changed.tv_sec; },
        .startTimer = StartTimer,
        .startSurfaceTimer = StartSurfaceTimer,
        .stopTimer = StopTimer,
        .holdGame = HoldGame,
        .sleep = SleepWithRedraw,
        .isMainThread = IsMainThread,
        .queueOnMain = QueueOnMain,
        .latinText =
            [](u8 code, const std::string& text) {
                const InsideDesktop inside;
                return LatinText(code, text);
            },
        .clipboardText = ClipboardText,
        .setClipboardText = SetClipboardText,
        .movePointer = MovePointer,
        .setHandCursor = SetHandCursor,
        .openUrl = OpenUrl,
        .askBeforeUrls = AskBeforeUrls,
        .alert = ShowAlert,
        .alertOrEnd = ShowAlertOrEnd,
    };
    // From here on the application runs, and the desktop only when it is called.
    LeaveGate();
    return true;
}

}  // namespace moxi
