#pragma once
// A helper process that opens gamepads. The game's process may open no device of a person's input,
// for all keyboards lie beside the pads; it gets the open pads through a socket, also those that
// are connected later.

#include <string>

namespace moxi {

// Before there are threads and before anything is restricted. The helper calls `confine` for
// itself. Nothing when there is one already.
void StartPadHelper(void (*confine)());
// It ends when the connection does.
void StopPadHelper();

// The next pad, open for reading without waiting, which is the caller's to close; -1 when none has
// come, or there is no helper.
int TakePad();

// The helper's work, until the other end of the connection is closed: sends the files "event" and
// digits of the folder for which `isPad` holds, each once as long as it is there.
void HandOverPads(int connection, const std::string& folder, bool (*isPad)(int file));

}  // namespace moxi
