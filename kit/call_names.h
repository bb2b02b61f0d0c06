#pragma once
// What services and messages are called, for those who read about them.

#include <optional>
#include <string_view>

#include "base/types.h"

namespace moxi {

// The service of a command word (group << 8 | sub-command), as the documentation calls it; "" for a
// command that does not exist.
std::string_view ServiceName(u32 command);

// "MSG_TICK"; "" for a number without a name.
std::string_view MessageName(u32 command);

// The message of such a name.
std::optional<u32> MessageOfName(std::string_view name);

}  // namespace moxi
