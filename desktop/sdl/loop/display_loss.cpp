#include "desktop/sdl/loop/display_loss.h"

#include <atomic>

#include "desktop/sdl/loop/clock.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/native_display.h"

namespace moxi {

static constinit std::atomic<Loss> loss = Loss::None;
static constinit std::atomic<u64> lossTime = 0;

static void NoteLoss(Loss what) {
    Loss none = Loss::None;
    if (loss == Loss::None) {
        lossTime = Nanoseconds();
    }
    // A lost connection outdoes a lost window.
    if (!loss.compare_exchange_strong(none, what) && what == Loss::Connection) {
        loss = what;
    }
}

Loss DisplayLoss() {
    return loss;
}

u64 DisplayLossTime() {
    return lossTime;
}

void WatchDisplay(SDL_Window* window) {
    HandleX11Errors(window, {.windowLost = [] { NoteLoss(Loss::Window); },
                             .connectionLost = [] { NoteLoss(Loss::Connection); }});
}

void LookWhetherWindowExists() {
    SDL_Rect content;
    if (loss == Loss::None) {
        AskX11ForWindow(gameWindow, content);
    }
}

bool NoteLostWayland() {
    if (!WaylandConnectionIsBroken(gameWindow)) {
        return false;
    }
    NoteLoss(Loss::Connection);
    return true;
}

}  // namespace moxi
