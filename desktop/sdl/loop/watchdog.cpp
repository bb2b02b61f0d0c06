#include "desktop/sdl/loop/watchdog.h"

#include <SDL_events.h>
#include <fontconfig/fontconfig.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "base/log.h"
#include "desktop/events.h"
#include "desktop/quit_request.h"
#include "desktop/sdl/loop/clock.h"
#include "desktop/sdl/loop/display_loss.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/loop/turns.h"
#include "desktop/sdl/window/alert.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/view.h"

namespace moxi {

constexpr u64 kBusyNanoseconds = 400'000'000;
constexpr u64 kPatienceNanoseconds = 5'000'000'000;
constexpr auto kLookInterval = std::chrono::milliseconds(200);
// How long the main thread has to take notice of a forced end: drawing asks every few milliseconds
// (gfx/patience.h), a module's own code never does, and its end is to come within 100 ms.
constexpr auto kLookForMainThread = std::chrono::milliseconds(10);
constexpr int kLooksForMainThread = 6;
constexpr int kWaitButton = 0;
constexpr int kEndButton = 1;

namespace {

// Not destroyed at exit: a program that ends without shutting the desktop down ends all the same.
constinit std::thread* watchdog = nullptr;
std::mutex stopLock;
std::condition_variable stopChange;
constinit std::atomic<bool> stopping = false;

enum class ForcedEnd { No, Wanted, Taken, Refused };
constinit std::atomic<ForcedEnd> forcedEnd = ForcedEnd::No;

// What waits in SDL's queue.
struct Waiting {
    int closeRequests = 0;
    bool exposed = false;
};

// The request to close that the application owes an answer to.
struct Request {
    int count = 0;     // requests seen in the queue
    u64 since = 0;     // of the newest; 0 when there is none
    u64 question = 0;  // the question that the user chose to wait for
};
Waiting LookAtQueue() {
    Waiting waiting;
    std::array<SDL_Event, 64> events;
    const int count = SDL_PeepEvents(events.data(), static_cast<int>(events.size()), SDL_PEEKEVENT,
                                     SDL_WINDOWEVENT, SDL_WINDOWEVENT);
    for (int i = 0; i < count; ++i) {
        const SDL_WindowEvent& event = events[static_cast<std::size_t>(i)].window;
        if (!IsGameWindow(event.windowID)) {
            continue;
        }
        if (event.event == SDL_WINDOWEVENT_CLOSE) {
            ++waiting.closeRequests;
        }
        if (event.event == SDL_WINDOWEVENT_EXPOSED) {
            waiting.exposed = true;
        }
    }
    waiting.closeRequests += SDL_PeepEvents(events.data(), static_cast<int>(events.size()),
                                            SDL_PEEKEVENT, SDL_QUIT, SDL_QUIT);
    if (quitRequest == QuitRequest::Made) {
        ++waiting.closeRequests;
    }
    return waiting;
}

u64 turnAtBox = 0;

bool IsTurningAgain() {
    return LastTurn() != turnAtBox;
}

// Work that never ends by itself asks whether it has been ended, and then the main thread ends the
// process in order. All else is ended from here.
void EndByForce() {
    forcedEnd = ForcedEnd::Wanted;
    UnlockGate();
    for (int i = 0; i < kLooksForMainThread && forcedEnd == ForcedEnd::Wanted; ++i) {
        std::this_thread::sleep_for(kLookForMainThread);
    }
    ForcedEnd wanted = ForcedEnd::Wanted;
    if (forcedEnd.compare_exchange_strong(wanted, ForcedEnd::Refused)) {
        desktopEvents.willEndByForce();
        _exit(1);
    }
    LockGate();
}

}  // namespace

bool EndIsForced() {
    // Whoever sends a signal does not look at a box.
    if (SignalHasWaitedLong()) {
        return true;
    }
    ForcedEnd wanted = ForcedEnd::Wanted;
    return forcedEnd.compare_exchange_strong(wanted, ForcedEnd::Taken);
}

namespace {

void OfferToEnd() {
    turnAtBox = LastTurn();
    const std::string name = GameWindowTitle()[0] != '\0' ? GameWindowTitle() : "MOXI";
    const BoxText text = {name,
                          name +
                              " does not answer.\nYou can wait until it does, or end it now, "
                              "which loses what it has not saved.",
                          {"Wait", "End"},
                          kWaitButton};
    if (ShowBox(text, IsTurningAgain) != kEndButton) {
        return;
    }
    SystemLog("ended by the user while it did not answer");
    EndByForce();
}

// How long ago it was. The main thread may have noted it down after `now` was read.
u64 Since(u64 time, u64 now) {
    return now > time ? now - time : 0;
}

// There is no window left to ask in. The application gets the same time to come back.
void WatchWithoutWindow(u64 now) {
    if (Since(DisplayLossTime(), now) < kPatienceNanoseconds ||
        Since(LastTurn(), now) < kPatienceNanoseconds) {
        return;
    }
    SystemLog("ended while it did not answer, with its window gone");
    desktopEvents.willEndByForce();
    _exit(1);
}

void Watch(Request& request) {
    const u64 now = Nanoseconds();
    // The main thread may be in a call that does not come back without a compositor.
    if (DisplayLoss() != Loss::None || NoteLostWayland()) {
        return WatchWithoutWindow(now);
    }
    if (Since(LastPumping(), now) < kBusyNanoseconds &&
        Since(LastTurn(), now) < kPatienceNanoseconds) {
        return;
    }
    if (!TryLockGate()) {
        return;  // the main thread is here itself, and well
    }
    SDL_PumpEvents();
    const Waiting waiting = LookAtQueue();
    if (waiting.exposed) {
        ShowViewFromOtherThread();
    }
    if (waiting.closeRequests < request.count) {
        request = {};  // they have been taken
    }
    if (waiting.closeRequests > request.count) {
        request = {waiting.closeRequests, now, 0};
    }
    const u64 question = QuestionSince();
    const bool isOverdue = request.since != 0 && Since(request.since, now) > kPatienceNanoseconds;
    const bool isStuck = question != 0 && question != request.question &&
                         Since(question, now) > kPatienceNanoseconds;
    if ((isOverdue || isStuck) && Since(LastTurn(), now) > kPatienceNanoseconds) {
        OfferToEnd();
        // The user will say when there is too much waiting: with another request to close.
        request.since = 0;
        request.question = question;
    }
    UnlockGate();
}

void RunWatchdog() {
    Request request;
    std::unique_lock lock(stopLock);
    while (!stopChange.wait_for(lock, kLookInterval, [] { return stopping.load(); })) {
        lock.unlock();
        Watch(request);
        lock.lock();
    }
}

}  // namespace

void StartWatchdog() {
    if (watchdog != nullptr) {
        return;
    }
    // Its first use must not come at the same time in two threads.
    FcInit();
    NoteTurn();
    stopping = false;
    watchdog = new std::thread(RunWatchdog);
}

void StopWatchdog() {
    if (watchdog == nullptr) {
        return;
    }
    {
        const std::lock_guard lock(stopLock);
        stopping = true;
    }
    stopChange.notify_all();
    watchdog->join();
    delete watchdog;
    watchdog = nullptr;
}

}  // namespace moxi
