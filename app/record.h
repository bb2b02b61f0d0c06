#pragma once
// Writes the desktop events of a session as an event script that the headless desktop plays.

#include <string>

#include "desktop/events.h"

namespace moxi {

// Opens the file of the script; false when it cannot be written.
bool StartRecording(const std::string& path);

// The handlers, each writing its event before it is delivered, unless the program itself has caused
// it or it is a move that will be dropped. Played back, the script leads to the same messages. The
// handlers themselves when nothing is recorded.
DesktopEvents Recorded(const DesktopEvents& handlers);

// Completes the file; nothing when nothing is recorded.
void CloseRecording();

}  // namespace moxi
