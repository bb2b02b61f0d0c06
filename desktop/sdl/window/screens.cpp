#include "desktop/sdl/window/screens.h"

#include <SDL_video.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "desktop/events.h"
#include "desktop/sdl/loop/clock.h"
#include "desktop/sdl/loop/display_loss.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/points.h"
#include "desktop/sdl/window/x11_monitors.h"
#include "desktop/sdl/window/x11_side.h"

namespace moxi {

constexpr u64 kLookNanoseconds = 500'000'000;

namespace {

constinit u64 nextLook = 0;
constinit std::vector<ScreenArea> knownScreens;  // as the application was told
// As the X server told first and last. Once they differ the server knows better than SDL.
constinit std::vector<ScreenArea> firstMonitors;
constinit std::vector<ScreenArea> monitors;

ScreenArea FromRect(const SDL_Rect& rect) {
    return {rect.x, rect.y, rect.w, rect.h};
}

std::vector<ScreenArea> ScreenAreas() {
    if (monitors != firstMonitors) {
        return monitors;
    }
    std::vector<ScreenArea> areas;
    for (int i = 0; i < SDL_GetNumVideoDisplays(); ++i) {
        SDL_Rect bounds;
        if (SDL_GetDisplayBounds(i, &bounds) == 0) {
            areas.push_back(FromRect(bounds));
        }
    }
    // No display at all just now: what was there will come back.
    return areas.empty() ? knownScreens : areas;
}

}  // namespace

ScreenArea MainScreenArea() {
    const std::vector<ScreenArea> areas = ScreenAreas();
    return areas.empty() ? ScreenArea{0, 0, 1920, 1080} : areas.front();
}

ScreenArea ScreenAreaOf(SDL_Window* window) {
    SDL_Rect bounds;
    const int index = window != nullptr ? SDL_GetWindowDisplayIndex(window) : -1;
    if (index >= 0 && SDL_GetDisplayBounds(index, &bounds) == 0) {
        return FromRect(bounds);
    }
    return MainScreenArea();
}

std::vector<Screen> Screens() {
    const ScreenArea mainScreen = MainScreenArea();
    std::vector<Screen> screens;
    int index = 0;
    for (const ScreenArea& area : ScreenAreas()) {
        SDL_Rect usable;
        const bool known =
            monitors == firstMonitors && SDL_GetDisplayUsableBounds(index++, &usable) == 0;
        screens.push_back({ScreenFrameOf(area, mainScreen),
                           ScreenFrameOf(known ? FromRect(usable) : area, mainScreen)});
    }
    if (screens.empty()) {
        const WindowFrame frame = ScreenFrameOf(mainScreen, mainScreen);
        screens.push_back({frame, frame});
    }
    return screens;
}

void StartScreens() {
    firstMonitors.clear();
    monitors.clear();
    knownScreens.clear();
    knownScreens = ScreenAreas();
    nextLook = 0;
}

void HandleDisplayEvent() {
    nextLook = 0;
}

void TellScreenChanges() {
    const u64 now = Nanoseconds();
    if (now < nextLook) {
        return;
    }
    nextLook = now + kLookNanoseconds;
    LookWhetherWindowExists();
    std::vector<ScreenArea> seen;
    for (const Monitor& monitor : X11Monitors(gameWindow)) {
        seen.push_back({monitor.x, monitor.y, monitor.width, monitor.height});
    }
    if (!seen.empty()) {
        if (firstMonitors.empty()) {
            firstMonitors = seen;
        }
        monitors = std::move(seen);
    }
    std::vector<ScreenArea> areas = ScreenAreas();
    if (areas == knownScreens) {
        return;
    }
    knownScreens = std::move(areas);
    Tell(desktopEvents.screensChanged);
}

namespace {

bool DesktopEnlarges() {
    return std::string_view(SDL_GetCurrentVideoDriver()) == "wayland";
}

}  // namespace

i32 DesktopDensity(const ScreenArea& mainScreen) {
    if (DesktopEnlarges()) {
        return 1;
    }
    return DensityOf(X11Resource("Xft.dpi").c_str(), std::getenv("GDK_SCALE"), mainScreen);
}

double BoxDensity(const ScreenArea& mainScreen) {
    if (DesktopEnlarges()) {
        return 1;
    }
    return BoxDensityOf(X11Resource("Xft.dpi").c_str(), std::getenv("GDK_SCALE"), mainScreen);
}

}  // namespace moxi
