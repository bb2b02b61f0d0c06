#pragma once
// Texts that other programs have on the clipboard of an X server, of any size and in any number of
// pieces: SDL takes them only whole, and programs send large ones in pieces.

#include <optional>
#include <string>

struct xcb_connection_t;

namespace moxi {

// Main thread. The connection is used by nobody else while a text is taken.
void StartX11Clipboard(xcb_connection_t* connection);
void StopX11Clipboard();

// UTF-8. Nothing when there is no text, or when its owner is silent for a second or needs more than
// ten. `own` is set, and nothing given, when it belongs to the program with this X window. Others'
// texts are left alone unless `othersToo`.
std::optional<std::string> X11ClipboardText(unsigned long window, bool othersToo, bool& own);

}  // namespace moxi
