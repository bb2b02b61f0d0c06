#pragma once
// Service group 8: settings files.

#include "base/types.h"

namespace moxi {

// 0 load, 1 save, 2 discard, 3 select section, 4 select key, 5 read number, 6 read string, 7 add
// section, 8 write raw value, 9 delete section, 10 delete key, 11 next section name, 12 clear,
// 13 at end of line, 14 append number, 15 append string, 16 read raw line; others are unknown
// commands.
void SysProfileGroup(u32 sub, u32 arguments);

}  // namespace moxi
