#pragma once
// Changing registers and memory from the debugger.

#include <string>
#include <string_view>

namespace moxi {

// "PLACE = VALUE[, VALUE...]". A place is a register or [ADDRESS]; `size` is one of b w l q f d, or
// 0 for a LONG. Returns what is wrong, or ""; nothing is changed when something is.
std::string SetPlace(std::string_view text, char size);

}  // namespace moxi
