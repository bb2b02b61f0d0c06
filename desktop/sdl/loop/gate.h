#pragma once
// Who may call SDL. The main thread holds the gate while it is inside the desktop and leaves it
// while a handler of the application runs, so that the watchdog can keep the window alive when a
// handler takes seconds. Nothing is locked while the gate is not contended but one mutex.

#include <utility>

namespace moxi {

// Main thread only. Nesting is counted by the objects below, not here.
bool EnterGate();             // false: the main thread was inside already
void LeaveGate();             // the main thread is inside
bool MainThreadIsInside();    // main thread only
void BindGateToMainThread();  // start-up: the calling thread is the main thread, and inside
bool IsMainThread();          // any thread

// The watchdog's side: true when the main thread is outside; then UnlockGate must follow.
bool TryLockGate();
void LockGate();
void UnlockGate();

// For the functions of the desktop record.
struct InsideDesktop {
    InsideDesktop() : entered(EnterGate()) {}
    ~InsideDesktop() {
        if (entered) {
            LeaveGate();
        }
    }
    InsideDesktop(const InsideDesktop&) = delete;
    InsideDesktop& operator=(const InsideDesktop&) = delete;
    bool entered;
};

// For calls of the application's handlers.
struct OutsideDesktop {
    OutsideDesktop() : left(MainThreadIsInside()) {
        if (left) {
            LeaveGate();
        }
    }
    ~OutsideDesktop() {
        if (left) {
            EnterGate();
        }
    }
    OutsideDesktop(const OutsideDesktop&) = delete;
    OutsideDesktop& operator=(const OutsideDesktop&) = delete;
    bool left;
};

// Calls one of desktopEvents' handlers (or any other code of the application).
template <class R, class... P, class... A>
R Tell(R (*handler)(P...), A&&... arguments) {
    const OutsideDesktop outside;
    return handler(std::forward<A>(arguments)...);
}

}  // namespace moxi
