#pragma once
// The signals that ask a program to end, and those that must not end it.

#include <atomic>

// SIGTERM and SIGINT: the first asks the application to quit, as the menu's quit item does, and the
// application may refuse; the next one ends the process at once. With `patience` (seconds, 0 for
// none) the first ends it too when the application has not answered by then: without a window there
// is nobody who could be offered to wait.
// SIGPIPE is ignored: a sound server or a terminal that goes away is no reason to end.
// To be called once desktop and helper processes have been started.
void HandleSignals(unsigned patience);

// With a debugger a SIGINT stops the module first: it sets this, and only one that comes while it
// is set asks for the end. The debugger sets it while it talks and takes it back when the module
// runs on.
inline constinit std::atomic<bool> stopRequest = false;
void LetInterruptsStop();

static_assert(std::atomic<bool>::is_always_lock_free);
