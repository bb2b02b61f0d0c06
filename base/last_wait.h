#pragma once
// A bound for calls of libraries that may never come back: a display server or a sound server that
// goes away in the middle of a conversation leaves some of them waiting for ever.

namespace moxi {

// From now on the process has so many seconds left. What is still running then is cut off, and the
// status is the process's. A second call takes the place of the first. Any thread, and from inside
// of a signal handler. Uses SIGALRM.
void EndAtTheLatest(unsigned seconds, int status);
// Does at once what is left for the last second.
[[noreturn]] void EndNow();

}  // namespace moxi
