#include "desktop/sdl/view.h"

#include <SDL_render.h>

#include <algorithm>
#include <vector>

#include "desktop/events.h"
#include "desktop/sdl/gate.h"
#include "desktop/sdl/geometry.h"
#include "desktop/sdl/window.h"

static constinit SDL_Renderer* renderer = nullptr;
static constinit SDL_Texture* texture = nullptr;  // the whole view
static constinit ViewSize textureSize;
static constinit ViewRect requested;  // empty when nothing is
static constinit bool newPixels = false;

bool StartView(SDL_Window* window) {
    // Never with vertical sync: presenting would halt the event loop for up to a frame.
    renderer = SDL_CreateRenderer(window, -1, 0);
    if (renderer == nullptr) renderer = SDL_CreateRenderer(window, -1, SDL_RENDERER_SOFTWARE);
    return renderer != nullptr;
}

void ForgetTexture() {
    if (texture != nullptr) SDL_DestroyTexture(texture);
    texture = nullptr;
    textureSize = {};
    RequestWholeRedraw();
}

void StopView() {
    ForgetTexture();
    if (renderer != nullptr) SDL_DestroyRenderer(renderer);
    renderer = nullptr;
    requested = {};
    newPixels = false;
}

void RequestRedraw(ViewRect rect) {
    requested = Joined(requested, rect);
}

void RequestWholeRedraw() {
    const ViewSize size = CurrentViewSize();
    RequestRedraw({0, 0, static_cast<double>(size.width), static_cast<double>(size.height)});
}

bool RedrawIsWaiting() {
    return (requested.width > 0 && requested.height > 0) || newPixels;
}

bool ServeRedraw() {
    const ViewRect rect = Clipped(requested, CurrentViewSize());
    requested = {};
    if (rect.width <= 0 || rect.height <= 0) return false;
    Tell(desktopEvents.drawRect, rect);
    ShowNewPixels();
    return true;
}

// A texture of the view's size, white where nothing has been drawn.
static bool PrepareTexture() {
    const ViewSize size = CurrentViewSize();
    if (renderer == nullptr || size.width <= 0 || size.height <= 0) return false;
    if (texture != nullptr && textureSize.width == size.width &&
        textureSize.height == size.height) {
        return true;
    }
    if (texture != nullptr) SDL_DestroyTexture(texture);
    // In memory R, G, B, unused.
    texture = SDL_CreateTexture(renderer, SDL_PIXELFORMAT_XBGR8888, SDL_TEXTUREACCESS_STREAMING,
                                size.width, size.height);
    textureSize = size;
    if (texture == nullptr) return false;
    SDL_SetTextureBlendMode(texture, SDL_BLENDMODE_NONE);
    const std::vector<u32> white(
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height), 0xFFFFFFFF);
    SDL_UpdateTexture(texture, nullptr, white.data(), size.width * 4);
    return true;
}

void PresentView(ViewPixels view, ViewRect rect) {
    const InsideDesktop inside;
    if (view.pixels == nullptr || !PrepareTexture()) return;
    Area area = TouchedPixels(rect, {view.width, view.height});
    area.width = std::min(area.width, textureSize.width - area.x);
    area.height = std::min(area.height, textureSize.height - area.y);
    if (area.width <= 0 || area.height <= 0) return;

    const std::size_t offset =
        (static_cast<std::size_t>(area.y) * static_cast<std::size_t>(view.width) +
         static_cast<std::size_t>(area.x)) *
        4;
    const SDL_Rect target = {area.x, area.y, area.width, area.height};
    SDL_UpdateTexture(texture, &target, view.pixels + offset, view.width * 4);
    newPixels = true;
}

void ShowView() {
    newPixels = false;
    if (!PrepareTexture()) return;
    const SDL_Rect target = {0, 0, textureSize.width, textureSize.height};
    SDL_SetRenderDrawColor(renderer, 255, 255, 255, 255);
    SDL_RenderClear(renderer);
    SDL_RenderCopy(renderer, texture, nullptr, &target);
    SDL_RenderPresent(renderer);
}

void ShowNewPixels() {
    if (newPixels) ShowView();
}
