#include "desktop/sdl/input/mouse.h"

#include <SDL_mouse.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "desktop/events.h"
#include "desktop/sdl/loop/display_loss.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/view.h"

namespace moxi {

namespace {

constinit u32 heldButtons = 0;  // bit n: button number n was told as pressed
constinit i32 pointerX = 0;
constinit i32 pointerY = 0;
constinit bool moved = false;  // by MovePointer, which the desktop still has to report
constinit double leftOverX = 0;
constinit double leftOverY = 0;

void SetPointer(i32 x, i32 y) {
    // A drag leaves the window, and the view with it; over the bars the pointer is at the edge.
    const Point place = ViewPoint({x, y}, heldButtons == 0);
    pointerX = place.x;
    pointerY = place.y;
}

}  // namespace

u32 ButtonNumber(u8 sdlButton) {
    switch (sdlButton) {
        case SDL_BUTTON_LEFT: return 0;
        case SDL_BUTTON_RIGHT: return 1;
        case SDL_BUTTON_MIDDLE: return 2;
        default: return std::min<u32>(sdlButton - 1u, 31);
    }
}

void HandleMouseButton(const SDL_MouseButtonEvent& event) {
    if (event.button == 0) {
        return;
    }
    const u32 button = ButtonNumber(event.button);
    const u32 bit = 1u << button;
    // A bar beside the view is nothing that can be pressed.
    if (event.state == SDL_PRESSED && !IsOnView(event.x, event.y)) {
        return;
    }
    SetPointer(event.x, event.y);
    if (event.state == SDL_PRESSED) {
        heldButtons |= bit;
        Tell(desktopEvents.mouseDown, button, pointerX, pointerY, std::max<i32>(event.clicks, 1));
    } else if ((heldButtons & bit) != 0) {
        heldButtons &= ~bit;
        Tell(desktopEvents.mouseUp, button, pointerX, pointerY);
    }
}

void MovePointer(i32 x, i32 y) {
    const InsideDesktop inside;
    if (gameWindow == nullptr || DisplayLoss() != Loss::None) {
        return;
    }
    pointerX = x;
    pointerY = y;
    moved = true;
    const Point place = WindowPoint({x, y});
    SDL_WarpMouseInWindow(gameWindow, place.x, place.y);
}

void HandleMouseMotion(const SDL_MouseMotionEvent& event) {
    const Point before = {pointerX, pointerY};
    SetPointer(event.x, event.y);
    const bool stays = before == Point{pointerX, pointerY};
    if (std::exchange(moved, false) && stays) {
        return;
    }
    if (heldButtons == 0) {
        Tell(desktopEvents.mouseMoved, pointerX, pointerY);
    } else {
        const u32 button = static_cast<u32>(std::countr_zero(heldButtons));
        Tell(desktopEvents.mouseDragged, button, pointerX, pointerY);
    }
}

i32 WholeNotches(double& leftOver, double notches) {
    leftOver += notches;
    // Smooth steps such as 1/15 do not add up to exactly one.
    constexpr double kRounding = 1.0 / 1024;
    const double whole = std::trunc(leftOver + std::copysign(kRounding, leftOver));
    leftOver -= whole;
    return static_cast<i32>(std::clamp(whole, -1000.0, 1000.0));
}

double WheelDelta(i32 notches) {
    return notches / 10.0;
}

void HandleMouseWheel(const SDL_MouseWheelEvent& event) {
    SetPointer(event.mouseX, event.mouseY);
    // SDL counts to the right; the desktop's delta is positive when what is seen moves right, so
    // when the wheel goes left.
    const i32 x = WholeNotches(leftOverX, -static_cast<double>(event.preciseX));
    const i32 y = WholeNotches(leftOverY, static_cast<double>(event.preciseY));
    if (x == 0 && y == 0) {
        return;
    }
    Tell(desktopEvents.scrollWheel, WheelDelta(x), WheelDelta(y), pointerX, pointerY);
}

void ReleaseHeldButtons() {
    for (u32 button = 0; button < 32; ++button) {
        if ((heldButtons >> button & 1) == 0) {
            continue;
        }
        heldButtons &= ~(1u << button);
        Tell(desktopEvents.mouseUp, button, pointerX, pointerY);
    }
}

bool AnyButtonHeld() {
    return heldButtons != 0;
}

void ResetSdlMouse() {
    heldButtons = 0;
    pointerX = pointerY = 0;
    moved = false;
    leftOverX = leftOverY = 0;
}

}  // namespace moxi
