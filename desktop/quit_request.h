#pragma once
// Requests to end, which an event loop looks at before each step: to quit, which a termination
// signal may make too and for which the application is asked as for the menu's quit item, and to
// close the window.

#include <atomic>
#include <ctime>

#include "base/types.h"

namespace moxi {

enum class QuitRequest : int {
    None,
    Made,           // the application has not been asked yet
    BeingAnswered,  // it is being asked
};

// Written by a signal handler, so it has to be free of locks.
inline constinit std::atomic<QuitRequest> quitRequest = QuitRequest::None;

// The close button, or the application's own wish. Main thread.
inline constinit bool closeRequested = false;

// Whether a signal has made the request: whoever sends one does not wait for a player. Written
// before the request.
inline constinit std::atomic<bool> quitIsBySignal = false;

// When it did, in nanoseconds of the steady clock. Written before the request.
inline constinit std::atomic<u64> quitSignalTime = 0;

inline u64 SignalClock() {
    constexpr u64 kNanosecondsPerSecond = 1'000'000'000;
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);  // a signal handler may do that
    return static_cast<u64>(now.tv_sec) * kNanosecondsPerSecond + static_cast<u64>(now.tv_nsec);
}

// A signal asks for the end, and has not been answered.
inline bool SignalIsWaiting() {
    return quitIsBySignal && quitRequest != QuitRequest::None;
}

// How long work that may be abandoned lets a signal wait for its answer.
constexpr u64 kSignalPatienceNanoseconds = 500'000'000;

inline bool SignalHasWaitedLong() {
    return SignalIsWaiting() && SignalClock() - quitSignalTime >= kSignalPatienceNanoseconds;
}

// After the answer; a signal that came while it was given is a request of its own.
inline void NoteQuitAnswer() {
    QuitRequest answered = QuitRequest::BeingAnswered;
    if (quitRequest.compare_exchange_strong(answered, QuitRequest::None)) {
        quitIsBySignal = false;
    }
}

static_assert(std::atomic<QuitRequest>::is_always_lock_free);
static_assert(std::atomic<u64>::is_always_lock_free);

}  // namespace moxi
