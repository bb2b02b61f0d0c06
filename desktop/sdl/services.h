#pragma once
// Clipboard and cursor.

#include <optional>
#include <string>

#include "base/types.h"

namespace moxi {

std::optional<std::string> ClipboardText();
void SetClipboardText(const std::string& utf8);
void SetHandCursor(bool hand);
void FreeCursors();

}  // namespace moxi
