#pragma once
// Service group 0: files and folders.

#include "base/types.h"

namespace moxi {

// 0 open, 1 end of file, 2 read, 3 write, 4 seek, 5 delete, 6 make folder, 7 remove folder,
// 8 close, 9 size, 10 time, 11 find first, 12 find next, 13 end find, 14 base64, 15 move; others
// are unknown commands.
void SysFileGroup(u32 sub, u32 arguments);

}  // namespace moxi
