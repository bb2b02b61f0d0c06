#pragma once
// The signals that ask a program to end, and those that must not end it.

namespace moxi {

// SIGTERM and SIGINT: the first asks the application to quit, as the menu's quit item does, and the
// application may refuse; the next one ends the process at once. With `patience` (seconds, 0 for
// none) the first ends it too when the application has not answered by then, profile and dumps
// written: without a window there is nobody who could be offered to wait.
// SIGPIPE is ignored: a sound server or a terminal that goes away is no reason to end.
// Processes that were started before, such as helpers, have the signals as they were.
void HandleSignals(unsigned patience);

// Starts the thread that ends the process then. A thread has the sandbox of the moment at which it
// begins, so main starts this one last.
void StartPatience();

// With a debugger a SIGINT stops the module first: it makes a `stopRequest`
// (kit/debugger/debugger.h), and only one that comes while there is one asks for the end.
void LetInterruptsStop();

}  // namespace moxi
