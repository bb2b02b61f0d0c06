#include "desktop/sdl/window/native_display.h"

#include <SDL_syswm.h>
#include <X11/Xatom.h>
#include <X11/Xproto.h>
#include <dlfcn.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <string_view>

#include "base/log.h"

namespace moxi {

// A function of a library that SDL may have loaded; null when it has not, and then the desktop has
// no use for it.
namespace {

template <class F>
F* Loaded(const char* library, const char* name) {
    void* const handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    return handle == nullptr ? nullptr : reinterpret_cast<F*>(dlsym(handle, name));
}

bool WindowInfo(SDL_Window* window, SDL_SYSWM_TYPE type, SDL_SysWMinfo& info) {
    SDL_VERSION(&info.version);
    return window != nullptr && SDL_GetWindowWMInfo(window, &info) == SDL_TRUE &&
           info.subsystem == type;
}

}  // namespace

#ifdef SDL_VIDEO_DRIVER_X11

constexpr const char* kX11 = "libX11.so.6";

namespace {

constinit DisplayLossHandlers handlers = {};
constinit Display* watchedDisplay = nullptr;
constinit XID watchedWindow = 0;

// The library's own handler ends the process. A request that fails is no reason to.
int OnError(Display*, XErrorEvent* event) {
    const bool isWindows = event->error_code == BadWindow || event->error_code == BadDrawable;
    if (isWindows && event->resourceid == watchedWindow) {
        handlers.windowLost();
        return 0;
    }
    if (isWindows && event->request_code == X_SendEvent) {
        return 0;  // a wake-up that came late
    }
    static bool told = false;
    if (!told) {
        SystemLog(FormatText("X error %d of request %d", event->error_code, event->request_code));
    }
    told = true;
    return 0;
}

int OnConnectionError(Display*) {
    handlers.connectionLost();
    return 0;
}

// When this returns, calls of the library do nothing from then on.
void OnConnectionEnd(Display*, void*) {}

// Where the library is too old to go on, the process has to end in the handler.
int OnFinalConnectionError(Display*) {
    SystemLog("the connection to the display is lost");
    _exit(1);
}

}  // namespace

void TakeX11Errors() {
    void* const library = dlopen(kX11, RTLD_LAZY);
    if (library == nullptr) {
        return;
    }
    const auto setError =
        reinterpret_cast<decltype(&XSetErrorHandler)>(dlsym(library, "XSetErrorHandler"));
    if (setError != nullptr) {
        setError(OnError);
    }
}

void HandleX11Errors(SDL_Window* window, const DisplayLossHandlers& lossHandlers) {
    SDL_SysWMinfo info;
    if (!WindowInfo(window, SDL_SYSWM_X11, info)) {
        return;
    }
    handlers = lossHandlers;
    watchedDisplay = info.info.x11.display;
    watchedWindow = info.info.x11.window;
    using SetExitHandler = void(Display*, void (*)(Display*, void*), void*);
    auto* const setIoError = Loaded<decltype(XSetIOErrorHandler)>(kX11, "XSetIOErrorHandler");
    auto* const setExit = Loaded<SetExitHandler>(kX11, "XSetIOErrorExitHandler");
    if (setIoError != nullptr) {
        setIoError(setExit != nullptr ? OnConnectionError : OnFinalConnectionError);
    }
    if (setExit != nullptr) {
        setExit(info.info.x11.display, OnConnectionEnd, nullptr);
    }
}

ServerWait WaitForX11(u64 nanoseconds) {
    constexpr u64 kNanosecondsPerSecond = 1'000'000'000;
    static auto* const queued = Loaded<decltype(XEventsQueued)>(kX11, "XEventsQueued");
    if (watchedDisplay == nullptr || queued == nullptr) {
        return ServerWait::Unknown;
    }
    // An answer that was waited for may have brought events along.
    if (queued(watchedDisplay, QueuedAlready) > 0) {
        return ServerWait::Spoken;
    }
    pollfd server = {ConnectionNumber(watchedDisplay), POLLIN, 0};
    const timespec time = {static_cast<time_t>(nanoseconds / kNanosecondsPerSecond),
                           static_cast<long>(nanoseconds % kNanosecondsPerSecond)};
    return ppoll(&server, 1, &time, nullptr) > 0 ? ServerWait::Spoken : ServerWait::Silent;
}

bool AskX11ForWindow(SDL_Window* window, SDL_Rect& content) {
    SDL_SysWMinfo info;
    if (!WindowInfo(window, SDL_SYSWM_X11, info)) {
        return false;
    }
    static auto* const ask = Loaded<decltype(XGetWindowAttributes)>(kX11, "XGetWindowAttributes");
    static auto* const translate =
        Loaded<decltype(XTranslateCoordinates)>(kX11, "XTranslateCoordinates");
    if (ask == nullptr || translate == nullptr) {
        return false;
    }
    Display* display = info.info.x11.display;
    const XID xWindow = info.info.x11.window;
    XWindowAttributes attributes;
    if (ask(display, xWindow, &attributes) == 0) {
        return false;
    }
    XID child = 0;
    if (translate(display, xWindow, attributes.root, 0, 0, &content.x, &content.y, &child) == 0) {
        return false;
    }
    content.w = attributes.width;
    content.h = attributes.height;
    return true;
}

unsigned long XWindow(SDL_Window* window) {
    SDL_SysWMinfo info;
    return WindowInfo(window, SDL_SYSWM_X11, info) ? info.info.x11.window : 0;
}

void NameX11Window(SDL_Window* window, const char* utf8) {
    SDL_SysWMinfo info;
    if (!WindowInfo(window, SDL_SYSWM_X11, info)) {
        return;
    }
    static auto* const change = Loaded<decltype(XChangeProperty)>(kX11, "XChangeProperty");
    static auto* const intern = Loaded<decltype(XInternAtom)>(kX11, "XInternAtom");
    if (change == nullptr || intern == nullptr) {
        return;
    }
    const std::string_view name = utf8;
    const bool isAscii =
        std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c < 0x7F; });
    Display* display = info.info.x11.display;
    const Atom type = isAscii ? XA_STRING : intern(display, "UTF8_STRING", False);
    change(display, info.info.x11.window, XA_WM_NAME, type, 8, PropModeReplace,
           reinterpret_cast<const unsigned char*>(utf8), static_cast<int>(name.size()));
}

#else

void TakeX11Errors() {}
void HandleX11Errors(SDL_Window*, const DisplayLossHandlers&) {}
ServerWait WaitForX11(u64) {
    return ServerWait::Unknown;
}
bool AskX11ForWindow(SDL_Window*, SDL_Rect&) {
    return false;
}
unsigned long XWindow(SDL_Window*) {
    return 0;
}
void NameX11Window(SDL_Window*, const char*) {}

#endif

#ifdef SDL_VIDEO_DRIVER_WAYLAND

namespace {

constinit wl_display* watchedConnection = nullptr;

}  // namespace

void WatchWaylandConnection(SDL_Window* window) {
    SDL_SysWMinfo info;
    if (WindowInfo(window, SDL_SYSWM_WAYLAND, info)) {
        watchedConnection = info.info.wl.display;
    }
}

bool WaylandConnectionIsBroken() {
    using GetError = int(wl_display*);
    static auto* const error = Loaded<GetError>("libwayland-client.so.0", "wl_display_get_error");
    return watchedConnection != nullptr && error != nullptr && error(watchedConnection) != 0;
}

#else

void WatchWaylandConnection(SDL_Window*) {}
bool WaylandConnectionIsBroken() {
    return false;
}

#endif

}  // namespace moxi
