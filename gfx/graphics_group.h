#pragma once
// Service group 5: the module's access to graphics.

#include "base/types.h"

namespace moxi {

// Runs a command of the group. Only the low eight bits of `sub` count; `arguments` is the address
// of the first argument. A command with a result leaves it in R14. A sub-command of 20 or more is
// reported and leaves R14 as it was.
void SysGraphicsGroup(u32 sub, u32 arguments);

}  // namespace moxi
