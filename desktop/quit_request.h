#pragma once
// The two requests to end, which an event loop looks at before each step. A request to quit comes
// from the user or from a termination signal; the application is asked as for the menu's quit item.
// A request to close asks the window.

#include <atomic>
#include <ctime>

#include "base/types.h"

namespace moxi {

enum class QuitRequest : int {
    None,
    Made,           // the application has not been asked yet
    BeingAnswered,  // it is being asked
};

// The request to quit. Written by a signal handler, so it has to be free of locks.
inline constinit std::atomic<QuitRequest> quitRequest = QuitRequest::None;

// The request to close the window: by its close button, or by the application. Main thread only.
inline constinit bool closeRequested = false;

// Whether a signal has made the request to quit. Who sends a signal does not wait for a player to
// answer. Set before the request itself.
inline constinit std::atomic<bool> quitIsBySignal = false;

// When the signal came, by SignalClock. Set before the request itself.
inline constinit std::atomic<u64> quitSignalTime = 0;

// Nanoseconds of the steady clock. May be called in a signal handler.
inline u64 SignalClock() {
    constexpr u64 kNanosecondsPerSecond = 1'000'000'000;
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);  // one of the calls that a signal handler may make
    return static_cast<u64>(now.tv_sec) * kNanosecondsPerSecond + static_cast<u64>(now.tv_nsec);
}

// Whether a signal asks for the end and has not been answered.
inline bool SignalIsWaiting() {
    return quitIsBySignal && quitRequest != QuitRequest::None;
}

// How long work that may be abandoned lets a signal wait for its answer.
constexpr u64 kSignalPatienceNanoseconds = 500'000'000;

// Whether such a signal has waited for at least that long.
inline bool SignalHasWaitedLong() {
    return SignalIsWaiting() && SignalClock() - quitSignalTime >= kSignalPatienceNanoseconds;
}

// To be called when the application has answered. A request that a signal made meanwhile stays: it
// is answered on its own.
inline void NoteQuitAnswer() {
    QuitRequest answered = QuitRequest::BeingAnswered;
    if (quitRequest.compare_exchange_strong(answered, QuitRequest::None)) {
        quitIsBySignal = false;
    }
}

static_assert(std::atomic<QuitRequest>::is_always_lock_free);
static_assert(std::atomic<u64>::is_always_lock_free);

}  // namespace moxi
