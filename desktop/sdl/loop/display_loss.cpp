#include "desktop/sdl/loop/display_loss.h"

#include <atomic>

#include "base/last_wait.h"
#include "desktop/sdl/loop/clock.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/native_display.h"

namespace moxi {

namespace {

constinit std::atomic<Loss> loss = Loss::None;
constinit std::atomic<u64> lossTime = 0;
constinit std::atomic<bool> endsProcess = false;

}  // namespace

// What the run loop and the watchdog need to end in order is less. It bounds what neither of them
// can: a library that asks a server which is gone, again and again, in the thread of the watchdog.
constexpr unsigned kLastSeconds = 20;

namespace {

void NoteLoss(Loss what) {
    Loss none = Loss::None;
    if (loss == Loss::None) {
        lossTime = Nanoseconds();
    }
    // A lost connection outdoes a lost window.
    if (!loss.compare_exchange_strong(none, what) && what == Loss::Connection) {
        loss = what;
    }
    if (what != Loss::Connection) {
        return;
    }
    if (endsProcess) {
        EndNow();
    }
    EndAtTheLatest(kLastSeconds, 1);
}

}  // namespace

void LetLossEndProcess() {
    endsProcess = true;
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
    WatchWaylandConnection(window);
}

void LookWhetherWindowExists() {
    SDL_Rect content;
    if (loss == Loss::None) {
        AskX11ForWindow(gameWindow, content);
    }
}

bool NoteLostWayland() {
    if (!WaylandConnectionIsBroken()) {
        return false;
    }
    NoteLoss(Loss::Connection);
    return true;
}

}  // namespace moxi
