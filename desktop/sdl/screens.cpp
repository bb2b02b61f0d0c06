#include "desktop/sdl/screens.h"

#include <SDL_video.h>

#include "desktop/events.h"
#include "desktop/sdl/gate.h"

static constinit bool changeReported = false;
static constinit std::vector<Area> knownScreens;

static Area FromRect(const SDL_Rect& rect) { return {rect.x, rect.y, rect.w, rect.h}; }

static std::vector<Area> ScreenAreas() {
    std::vector<Area> areas;
    for (int i = 0; i < SDL_GetNumVideoDisplays(); ++i) {
        SDL_Rect bounds;
        if (SDL_GetDisplayBounds(i, &bounds) == 0) areas.push_back(FromRect(bounds));
    }
    if (areas.empty()) areas.push_back({0, 0, 1920, 1080});  // all displays are off just now
    return areas;
}

Area MainScreenArea() { return ScreenAreas().front(); }

Area ScreenAreaOf(SDL_Window* window) {
    SDL_Rect bounds;
    const int index = window != nullptr ? SDL_GetWindowDisplayIndex(window) : -1;
    if (index >= 0 && SDL_GetDisplayBounds(index, &bounds) == 0) return FromRect(bounds);
    return MainScreenArea();
}

std::vector<Screen> Screens() {
    const std::vector<Area> areas = ScreenAreas();
    std::vector<Screen> screens;
    for (std::size_t i = 0; i < areas.size(); ++i) {
        SDL_Rect usable;
        const bool known = SDL_GetDisplayUsableBounds(static_cast<int>(i), &usable) == 0;
        screens.push_back({FromArea(areas[i], areas[0]),
                           FromArea(known ? FromRect(usable) : areas[i], areas[0])});
    }
    return screens;
}

void StartScreens() {
    changeReported = false;
    knownScreens = ScreenAreas();
}

void HandleDisplayEvent(const SDL_DisplayEvent&) { changeReported = true; }

void TellScreenChanges() {
    if (!changeReported) return;
    changeReported = false;
    std::vector<Area> areas = ScreenAreas();
    if (areas == knownScreens) return;
    knownScreens = std::move(areas);
    Tell(desktopEvents.screensChanged);
}
