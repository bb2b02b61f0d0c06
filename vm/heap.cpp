#include "vm/heap.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "vm/diagnostics.h"
#include "vm/machine.h"

namespace moxi {

constinit HeapRecord heapPtrs[kHeapHandles] = {};
constinit i32 heapListHeads[4] = {-1, -1, -1, -1};
constinit u32 heapFree = 0;
constinit i32 heapPointerCount = 0;

namespace {

// A freed block may be this much larger than the request, at most the request's own size.
constexpr u32 kReuseSlack = 1024;

HeapRecord& Record(i32 handle) {
    return heapPtrs[static_cast<u32>(handle)];
}

i32& Head(HeapList list) {
    return heapListHeads[static_cast<i32>(list)];
}

// Takes a record, whose handle is given as well, out of its list and puts it at the head of
// another.
[[gnu::always_inline]] inline void MoveToList(HeapRecord& record, u32 handle, HeapList list) {
    const i32 prev = record.prev;
    const i32 next = record.next;
    if (prev >= 0) {
        Record(prev).next = next;
    } else {
        Head(record.list) = next;
    }
    if (next >= 0) {
        Record(next).prev = prev;
    }
    const i32 head = Head(list);
    record.prev = -1;
    record.next = head;
    record.list = list;
    if (head >= 0) {
        Record(head).prev = static_cast<i32>(handle);
    }
    Head(list) = static_cast<i32>(handle);
}

[[noreturn]] void EndWithMessage(const char* text) {
    ShowFatalMessage(text);
    EndProcess(1);
}

// What refuses a handle stands apart: texts need a frame with a guard on the stack, which every
// lock of a bitmap would pay for.
[[gnu::cold, gnu::noinline]] u32 RefuseLock(u32 handle) {
    AppendDebugLog(FormatText("====== LockHeap(%d) FAILED! HPCNT=%d PC=0x%8.8X PCpreJSR=0x%8.8X\n",
                              static_cast<i32>(handle), static_cast<i32>(kHeapHandles),
                              Load<u32>(kHeaderPC), pcPreJsr));
    ShowFatalMessage("LockHeap() failed");
    return kNoHandle;
}

[[gnu::cold, gnu::noinline]] u32 RefuseAddress(u32 handle) {
    AppendDebugLog(FormatText("====== GetHeapAdr(%d) FAILED! HPCNT=%d PC=0x%8.8X\n",
                              static_cast<i32>(handle), static_cast<i32>(kHeapHandles),
                              Load<u32>(kHeaderGetHeapAdrPC)));
    ShowFatalMessage("GetHeapAdr() failed");
    return kNoHandle;
}

// Whether compaction may find something to do. As long as no block is freed and no lock brings an
// unused record's old block back, the blocks fill the heap from the lowest one up to heapFree
// without a gap. An empty block, however, can change places with its neighbour, since their order
// also depends on which was unlocked last.
constinit bool compactionIsDue = false;

// Freed and allocated records in ascending address order. Each one belongs, the freed ones first,
// before the first already placed whose offset is at least its own, so of equal offsets the one
// that came last stands first.
const std::vector<i32>& AddressOrder() {
    static std::vector<u64> keys;
    static std::vector<i32> order;
    keys.clear();
    u32 later = kHeapHandles;
    for (const HeapList list : {HeapList::Freed, HeapList::Allocated}) {
        const auto middle = static_cast<i64>(keys.size());
        for (i32 i = Head(list); i >= 0; i = Record(i).next) {
            Record(i).discard = list == HeapList::Freed ? 1 : 0;
            keys.push_back(u64{Record(i).offset} << 32 | --later << 16 | static_cast<u32>(i));
        }
        // The newest stands first in its list, so mostly they are in order the other way round.
        std::reverse(keys.begin() + middle, keys.end());
        if (!std::is_sorted(keys.begin() + middle, keys.end())) {
            std::sort(keys.begin() + middle, keys.end());
        }
        std::inplace_merge(keys.begin(), keys.begin() + middle, keys.end());
    }
    order.resize(keys.size());
    std::transform(keys.begin(), keys.end(), order.begin(),
                   [](u64 key) { return static_cast<i32>(key & 0xFFFF); });
    return order;
}

// Neighbours that move down by the same distance, as one block.
struct Slide {
    u32 from = 0;
    u32 to = 0;
    u32 size = 0;
};

// Copies as a loop from the lowest byte to the highest does. Upward into its own range that repeats
// the `distance` bytes below the destination again and again.
void CopyAscending(u32 to, u32 from, u32 size) {
    const u8* const source = CheckedRange(from, size);
    u8* const destination = CheckedRange(to, size);
    const u32 distance = to - from;
    if (to <= from || distance >= size) {
        std::memmove(destination, source, size);
        return;
    }
    // What lies between source and destination's end repeats already, and doubles with each copy.
    for (u32 copied = 0; copied < size;) {
        const u32 step = std::min(distance + copied, size - copied);
        std::memcpy(destination + copied, source, step);
        copied += step;
    }
}

void Finish(Slide& slide) {
    if (slide.size != 0) {
        CopyAscending(slide.to, slide.from, slide.size);
    }
    slide.size = 0;
}

// Out of line: what it keeps on the stack is nothing that a message without work has to set up.
[[gnu::noinline]] void SlideBlocks() {
    const std::vector<i32>& order = AddressOrder();
    u32 p = order.empty() ? heapStart : Record(order.front()).offset;
    Slide slide;
    i32 before = -1;
    compactionIsDue = false;
    for (const i32 i : order) {
        HeapRecord& record = Record(i);
        record.sortPrev = before;
        record.sortNext = -1;
        if (before >= 0) {
            Record(before).sortNext = i;
        }
        before = i;
        if (record.discard != 0) {
            MoveToList(record, static_cast<u32>(i), HeapList::Unused);
            continue;
        }
        if (record.offset != p) {
            // Blocks overlap where a module has freed or locked handles that it did not have; there
            // a block can even move up, and only one after the other gives what each expects.
            const bool goesOn = record.offset > p && slide.from > slide.to &&
                                slide.from + slide.size == record.offset &&
                                slide.to + slide.size == p;
            if (!goesOn) {
                Finish(slide);
                slide = {record.offset, p, 0};
            }
            slide.size += record.size;
            record.offset = p;
        }
        p += record.size;
        if (record.size == 0) {
            compactionIsDue = true;
        }
    }
    Finish(slide);
    heapFree = p;
}

}  // namespace

void InitHeapTable() {
    heapFree = heapStart;
    heapPointerCount = 0;
    compactionIsDue = false;
    std::memset(static_cast<void*>(heapPtrs), 0, sizeof heapPtrs);
    std::fill(std::begin(heapListHeads), std::end(heapListHeads), -1);
    for (u32 i = 0; i < kHeapHandles; ++i) {
        heapPtrs[i].prev = static_cast<i32>(i) - 1;
        heapPtrs[i].next = i + 1 < kHeapHandles ? static_cast<i32>(i) + 1 : -1;
    }
    Head(HeapList::Unused) = 0;
}

u32 AllocHeap(u32 size) {
    if (heapPointerCount != 0) {
        EndWithMessage("Hey, Dummy! You can't AllocHeap() while you have a pointer INTO the Heap!");
    }
    if (size == 0) {
        compactionIsDue = true;
    }
    const u64 reuseLimit = u64{size} + std::min(size, kReuseSlack);
    for (i32 i = Head(HeapList::Freed); i >= 0; i = Record(i).next) {
        if (size <= Record(i).size && Record(i).size < reuseLimit) {
            const u32 handle = static_cast<u32>(i);
            HeapRecord& record = heapPtrs[handle];
            MoveToList(record, handle, HeapList::Allocated);
            record.requested = size;
            record.lockCount = 0;
            return handle;
        }
    }
    if (Head(HeapList::Unused) < 0) {
        EndWithMessage("Terminating: insufficient HeapPtrs. So sorry.");
    }
    if (heapStart + heapSize - heapFree < size) {
        EndWithMessage("Terminating: insufficient Heap space. So sorry.");
    }
    const u32 handle = static_cast<u32>(Head(HeapList::Unused));
    HeapRecord& record = heapPtrs[handle];
    MoveToList(record, handle, HeapList::Allocated);
    record.offset = heapFree;
    record.size = record.requested = size;
    record.lockCount = 0;
    heapFree += size;
    return handle;
}

void FreeHeap(u32 handle) {
    if (handle >= kHeapHandles) {
        AppendDebugLog(FormatText("====== FreeHeap(%d) FAILED! HPCNT=%d PC=0x%8.8X\n",
                                  static_cast<i32>(handle), static_cast<i32>(kHeapHandles),
                                  Load<u32>(kHeaderFreeHeapPC)));
        ShowFatalMessage("FreeHeap() failed");
        return;
    }
    HeapRecord& record = heapPtrs[handle];
    record.lockCount = 0;
    MoveToList(record, handle, HeapList::Freed);
    compactionIsDue = true;
}

// Every blit locks four blocks, by the function for pointers, so that this one is part of it.
[[gnu::always_inline]] static inline u32 Lock(u32 handle) {
    if (handle >= kHeapHandles) {
        return RefuseLock(handle);
    }
    HeapRecord& record = heapPtrs[handle];
    if (record.lockCount == 0) {
        if (record.list == HeapList::Unused) {
            compactionIsDue = true;
        }
        record.lockSP = Load<u32>(kHeaderSP);
        MoveToList(record, handle, HeapList::Locked);
    }
    ++record.lockCount;
    return record.offset;
}

u32 LockHeap(u32 handle) {
    return Lock(handle);
}

void UnlockHeap(u32 handle) {
    if (handle >= kHeapHandles) {
        ShowFatalMessage("UnlockHeap() bad index");
        return;
    }
    HeapRecord& record = heapPtrs[handle];
    if (record.lockCount == 0) {
        return;
    }
    if (--record.lockCount == 0) {
        record.lockSP = 0;
        MoveToList(record, handle, HeapList::Allocated);
    }
}

u32 GetHeapAdr(u32 handle) {
    if (handle >= kHeapHandles) {
        return RefuseAddress(handle);
    }
    return heapPtrs[handle].offset;
}

u8* LockHeapPtr(u32 handle) {
    ++heapPointerCount;
    return image + Lock(handle);
}

void UnlockHeapPtr(u32 handle) {
    --heapPointerCount;
    UnlockHeap(handle);
}

void ReleaseFrameLocks(u32 newSP) {
    for (i32 i = Head(HeapList::Locked); i >= 0; i = Record(i).next) {
        if (Record(i).lockCount != 0 && Record(i).lockSP < newSP) {
            // The unlock moves the record to the allocated list, and the walk goes on from its
            // successor there, where nothing is locked: one return releases one block.
            Record(i).lockCount = 1;
            UnlockHeap(static_cast<u32>(i));
            return;
        }
    }
}

void CompactHeap() {
    if (heapPointerCount != 0 || Head(HeapList::Locked) >= 0) {
        EndWithMessage(
            "Hey, Dummy! You shouldn't have left blocks locked when CompactHeap() needs to run!");
    }
    if (compactionIsDue || Head(HeapList::Allocated) < 0) {
        SlideBlocks();
    }
}

}  // namespace moxi
