#include "desktop/sdl/window/alert.h"

#include <SDL.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cmath>

#include "desktop/quit_request.h"
#include "desktop/sdl/loop/display_loss.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/loop/turns.h"
#include "desktop/sdl/window/box_layout.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/native_display.h"
#include "desktop/sdl/window/screens.h"
#include "desktop/sdl/window/view.h"
#include "desktop/sdl/window/wayland_side.h"

namespace moxi {

constexpr i32 kScreenMargin = 60;  // for the box's own title bar and the desktop's panels
constexpr int kNothingPressed = -1;
constexpr int kWaitMilliseconds = 50;

namespace {
struct Box {
    const BoxText* text = nullptr;
    BoxLayout layout;
    SDL_Window* window = nullptr;       // its own; null for a box in the game's window
    WaylandOverlay* overlay = nullptr;  // what shows a box in the game's window
    SDL_Point place = {0, 0};           // of the box in the window that gets its events
    u32 windowId = 0;                   // of that window
    int focus = 0;                      // button that Return and Space press
    int held = kNothingPressed;         // button under a mouse button that is down
    int result = kNothingPressed;       // set once
};
void Draw(const Box& box, cairo_surface_t* surface) {
    DrawBox(surface, box.layout, box.text->message, box.text->buttons, box.focus, box.held);
}

void DrawOverlay(const Box& box) {
    cairo_surface_t* drawn =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, box.layout.width, box.layout.height);
    Draw(box, drawn);
    DrawFrame(drawn);  // there is no title bar around it
    ShowOverlay(box.overlay, cairo_image_surface_get_data(drawn), box.layout.width,
                box.layout.height);
    cairo_surface_destroy(drawn);
}

void DrawBoxWindow(const Box& box) {
    if (box.overlay != nullptr) {
        return DrawOverlay(box);
    }
    SDL_Surface* target = SDL_GetWindowSurface(box.window);
    if (target == nullptr) {
        return;
    }
    // A desktop that tiles windows may have made it larger.
    cairo_surface_t* drawn = cairo_image_surface_create(CAIRO_FORMAT_RGB24, std::max(target->w, 1),
                                                        std::max(target->h, 1));
    Draw(box, drawn);
    // Cairo's words hold x, R, G, B from the top byte down.
    SDL_Surface* source = SDL_CreateRGBSurfaceWithFormatFrom(
        cairo_image_surface_get_data(drawn), cairo_image_surface_get_width(drawn),
        cairo_image_surface_get_height(drawn), 32, cairo_image_surface_get_stride(drawn),
        SDL_PIXELFORMAT_XRGB8888);
    if (source != nullptr) {
        SDL_BlitSurface(source, nullptr, target, nullptr);
        SDL_FreeSurface(source);
        SDL_UpdateWindowSurface(box.window);
    }
    cairo_surface_destroy(drawn);
}

void GiveKeyboard(SDL_Window* window) {
    SDL_RaiseWindow(window);
    SDL_SetWindowInputFocus(window);
}

SDL_Point PlaceInGameWindow(const Box& box) {
    int width = 0;
    int height = 0;
    SDL_GetWindowSize(gameWindow, &width, &height);
    return {(width - box.layout.width) / 2, (height - box.layout.height) / 2};
}

// On Wayland a window cannot ask for the keyboard, and there are compositors that give it to nobody
// when a box goes away that had it. A box in the game's own window takes it from nobody.
bool OpenBoxInGameWindow(Box& box) {
    SDL_Window* const game = gameWindow;
    if (game == nullptr || (SDL_GetWindowFlags(game) & SDL_WINDOW_SHOWN) == 0) {
        return false;
    }
    int width = 0;
    int height = 0;
    SDL_GetWindowSize(game, &width, &height);
    box.layout = LayOutBox(box.text->message, box.text->buttons, width, height, 1);
    box.place = PlaceInGameWindow(box);
    // The window is there only once it has shown something.
    if (IsMainThread()) {
        ShowView();
    }
    box.overlay = OpenOverlay(game, box.place.x, box.place.y);
    if (box.overlay == nullptr) {
        return false;
    }
    box.windowId = SDL_GetWindowID(game);
    DrawOverlay(box);
    return true;
}

bool OpenBoxWindow(Box& box) {
    SDL_Window* parent = gameWindow;
    SDL_Rect usable = {0, 0, 640, 400};
    const int display = parent != nullptr ? std::max(SDL_GetWindowDisplayIndex(parent), 0) : 0;
    SDL_GetDisplayUsableBounds(display, &usable);
    box.layout = LayOutBox(box.text->message, box.text->buttons, usable.w - kScreenMargin,
                           usable.h - kScreenMargin, BoxDensity({0, 0, usable.w, usable.h}));
    const int width = static_cast<int>(std::ceil(box.layout.width * box.layout.scale));
    const int height = static_cast<int>(std::ceil(box.layout.height * box.layout.scale));
    const int x = usable.x + (usable.w - width) / 2;
    const int y = usable.y + (usable.h - height) / 2;
    box.place = {0, 0};
    box.window = SDL_CreateWindow(box.text->title.c_str(), x, y, width, height, SDL_WINDOW_HIDDEN);
    if (box.window == nullptr) {
        return false;
    }
    NameX11Window(box.window, box.text->title.c_str());
    box.windowId = SDL_GetWindowID(box.window);
    // Before the box is shown this reaches X11 alone. There are Wayland desktops that hide a window
    // when a box that belongs to it goes away.
    if (parent != nullptr) {
        SDL_SetWindowModalFor(box.window, parent);
    }
    SDL_ShowWindow(box.window);
    SDL_RaiseWindow(box.window);
    DrawBoxWindow(box);
    return true;
}

void MoveFocus(Box& box, int step) {
    const int buttons = static_cast<int>(box.text->buttons.size());
    box.focus = (box.focus + step + buttons) % buttons;
    DrawBoxWindow(box);
}

void HandleBoxKey(Box& box, const SDL_KeyboardEvent& event) {
    // A key that was down when the box came up presses nothing.
    if (event.repeat != 0) {
        return;
    }
    switch (event.keysym.scancode) {
        case SDL_SCANCODE_RETURN:
        case SDL_SCANCODE_RETURN2:
        case SDL_SCANCODE_KP_ENTER:
        case SDL_SCANCODE_SPACE: box.result = box.focus; break;
        case SDL_SCANCODE_ESCAPE: box.result = box.text->cancelButton; break;
        // The first button is the rightmost one.
        case SDL_SCANCODE_LEFT:
        case SDL_SCANCODE_UP: MoveFocus(box, 1); break;
        case SDL_SCANCODE_RIGHT:
        case SDL_SCANCODE_DOWN: MoveFocus(box, -1); break;
        case SDL_SCANCODE_TAB: MoveFocus(box, (event.keysym.mod & KMOD_SHIFT) != 0 ? -1 : 1); break;
        default: break;
    }
}

void HandleBoxButton(Box& box, const SDL_MouseButtonEvent& event) {
    if (event.button != SDL_BUTTON_LEFT) {
        return;
    }
    const int at = ButtonAt(box.layout, event.x - box.place.x, event.y - box.place.y);
    if (event.state == SDL_PRESSED) {
        box.held = at;
    } else {
        if (box.held != kNothingPressed && at == box.held) {
            box.result = at;
        }
        box.held = kNothingPressed;
    }
    DrawBoxWindow(box);
}

void HandleBoxWindowEvent(Box& box, const SDL_WindowEvent& event) {
    switch (event.event) {
        case SDL_WINDOWEVENT_EXPOSED:
        case SDL_WINDOWEVENT_SIZE_CHANGED: DrawBoxWindow(box); break;
        case SDL_WINDOWEVENT_CLOSE: box.result = box.text->cancelButton; break;
        default: break;
    }
}

// What the game's window hears of while it holds the box is the game's all the same.
bool HandleGameWindowEvent(Box& box, const SDL_WindowEvent& event) {
    const bool isSized = event.event == SDL_WINDOWEVENT_SIZE_CHANGED;
    if ((isSized || event.event == SDL_WINDOWEVENT_EXPOSED) && IsMainThread()) {
        ShowView();
    }
    if (isSized) {
        box.place = PlaceInGameWindow(box);
        MoveOverlay(box.overlay, box.place.x, box.place.y);
    }
    if (event.event == SDL_WINDOWEVENT_CLOSE && IsMainThread()) {
        box.result = box.text->cancelButton;
    }
    return false;
}

// The event is the box's own business, or input that a modal box keeps from the game.
bool TakeEvent(Box& box, const SDL_Event& event) {
    switch (event.type) {
        case SDL_KEYDOWN:
            if (event.key.windowID == box.windowId) {
                HandleBoxKey(box, event.key);
            }
            return true;
        case SDL_KEYUP: return box.window != nullptr && event.key.windowID == box.windowId;
        case SDL_TEXTINPUT:
        case SDL_TEXTEDITING:
        case SDL_MOUSEMOTION:
        case SDL_MOUSEWHEEL: return true;
        case SDL_MOUSEBUTTONDOWN:
            if (event.button.windowID == box.windowId) {
                HandleBoxButton(box, event.button);
            }
            return true;
        case SDL_MOUSEBUTTONUP:
            if (event.button.windowID != box.windowId) {
                return false;
            }
            HandleBoxButton(box, event.button);
            return box.window != nullptr;
        case SDL_WINDOWEVENT:
            if (box.window == nullptr) {
                return HandleGameWindowEvent(box, event.window);
            }
            if (event.window.windowID == box.windowId) {
                HandleBoxWindowEvent(box, event.window);
                return true;
            }
            if (event.window.event == SDL_WINDOWEVENT_EXPOSED && IsMainThread()) {
                ShowView();
            }
            // Whoever clicks on the game must not lose the box.
            if (event.window.event == SDL_WINDOWEVENT_FOCUS_GAINED) {
                GiveKeyboard(box.window);
            }
            return false;
        case SDL_QUIT: box.result = box.text->cancelButton; return false;
        default: return false;
    }
}

// On the watchdog's thread the gate is open in between, because the main thread may want to enter.
bool NextBoxEvent(SDL_Event& event) {
    if (IsMainThread()) {
        NoteTurn();
        return SDL_WaitEventTimeout(&event, kWaitMilliseconds) != 0;
    }
    if (SDL_PollEvent(&event) != 0) {
        return true;
    }
    UnlockGate();
    SDL_Delay(kWaitMilliseconds);
    LockGate();
    return false;
}

// Nobody will press a button any more, or somebody wants the program to end. The box of the
// watchdog stays then: it is the one that offers the end.
bool MustGiveUp() {
    if (DisplayLoss() != Loss::None) {
        return true;
    }
    return IsMainThread() && (quitRequest == QuitRequest::Made || SignalIsWaiting());
}

void CloseBox(Box& box) {
    if (box.overlay != nullptr) {
        return CloseOverlay(box.overlay);
    }
    const bool hadKeyboard = (SDL_GetWindowFlags(box.window) & SDL_WINDOW_INPUT_FOCUS) != 0;
    SDL_DestroyWindow(box.window);
    // Not every desktop gives it back by itself.
    if (hadKeyboard && gameWindow != nullptr) {
        GiveKeyboard(gameWindow);
    }
}

// Events that the box has kept for the game, among them one that asks it to end.
bool AskForEnd(const std::vector<SDL_Event>& events) {
    return std::any_of(events.begin(), events.end(), [](const SDL_Event& event) {
        return event.type == SDL_QUIT ||
               (event.type == SDL_WINDOWEVENT && event.window.event == SDL_WINDOWEVENT_CLOSE &&
                IsGameWindow(event.window.windowID));
    });
}

// Whether a request to end waited when the last box went away.
constinit bool endWasAsked = false;

}  // namespace

