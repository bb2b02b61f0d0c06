#pragma once
// What services and messages are called, for tables that people read.

#include <string_view>

#include "base/types.h"

// The service of a command word (group << 8 | sub-command), as the documentation calls it; "" for a
// command that does not exist.
std::string_view ServiceName(u32 command);

// "MSG_TICK"; "" for a number without a name.
std::string_view MessageName(u32 command);
