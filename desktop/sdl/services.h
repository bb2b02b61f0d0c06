#pragma once
// Clipboard, cursor and the local time.

#include <optional>
#include <string>

#include "desktop/desktop.h"

namespace moxi {

std::optional<std::string> ClipboardText();
void SetClipboardText(const std::string& utf8);
void SetHandCursor(bool hand);
void FreeCursors();
DateTime LocalDateTime();

}  // namespace moxi