int ShowBox(const BoxText& text, bool (*stop)()) {
    if (DisplayLoss() == Loss::Connection) {
        return kNothingPressed;
    }
    FcInit();
    Box box;
    box.text = &text;
    if (!OpenBoxInGameWindow(box) && !OpenBoxWindow(box)) {
        return kNothingPressed;
    }
    std::vector<SDL_Event> forLater;  // the game window's
    while (box.result == kNothingPressed && !(stop != nullptr && stop())) {
        if (MustGiveUp()) {
            box.result = text.cancelButton;
            break;
        }
        SDL_Event event;
        if (!NextBoxEvent(event)) {
            continue;
        }
        if (!TakeEvent(box, event)) {
            forLater.push_back(event);
        }
    }
    endWasAsked = AskForEnd(forLater) || MustGiveUp();
    if (DisplayLoss() == Loss::Connection) {
        return box.result;
    }
    CloseBox(box);
    for (SDL_Event& event : forLater) {
        SDL_PushEvent(&event);
    }
    return box.result;
}

void ShowAlert(const std::string& utf8) {
    const InsideDesktop inside;
    const char* title = GameWindowTitle();
    ShowBox({title[0] != '\0' ? title : "MOXI", utf8, {"Sigh"}, 0}, nullptr);
}

bool ShowAlertOrEnd(const std::string& utf8) {
    const InsideDesktop inside;
    constexpr int kEnd = 1;
    const char* title = GameWindowTitle();
    endWasAsked = false;
    const int pressed =
        ShowBox({title[0] != '\0' ? title : "MOXI", utf8, {"Sigh", "End"}, 0}, nullptr);
    // Without a display nobody could ever press a button.
    return pressed == kEnd || endWasAsked || DisplayLoss() != Loss::None;
}

}  // namespace moxi
