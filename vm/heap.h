#pragma once
// The module's heap: byte-exact blocks named by handles, carved upward from the heap's start and
// compacted after every message. The module holds handles; an address is valid until the next
// compaction.

#include "base/types.h"

namespace moxi {

constexpr u32 kHeapHandles = 65536;
constexpr u32 kNoHandle = 0xFFFFFFFF;

enum class HeapList : i32 { Unused = 0, Freed = 1, Allocated = 2, Locked = 3 };

struct HeapRecord {
    u32 offset;     // image address of the block
    u32 size;       // bytes that the block occupies
    u32 requested;  // bytes asked for by the AllocHeap that returned this handle
    i32 prev;       // in its list, -1 for none
    i32 next;
    HeapList list;
    u32 lockSP;  // the module's SP at the first lock, 0 when unlocked
    u32 lockCount;
    i32 sortPrev;  // in address order, during compaction
    i32 sortNext;
    u32 discard;  // 1 when compaction is to drop the block
};
static_assert(sizeof(HeapRecord) == 44);

extern HeapRecord heapPtrs[kHeapHandles];
extern i32 heapListHeads[4];  // by HeapList, -1 = empty
extern u32 heapFree;          // image address of the first byte never handed out
extern i32 heapPointerCount;  // host pointers into the heap

// Empties the heap: every handle unused, in ascending order; heapFree = heapStart.
void InitHeapTable();

// A block of `size` bytes (contents not cleared). Without a handle or room left the process ends
// with a fatal message.
u32 AllocHeap(u32 size);

// Any handle up to 65535 goes to the freed list, whatever its state; a higher one is reported.
void FreeHeap(u32 handle);

// Adds a lock and returns the block's address; 0xFFFFFFFF and a report for a bad handle.
u32 LockHeap(u32 handle);

// Takes a lock away; nothing when there is none; a report for a bad handle.
void UnlockHeap(u32 handle);

// The block's address without a lock; 0xFFFFFFFF and a report for a bad handle.
u32 GetHeapAdr(u32 handle);

// LockHeap and UnlockHeap for host code: while a pointer is out, AllocHeap and compaction refuse.
// LockHeapPtr returns image + address; the caller checks what it reaches with it (CheckedRange).
u8* LockHeapPtr(u32 handle);
void UnlockHeapPtr(u32 handle);

// Releases the first lock on the locked list that was taken below `newSP`. Called by RETURN.
void ReleaseFrameLocks(u32 newSP);

// Slides the live blocks down, in address order, and makes freed handles unused. Locks or host
// pointers left over end the process with a fatal message.
void CompactHeap();

}  // namespace moxi
