#pragma once
// Service group 9: the module's heap.

#include "base/types.h"

namespace moxi {

// 0 AllocHeap, 1 FreeHeap, 2 LockHeap, 3 UnlockHeap, 4 GetHeapAdr; other sub-commands are ignored.
void SysHeapGroup(u32 sub, u32 arguments);

}  // namespace moxi
