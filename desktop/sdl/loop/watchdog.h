#pragma once

namespace moxi {

// A thread that keeps the window alive while a handler of the application, and with it the main
// thread, is busy for long: it takes the desktop's events off the wire, so that the desktop does
// not think the program dead, and keeps them for the main thread. And when the application has not
// answered a request to close for five seconds, it lets the user wait on or end the program.
//
// An application that returns from its handlers in good time never notices.

void StartWatchdog();  // main thread; nothing when it runs already
void StopWatchdog();   // main thread, outside the gate

// Function of the desktop record: true once the user has chosen to end the program.
bool EndIsForced();

}  // namespace moxi
