#pragma once
// A request to quit, which a termination signal may make too. Both event loops look at it before
// each step and ask the application, as for the menu's quit item.

#include <atomic>

namespace moxi {

enum class QuitRequest : int {
    None,
    Made,           // the application has not been asked yet
    BeingAnswered,  // it is being asked
};

// Written by a signal handler, so it has to be free of locks.
inline constinit std::atomic<QuitRequest> quitRequest = QuitRequest::None;

// Whether a signal has made the request: whoever sends one does not wait for a player. Written
// before the request.
inline constinit std::atomic<bool> quitIsBySignal = false;

// A signal asks for the end, and has not been answered.
inline bool SignalIsWaiting() {
    return quitIsBySignal && quitRequest != QuitRequest::None;
}

// After the answer; a signal that came while it was given is a request of its own.
inline void NoteQuitAnswer() {
    QuitRequest answered = QuitRequest::BeingAnswered;
    if (quitRequest.compare_exchange_strong(answered, QuitRequest::None)) quitIsBySignal = false;
}

static_assert(std::atomic<QuitRequest>::is_always_lock_free);

}  // namespace moxi
