#include "desktop/sdl/window/game_window.h"

#include <glib.h>

#include <string>

#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/window/native_display.h"

namespace moxi {

constinit SDL_Window* gameWindow = nullptr;
namespace {

std::string title;

}  // namespace

bool IsGameWindow(u32 sdlWindowId) {
    return gameWindow != nullptr && SDL_GetWindowID(gameWindow) == sdlWindowId;
}

const char* GameWindowTitle() {
    return title.c_str();
}

void SetGameWindowTitle(const char* utf8) {
    const InsideDesktop inside;
    // Bytes that are no characters would keep the whole title from being set.
    char* valid = g_utf8_make_valid(utf8, -1);
    title = valid;
    g_free(valid);
    if (gameWindow == nullptr) {
        return;
    }
    SDL_SetWindowTitle(gameWindow, title.c_str());
    NameX11Window(gameWindow, title.c_str());
}

void SetGameWindowIcon(const u8* pixels, u32 width, u32 height) {
    const InsideDesktop inside;
    if (gameWindow == nullptr) {
        return;
    }
    // SDL only reads the pixels.
    SDL_Surface* const icon = SDL_CreateRGBSurfaceWithFormatFrom(
        const_cast<u8*>(pixels), static_cast<int>(width), static_cast<int>(height), 32,
        static_cast<int>(width) * 4, SDL_PIXELFORMAT_RGBA32);
    if (icon == nullptr) {
        return;
    }
    SDL_SetWindowIcon(gameWindow, icon);
    SDL_FreeSurface(icon);
}

}  // namespace moxi
