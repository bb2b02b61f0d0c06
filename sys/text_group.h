#pragma once
// Service group 3: strings, bytes and formatted text.

#include "base/types.h"

namespace moxi {

// 0 formatted append, 1 copy string, 2 append string, 3 length, 4 compare, 5 upper-case, 10 copy
// bytes, 11 move bytes, 12 fill bytes, 13 compare bytes, 14 debug print; others are unknown
// commands.
void SysTextGroup(u32 sub, u32 arguments);

}  // namespace moxi
