#include "surface/panel.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "base/log.h"
#include "desktop/desktop.h"
#include "host/gamepad.h"
#include "host/pause.h"
#include "host/preferences.h"
#include "host/view.h"
#include "surface/panel_pages.h"
#include "surface/shown.h"

namespace moxi {

namespace {

// How dark the game's last picture is behind the panel.
constexpr double kDarkness = 0.6;

constexpr SurfaceHandlers kHandlers = {.close = ClosePanel, .input = PanelInput, .draw = DrawPanel};

struct Panel {
    bool moves = false;
    std::chrono::steady_clock::time_point openedAt;
    PanelState state;
    Surface surface;
    ViewSize size;    // in pixels, as laid out
    Canvas backdrop;  // the game's last picture, darkened
    Canvas canvas;
};

Panel panel;

// The game's last picture, as large as it fits, in the middle.
void DrawGame(Canvas& canvas, ViewSize size) {
    ResizeCanvas(canvas, size.width, size.height);
    const ViewBuffer& view = viewBuffer;
    if (view.width <= 0 || view.height <= 0) {
        return;
    }
    const double scale =
        std::max(1.0, std::min(double(size.width) / view.width, double(size.height) / view.height));
    const i32 left = static_cast<i32>((size.width - view.width * scale) / 2);
    const i32 top = static_cast<i32>((size.height - view.height * scale) / 2);
    for (i32 y = std::max(top, 0); y < size.height; ++y) {
        const i32 row = static_cast<i32>((y - top) / scale);
        if (row >= view.height) {
            break;
        }
        for (i32 x = std::max(left, 0); x < size.width; ++x) {
            const i32 column = static_cast<i32>((x - left) / scale);
            if (column >= view.width) {
                break;
            }
            const u8* const from =
                view.pixels.data() + 4 * (static_cast<size_t>(row) * view.width + column);
            std::copy_n(from, 4,
                        canvas.pixels.data() + 4 * (static_cast<size_t>(y) * size.width + x));
        }
    }
}

void DrawBackdrop(Canvas& canvas, ViewSize size) {
    DrawGame(canvas, size);
    Darken(canvas, kDarkness);
}

// How much of the panel is to be seen, 0 to 1. The desktop's own clock stands still meanwhile.
double Shown() {
    if (!panel.moves || preferences.reducedMotion) {
        return 1;
    }
    constexpr double kFadeSeconds = 0.12;
    const std::chrono::duration<double> since = std::chrono::steady_clock::now() - panel.openedAt;
    return std::clamp(since.count() / kFadeSeconds, 0.0, 1.0);
}

// Mingles the drawn panel with the game's picture.
void FadeIn(double part) {
    Canvas game;
    DrawGame(game, panel.size);
    const u32 drawn = static_cast<u32>(part * 256);
    for (size_t i = 0; i < game.pixels.size(); ++i) {
        panel.canvas.pixels[i] =
            static_cast<u8>((panel.canvas.pixels[i] * drawn + game.pixels[i] * (256 - drawn)) >> 8);
    }
    RequestSurfaceRedraw();
}

void LayOut() {
    const ViewSize size = desktop.windowPixels();
    const bool resized = size.width != panel.size.width || size.height != panel.size.height;
    panel.size = size;
    if (resized) {
        DrawBackdrop(panel.backdrop, size);
    }
    BeginControls(panel.surface, size.width, size.height,
                  SurfaceScale(size.width, size.height, preferences.largeText));
    AddPanelControls(panel.surface, panel.state);
    if (resized) {
        const Control* const focused = FindControl(panel.surface, panel.surface.focus);
        if (focused != nullptr) {
            Reveal(panel.surface, *focused);
        }
    }
}

void Open() {
    const bool onShelf = panel.state.onShelf;
    if (!onShelf && !Pause(PauseReason::Panel)) {
        return;
    }
    UseSurfacePadMap(true);
    const PanelState kept = panel.state;
    openSurface = &kHandlers;
    panel.openedAt = std::chrono::steady_clock::now();
    panel.surface = {};
    panel.state = {
        .page = kept.page, .scope = kept.scope, .noSound = kept.noSound, .onShelf = onShelf};
    OpenPage(panel.state, kept.page);
    panel.size = {};
    LayOut();
    RequestSurfaceRedraw();
}

// What a redraw would show anew.
struct Seen {
    std::string focus;
    std::string hot;
    std::string grabbed;
    double scroll;
    bool showsFocus;
    bool operator==(const Seen&) const = default;
};

Seen SeenNow() {
    const Surface& surface = panel.surface;
    return {surface.focus, surface.hot, surface.grabbed, surface.scroll, surface.showsFocus};
}

}  // namespace

void StartPanel(const PanelOptions& options) {
    panel.state.noSound = options.noSound;
    panel.state.onShelf = options.onShelf;
    panel.moves = options.moves;
}

void TogglePanel() {
    if (PanelIsOpen()) {
        return ClosePanel();
    }
    Open();
}

void ClosePanel() {
    if (!PanelIsOpen()) {
        return;
    }
    openSurface = nullptr;
    SavePreferences();
    HideSurfaces();
    panel.canvas = {};
    panel.backdrop = {};
    // Below it lies the shelf, which is a surface, too.
    if (panel.state.onShelf) {
        return RequestSurfaceRedraw();
    }
    UseSurfacePadMap(false);
    Resume(PauseReason::Panel);
}

bool PanelIsOpen() {
    return openSurface == &kHandlers;
}

void PanelInput(const SurfaceInput& input) {
    const bool isKey = input.kind == SurfaceInputKind::KeyDown;
    if (isKey && TakeCapturedKey(panel.state, input.code)) {
        LayOut();
        return RequestSurfaceRedraw();
    }
    const Seen before = SeenNow();
    const Want want = HandleInput(panel.surface, input);
    if (!ServeWant(panel.surface, panel.state, want)) {
        return ClosePanel();
    }
    // Nothing to draw anew, as when the pointer moves within a control.
    if (want.kind == WantKind::Nothing && SeenNow() == before && !isKey) {
        return;
    }
    LayOut();
    RequestSurfaceRedraw();
}

void DrawPanel() {
    const ViewSize size = desktop.windowPixels();
    if (size.width != panel.size.width || size.height != panel.size.height) {
        LayOut();
    }
    panel.canvas = panel.backdrop;
    PaintSurface(panel.surface, panel.canvas);
    if (const double part = Shown(); part < 1) {
        FadeIn(part);
    }
    ShowSurface(panel.surface, panel.canvas);
}

void ResetPanel() {
    openSurface = nullptr;
    panel = {};
}

}  // namespace moxi
