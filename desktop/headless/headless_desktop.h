#pragma once
// The desktop without a screen: no window, no sound device, virtual time, events from a script.
// It is the same host with another desktop under it, so everything that a game can see happens as
// on a real one, and the same on every run.

#include <optional>
#include <string>
#include <vector>

#include "desktop/desktop.h"
#include "desktop/headless/script.h"

namespace moxi {

struct HeadlessOptions {
    std::vector<ViewSize> screens = {{1920, 1080}};  // side by side, the main screen first
    std::vector<ScriptEvent> script;
    std::optional<u64> runMilliseconds;  // length of the run; else to 1,000 ms after the last event
    std::optional<DateTime> date;        // local date and time at virtual time 0; else the real one
};

// Fills the desktop record with the headless desktop, and starts it anew. Virtual time is 0 when
// the event loop delivers the launch.
void StartHeadlessDesktop(const HeadlessOptions& options);

}  // namespace moxi
