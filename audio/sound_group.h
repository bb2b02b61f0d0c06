#pragma once
// Group 6 of the module's services: sounds and music.

#include "base/types.h"

namespace moxi {

// The handler of the dispatcher. Unknown sub-commands (5 and above) do nothing.
void SysSoundGroup(u32 sub, u32 arguments);

}  // namespace moxi
