#include "desktop/sdl/window/view.h"

#include <SDL_hints.h>
#include <SDL_render.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/log.h"
#include "desktop/common/rectangles.h"
#include "desktop/events.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/window/enlarge.h"
#include "desktop/sdl/window/geometry.h"
#include "desktop/sdl/window/points.h"

namespace moxi {

constexpr u32 kViewFormat = SDL_PIXELFORMAT_XBGR8888;  // in memory R, G, B, unused

namespace {

constinit SDL_Window* window = nullptr;
constinit ViewSize viewSize;  // as the application knows it
constinit Fitting fitting = Fitting::Steps;
constinit i32 steps = 1;
constinit bool smooth = false;
constinit ViewRect requested;           // empty when nothing is
constinit ScreenArea newPixels;         // drawn and not yet shown; empty when width is 0
constinit bool surfaceIsShown = false;  // the host's own
constinit ViewSize pictureSize;         // of it

// With a surface:
constinit bool hasSurface = false;
constinit SDL_Surface* surface = nullptr;  // SDL's; another one after each change of size
constinit ScreenArea shownPlace;           // of the view, when it was drawn last

// With a texture:
constinit SDL_Renderer* renderer = nullptr;
constinit SDL_Texture* texture = nullptr;  // the whole view
constinit ViewSize textureSize;
constinit ViewSize shownRoom;  // of the window, when the texture was shown last

// The host's own surface is drawn for the window's pixels.
bool IsEnlarged() {
    if (surfaceIsShown) {
        return false;
    }
    return fitting != Fitting::Steps || steps != 1;
}

// --- The graphics processor, where there is one. What does its work on the processor itself is
// slower than doing it here.

bool ThereIsADevice() {
    // The user has named a renderer: it is taken, whatever it is.
    if (SDL_GetHint(SDL_HINT_RENDER_DRIVER) != nullptr) {
        return true;
    }
    constexpr const char* kDevices[] = {"/dev/dri/renderD128", "/dev/dri/renderD129",
                                        "/dev/nvidiactl", "/dev/mali0", "/dev/kgsl-3d0"};
    return std::any_of(std::begin(kDevices), std::end(kDevices),
                       [](const char* device) { return access(device, R_OK | W_OK) == 0; });
}

bool RendererIsAProcessors() {
    if (SDL_GetHint(SDL_HINT_RENDER_DRIVER) != nullptr) {
        return false;
    }
    constexpr unsigned kRendererName = 0x1F01;  // GL_RENDERER
    using GetString = const unsigned char*(unsigned);
    auto* const getString = reinterpret_cast<GetString*>(SDL_GL_GetProcAddress("glGetString"));
    const unsigned char* const text = getString != nullptr ? getString(kRendererName) : nullptr;
    if (text == nullptr) {
        return true;
    }
    const std::string_view name = reinterpret_cast<const char*>(text);
    constexpr std::string_view kSoftware[] = {"llvmpipe", "softpipe", "swrast", "Software"};
    return std::any_of(std::begin(kSoftware), std::end(kSoftware), [name](std::string_view each) {
        return name.find(each) != std::string_view::npos;
    });
}

void StartRenderer(u32 flags) {
    // Never with vertical sync: presenting would halt the event loop for up to a frame.
    renderer = SDL_CreateRenderer(window, -1, flags);
}

bool StartGraphicsProcessor() {
    if (!ThereIsADevice()) {
        return false;
    }
    StartRenderer(SDL_RENDERER_ACCELERATED);
    if (renderer == nullptr) {
        SystemLog(std::string("no graphics processor: ") + SDL_GetError());
        return false;
    }
    if (!RendererIsAProcessors()) {
        return true;
    }
    SDL_DestroyRenderer(renderer);
    renderer = nullptr;
    return false;
}

bool HasSurfaces() {
    return std::string_view(SDL_GetCurrentVideoDriver()) == "x11";
}

}  // namespace

bool StartView(SDL_Window* shownIn, ViewSize size) {
    window = shownIn;
    viewSize = size;
    hasSurface = HasSurfaces() && !(IsEnlarged() && StartGraphicsProcessor());
    if (hasSurface) {
        return true;
    }
    if (renderer == nullptr) {
        StartRenderer(0);
    }
    return renderer != nullptr;
}

void ForgetTexture() {
    if (texture != nullptr) {
        SDL_DestroyTexture(texture);
    }
    texture = nullptr;
    textureSize = {};
    RequestWholeRedraw();
}

void StopView() {
    ForgetTexture();
    if (renderer != nullptr) {
        SDL_DestroyRenderer(renderer);
    }
    renderer = nullptr;
    surface = nullptr;
    window = nullptr;
    requested = {};
    newPixels = {};
    shownPlace = {};
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

void FitView(Fitting newFitting, i32 newSteps, bool isSmooth) {
    fitting = newFitting;
    steps = newSteps;
    smooth = isSmooth;
    RequestWholeRedraw();
}

bool RedrawIsWaiting() {
    return !IsEmpty(requested) || newPixels.width > 0;
}

bool ServeRedraw() {
    const ViewRect rect = Clipped(requested, viewSize);
    requested = {};
    if (IsEmpty(rect)) {
        return false;
    }
    Tell(desktopEvents.drawRect, rect);
    ShowNewPixels();
    return true;
}

// --- Where the view is. A point of SDL's is a pixel, but on Wayland it may be several.

namespace {

ViewSize WindowSize() {
    ViewSize size;
    SDL_GetWindowSize(window, &size.width, &size.height);
    return {std::max(size.width, 1), std::max(size.height, 1)};
}

ViewSize Room() {
    ViewSize size = WindowSize();
    if (renderer != nullptr) {
        SDL_GetRendererOutputSize(renderer, &size.width, &size.height);
    }
    return {std::max(size.width, 1), std::max(size.height, 1)};
}

ScreenArea PlaceOfView(ViewSize room) {
    if (surfaceIsShown) {
        return {0, 0, pictureSize.width, pictureSize.height};
    }
    // The steps count points; the room counts pixels.
    const i32 density = std::max(room.width / WindowSize().width, 1);
    return PlaceIn(room, viewSize, fitting, steps * density);
}

}  // namespace

Point ViewPoint(Point inWindow, bool nearest) {
    if (window == nullptr) {
        return inWindow;
    }
    const ViewSize room = Room();
    const ScreenArea whole = {0, 0, WindowSize().width, WindowSize().height};
    const Point pixel = PicturePoint(inWindow, whole, room);
    if (surfaceIsShown) {
        return pixel;
    }
    Point point = PicturePoint(pixel, PlaceOfView(room), viewSize);
    const bool isInWindow =
        pixel.x >= 0 && pixel.y >= 0 && pixel.x < room.width && pixel.y < room.height;
    if (nearest && isInWindow && IsEnlarged()) {
        point.x = std::clamp(point.x, 0, std::max(viewSize.width - 1, 0));
        point.y = std::clamp(point.y, 0, std::max(viewSize.height - 1, 0));
    }
    return point;
}

Point WindowPoint(Point inView) {
    if (window == nullptr) {
        return inView;
    }
    const ViewSize room = Room();
    const ScreenArea whole = {0, 0, WindowSize().width, WindowSize().height};
    return PicturePoint(RoomPoint(inView, PlaceOfView(room), viewSize),
                        {0, 0, room.width, room.height}, {whole.width, whole.height});
}

bool IsOnView(i32 x, i32 y) {
    if (!IsEnlarged()) {
        return true;
    }
    const Point point = ViewPoint({x, y}, false);
    return point.x >= 0 && point.y >= 0 && point.x < viewSize.width && point.y < viewSize.height;
}

// --- The surface. A new one is white where nothing has been drawn, and has black bars around a
// view that is enlarged.

namespace {

void Clear(const ScreenArea& place) {
    const SDL_Rect view = {place.x, place.y, place.width, place.height};
    if (IsEnlarged()) {
        SDL_FillRect(surface, nullptr, SDL_MapRGB(surface->format, 0, 0, 0));
    }
    SDL_FillRect(surface, IsEnlarged() ? &view : nullptr, 0xFFFFFFFF);
    shownPlace = place;
    newPixels = {0, 0, surface->w, surface->h};
}

bool PrepareSurface() {
    SDL_Surface* current = SDL_GetWindowSurface(window);
    const bool isNew = current != surface;
    surface = current;
    if (surface == nullptr || surface->format->BytesPerPixel != 4) {
        return false;
    }
    const ScreenArea place = PlaceOfView({surface->w, surface->h});
    if (isNew || (IsEnlarged() && place != shownPlace)) {
        Clear(place);
        // What was drawn before at another place is gone.
        if (IsEnlarged()) {
            RequestWholeRedraw();
        }
    }
    return true;
}

SourcePicture Source(const ViewPixels& view) {
    return {view.pixels, view.width, view.height, 4 * view.width};
}

// The drawn rectangle as the processor has it nearest: enough for a view that is shown as it is,
// while enlarging needs pixels around it, too.
SourcePicture NearerSource(const ViewPixels& view) {
    if (view.nearer == nullptr) {
        return Source(view);
    }
    return {view.nearer, view.width, view.height, view.nearerStride};
}

TargetPicture Target() {
    return {static_cast<u8*>(surface->pixels), surface->w, surface->h, surface->pitch,
            surface->format->format != kViewFormat};
}

// Enlarged, over `shownPlace`.
ScreenArea EnlargeOnSurface(const ViewPixels& view, const ScreenArea& area) {
    return Enlarge(Source(view), Target(), shownPlace, area, smooth);
}

// --- The texture, of the view's size; white where nothing has been drawn.

bool PrepareTexture() {
    const ViewSize size = surfaceIsShown ? pictureSize : viewSize;
    if (renderer == nullptr || size.width <= 0 || size.height <= 0) {
        return false;
    }
    if (texture != nullptr && textureSize.width == size.width &&
        textureSize.height == size.height) {
        return true;
    }
    if (texture != nullptr) {
        SDL_DestroyTexture(texture);
    }
    texture = SDL_CreateTexture(renderer, kViewFormat, SDL_TEXTUREACCESS_STREAMING, size.width,
                                size.height);
    textureSize = size;
    if (texture == nullptr) {
        return false;  // a size without a texture tells that there could be none
    }
    SDL_SetTextureBlendMode(texture, SDL_BLENDMODE_NONE);
    const std::vector<u32> white(
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height), 0xFFFFFFFF);
    SDL_UpdateTexture(texture, nullptr, white.data(), size.width * 4);
    return true;
}

// --- Both

// A graphics processor that cannot hold the view, or cannot go on, is given up for the surface.
bool GiveUpRenderer() {
    if (renderer == nullptr || !HasSurfaces()) {
        return false;
    }
    SystemLog(std::string("the graphics processor shows no more: ") + SDL_GetError());
    ForgetTexture();
    SDL_DestroyRenderer(renderer);
    renderer = nullptr;
    surface = nullptr;
    shownPlace = {};
    newPixels = {};
    hasSurface = true;
    return true;
}

bool Prepare() {
    if (window == nullptr) {
        return false;
    }
    if (!hasSurface) {
        const bool isReady = PrepareTexture();
        const bool hasFailed = texture == nullptr && textureSize.width > 0;
        if (!hasFailed || !GiveUpRenderer()) {
            return isReady;
        }
    }
    return PrepareSurface();
}

ScreenArea Union(const ScreenArea& a, const ScreenArea& b) {
    if (a.width <= 0) {
        return b;
    }
    const i32 left = std::min(a.x, b.x);
    const i32 top = std::min(a.y, b.y);
    return {left, top, std::max(a.x + a.width, b.x + b.width) - left,
            std::max(a.y + a.height, b.y + b.height) - top};
}

// The part of the area that lies in the window, whose size may differ for a moment from the one
// that the application knows.
ScreenArea Within(ScreenArea area, ViewSize room) {
    area.width = std::min(area.width, room.width - area.x);
    area.height = std::min(area.height, room.height - area.y);
    return area;
}

void Present(ViewPixels view, ViewRect rect) {
    if (view.pixels == nullptr || !Prepare()) {
        return;
    }
    ScreenArea area = TouchedPixels(rect, {view.width, view.height});
    if (hasSurface && IsEnlarged()) {
        const bool fits = view.width == viewSize.width && view.height == viewSize.height;
        if (fits && area.width > 0) {
            newPixels = Union(newPixels, EnlargeOnSurface(view, area));
        }
        return;
    }
    area = Within(area, hasSurface ? ViewSize{surface->w, surface->h} : textureSize);
    if (area.width <= 0 || area.height <= 0) {
        return;
    }

    if (hasSurface) {
        CopyPixels(NearerSource(view), Target(), area);
    } else {
        const SourcePicture from = NearerSource(view);
        const SDL_Rect target = {area.x, area.y, area.width, area.height};
        SDL_UpdateTexture(texture, &target,
                          from.pixels + i64{area.y} * from.pitch + i64{area.x} * 4, from.pitch);
    }
    newPixels = Union(newPixels, area);
}

}  // namespace

void PresentView(ViewPixels view, ViewRect rect) {
    const InsideDesktop inside;
    if (!surfaceIsShown) {
        Present(view, rect);
    }
}

void PresentSurface(const u8* pixels, ViewSize size) {
    const InsideDesktop inside;
    surfaceIsShown = true;
    pictureSize = size;
    Present({pixels, size.width, size.height}, WholeView(size));
}

void HideSurface() {
    const InsideDesktop inside;
    surfaceIsShown = false;
    shownPlace = {};
    RequestWholeRedraw();
}

ViewSize WindowPixels() {
    const InsideDesktop inside;
    return window != nullptr ? Room() : viewSize;
}

namespace {

bool RenderTexture(ViewSize room) {
    const ScreenArea place = PlaceOfView(room);
    const SDL_Rect target = {place.x, place.y, place.width, place.height};
    const u8 bar = IsEnlarged() ? 0 : 255;
    SDL_SetTextureScaleMode(texture, smooth ? SDL_ScaleModeLinear : SDL_ScaleModeNearest);
    SDL_SetRenderDrawColor(renderer, bar, bar, bar, 255);
    SDL_RenderClear(renderer);
    if (SDL_RenderCopy(renderer, texture, nullptr, &target) != 0 && GiveUpRenderer()) {
        return false;
    }
    SDL_RenderPresent(renderer);
    return true;
}

// A driver may learn of the window's new size when it presents, so that the first picture of that
// size still goes into pixels of the old one.
void ShowTexture() {
    const ViewSize room = Room();
    const bool isNew = room != shownRoom;
    shownRoom = room;
    if (RenderTexture(room) && isNew) {
        RenderTexture(room);
    }
}

void ShowArea(const ScreenArea& area) {
    if (!hasSurface) {
        return ShowTexture();
    }
    const SDL_Rect changed = {area.x, area.y, std::min(area.width, surface->w - area.x),
                              std::min(area.height, surface->h - area.y)};
    if (changed.w > 0 && changed.h > 0) {
        SDL_UpdateWindowSurfaceRects(window, &changed, 1);
    }
}

}  // namespace

void ShowView() {
    newPixels = {};
    if (!Prepare()) {
        return;
    }
    const ViewSize size = hasSurface ? ViewSize{surface->w, surface->h} : textureSize;
    ShowArea({0, 0, size.width, size.height});
}

void ShowViewFromOtherThread() {
    // A renderer belongs to the main thread. A surface that has become invalid stays so: drawing
    // anew is the main thread's business.
    if (window != nullptr && hasSurface) {
        SDL_UpdateWindowSurface(window);
    }
}

void ShowNewPixels() {
    const ScreenArea area = std::exchange(newPixels, ScreenArea{});
    if (area.width > 0 && Prepare()) {
        ShowArea(area);
    }
}

}  // namespace moxi
