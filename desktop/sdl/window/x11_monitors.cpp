#include "desktop/sdl/window/x11_monitors.h"

#include <SDL_loadso.h>
#include <SDL_syswm.h>

#include <algorithm>

#ifdef SDL_VIDEO_DRIVER_X11
#include <X11/extensions/Xrandr.h>
#endif

namespace moxi {

#ifdef SDL_VIDEO_DRIVER_X11

namespace {
// Loaded as SDL loads it, so that a desktop without X needs no X libraries.
struct RandrFunctions {
    decltype(&XRRQueryVersion) queryVersion = nullptr;
    decltype(&XRRGetMonitors) getMonitors = nullptr;
    decltype(&XRRFreeMonitors) freeMonitors = nullptr;
};
RandrFunctions LoadRandr() {
    RandrFunctions functions;
    void* library = SDL_LoadObject("libXrandr.so.2");
    if (library == nullptr) {
        return functions;
    }
    functions.queryVersion = reinterpret_cast<decltype(functions.queryVersion)>(
        SDL_LoadFunction(library, "XRRQueryVersion"));
    functions.getMonitors = reinterpret_cast<decltype(functions.getMonitors)>(
        SDL_LoadFunction(library, "XRRGetMonitors"));
    functions.freeMonitors = reinterpret_cast<decltype(functions.freeMonitors)>(
        SDL_LoadFunction(library, "XRRFreeMonitors"));
    return functions;
}

// Monitors came with version 1.5; an older server would end the program for asking.
bool KnowsMonitors(const RandrFunctions& randr, Display* display) {
    int major = 0;
    int minor = 0;
    return randr.queryVersion != nullptr && randr.getMonitors != nullptr &&
           randr.freeMonitors != nullptr && randr.queryVersion(display, &major, &minor) != 0 &&
           (major > 1 || (major == 1 && minor >= 5));
}

}  // namespace

std::vector<Monitor> X11Monitors(SDL_Window* window) {
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    if (window == nullptr || SDL_GetWindowWMInfo(window, &info) != SDL_TRUE ||
        info.subsystem != SDL_SYSWM_X11) {
        return {};
    }
    static const RandrFunctions randr = LoadRandr();
    Display* display = info.info.x11.display;
    static const bool known = KnowsMonitors(randr, display);
    if (!known) {
        return {};
    }
    int count = 0;
    XRRMonitorInfo* monitors = randr.getMonitors(display, DefaultRootWindow(display), True, &count);
    std::vector<Monitor> found;
    for (int i = 0; i < count; ++i) {
        const XRRMonitorInfo& monitor = monitors[i];
        const Monitor area = {monitor.x, monitor.y, monitor.width, monitor.height};
        found.insert(monitor.primary != 0 ? found.begin() : found.end(), area);
    }
    if (monitors != nullptr) {
        randr.freeMonitors(monitors);
    }
    return found;
}

#else

std::vector<Monitor> X11Monitors(SDL_Window*) {
    return {};
}

#endif

}  // namespace moxi
