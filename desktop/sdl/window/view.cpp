#include "desktop/sdl/window/view.h"

#include <SDL_render.h>

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "desktop/common/rectangles.h"
#include "desktop/events.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/window/geometry.h"

namespace moxi {

constexpr u32 kViewFormat = SDL_PIXELFORMAT_XBGR8888;  // in memory R, G, B, unused

static constinit SDL_Window* window = nullptr;
static constinit ViewSize viewSize;   // as the application knows it
static constinit ViewRect requested;  // empty when nothing is
static constinit Area newPixels;      // drawn and not yet shown; empty when width is 0

// With a surface:
static constinit bool hasSurface = false;
static constinit SDL_Surface* surface = nullptr;  // SDL's; another one after each change of size

// With a texture:
static constinit SDL_Renderer* renderer = nullptr;
static constinit SDL_Texture* texture = nullptr;  // the whole view
static constinit ViewSize textureSize;

bool StartView(SDL_Window* shownIn, ViewSize size) {
    window = shownIn;
    viewSize = size;
    hasSurface = std::string_view(SDL_GetCurrentVideoDriver()) == "x11";
    if (hasSurface) return true;
    // Never with vertical sync: presenting would halt the event loop for up to a frame.
    renderer = SDL_CreateRenderer(window, -1, 0);
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
    surface = nullptr;
    window = nullptr;
    requested = {};
    newPixels = {};
}

void RequestRedraw(ViewRect rect) {
    requested = Joined(requested, rect);
}

void RequestWholeRedraw() {
    RequestRedraw(WholeView(viewSize));
}

void ResizeView(ViewSize size) {
    viewSize = size;
    RequestWholeRedraw();
}

bool RedrawIsWaiting() {
    return !IsEmpty(requested) || newPixels.width > 0;
}

bool ServeRedraw() {
    const ViewRect rect = Clipped(requested, viewSize);
    requested = {};
    if (IsEmpty(rect)) return false;
    Tell(desktopEvents.drawRect, rect);
    ShowNewPixels();
    return true;
}

// --- The surface. A new one is white where nothing has been drawn.

static bool PrepareSurface() {
    SDL_Surface* current = SDL_GetWindowSurface(window);
    if (current != surface) {
        surface = current;
        if (surface != nullptr) SDL_FillRect(surface, nullptr, 0xFFFFFFFF);
    }
    return surface != nullptr && surface->format->BytesPerPixel == 4;
}

static void DrawOnSurface(const u8* pixels, int pitch, const Area& area) {
    u8* target = static_cast<u8*>(surface->pixels) +
                 static_cast<std::ptrdiff_t>(area.y) * surface->pitch +
                 static_cast<std::ptrdiff_t>(area.x) * 4;
    SDL_ConvertPixels(area.width, area.height, kViewFormat, pixels, pitch, surface->format->format,
                      target, surface->pitch);
}

// --- The texture, of the view's size; white where nothing has been drawn.

static bool PrepareTexture() {
    const ViewSize size = viewSize;
    if (renderer == nullptr || size.width <= 0 || size.height <= 0) return false;
    if (texture != nullptr && textureSize.width == size.width &&
        textureSize.height == size.height) {
        return true;
    }
    if (texture != nullptr) SDL_DestroyTexture(texture);
    texture = SDL_CreateTexture(renderer, kViewFormat, SDL_TEXTUREACCESS_STREAMING, size.width,
                                size.height);
    textureSize = size;
    if (texture == nullptr) return false;
    SDL_SetTextureBlendMode(texture, SDL_BLENDMODE_NONE);
    const std::vector<u32> white(
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height), 0xFFFFFFFF);
    SDL_UpdateTexture(texture, nullptr, white.data(), size.width * 4);
    return true;
}

// --- Both

static bool Prepare() {
    if (window == nullptr) return false;
    return hasSurface ? PrepareSurface() : PrepareTexture();
}

static Area Union(const Area& a, const Area& b) {
    if (a.width <= 0) return b;
    const i32 left = std::min(a.x, b.x);
    const i32 top = std::min(a.y, b.y);
    return {left, top, std::max(a.x + a.width, b.x + b.width) - left,
            std::max(a.y + a.height, b.y + b.height) - top};
}

void PresentView(ViewPixels view, ViewRect rect) {
    const InsideDesktop inside;
    if (view.pixels == nullptr || !Prepare()) return;
    // The window may still have, or have again, another size than the application knows.
    const ViewSize room = hasSurface ? ViewSize{surface->w, surface->h} : textureSize;
    Area area = TouchedPixels(rect, {view.width, view.height});
    area.width = std::min(area.width, room.width - area.x);
    area.height = std::min(area.height, room.height - area.y);
    if (area.width <= 0 || area.height <= 0) return;

    const std::size_t row = static_cast<std::size_t>(view.width) * 4;
    const u8* pixels =
        view.pixels + static_cast<std::size_t>(area.y) * row + static_cast<std::size_t>(area.x) * 4;
    if (hasSurface) {
        DrawOnSurface(pixels, view.width * 4, area);
    } else {
        const SDL_Rect target = {area.x, area.y, area.width, area.height};
        SDL_UpdateTexture(texture, &target, pixels, view.width * 4);
    }
    newPixels = Union(newPixels, area);
}

static void ShowArea(const Area& area) {
    if (hasSurface) {
        const SDL_Rect changed = {area.x, area.y, std::min(area.width, surface->w - area.x),
                                  std::min(area.height, surface->h - area.y)};
        if (changed.w > 0 && changed.h > 0) SDL_UpdateWindowSurfaceRects(window, &changed, 1);
        return;
    }
    const SDL_Rect target = {0, 0, textureSize.width, textureSize.height};
    SDL_SetRenderDrawColor(renderer, 255, 255, 255, 255);
    SDL_RenderClear(renderer);
    SDL_RenderCopy(renderer, texture, nullptr, &target);
    SDL_RenderPresent(renderer);
}

void ShowView() {
    newPixels = {};
    if (!Prepare()) return;
    const ViewSize size = hasSurface ? ViewSize{surface->w, surface->h} : textureSize;
    ShowArea({0, 0, size.width, size.height});
}

void ShowViewFromOtherThread() {
    // A renderer belongs to the main thread. A surface that has become invalid stays so: drawing
    // anew is the main thread's business.
    if (window != nullptr && hasSurface) SDL_UpdateWindowSurface(window);
}

void ShowNewPixels() {
    const Area area = std::exchange(newPixels, Area{});
    if (area.width > 0 && Prepare()) ShowArea(area);
}

}  // namespace moxi
