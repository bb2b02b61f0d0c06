// Service group 9: the module's heap.

#include "sys/dispatch.h"
#include "sys/param.h"
#include "sys/services.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

void SysHeapGroup(u32 sub, u32 arguments) {
    switch (kHeapServices | sub) {
        case SYS_ALLOC: SetResult(AllocHeap(Argument(arguments, 0))); return;
        case SYS_FREE: FreeHeap(Argument(arguments, 0)); return;
        case SYS_LOCK: {
            // A lock taken through the service belongs to the caller of the module's small service
            // routine, not to that routine: 20 bytes up is where the caller's stack begins, so the
            // routine's own return does not release the lock.
            const u32 handle = Argument(arguments, 0);
            const u32 sp = Load<u32>(kHeaderSP);
            Store<u32>(kHeaderSP, sp + 20);
            const u32 address = LockHeap(handle);
            Store<u32>(kHeaderSP, sp);
            SetResult(address);
            return;
        }
        case SYS_UNLOCK: UnlockHeap(Argument(arguments, 0)); return;
        case SYS_BLOCK_ADDRESS: SetResult(GetHeapAdr(Argument(arguments, 0))); return;
        default: return;
    }
}

}  // namespace moxi
