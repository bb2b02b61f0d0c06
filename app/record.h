#pragma once
// Writes the desktop events of a session as an event script that the headless desktop plays.

#include <string>

namespace moxi {

// Starts recording: from now on every desktop event is written before it is delivered, unless the
// program itself has caused it or it is a move that will be dropped. Played back, the script leads
// to the same messages. To be called after the rooms are wired and before the event loop. False
// when the file cannot be written.
bool StartRecording(const std::string& path);

// Completes the file; nothing when nothing is recorded.
void CloseRecording();

}  // namespace moxi
