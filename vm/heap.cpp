#include "vm/heap.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "vm/diagnostics.h"
#include "vm/machine.h"

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

inline void Unlink(u32 handle) {
    HeapRecord& record = heapPtrs[handle];
    if (record.prev >= 0) {
        Record(record.prev).next = record.next;
    } else {
        Head(record.list) = record.next;
    }
    if (record.next >= 0) Record(record.next).prev = record.prev;
}

inline void PutAtHead(u32 handle, HeapList list) {
    HeapRecord& record = heapPtrs[handle];
    record.prev = -1;
    record.next = Head(list);
    record.list = list;
    if (record.next >= 0) Record(record.next).prev = static_cast<i32>(handle);
    Head(list) = static_cast<i32>(handle);
}

inline void MoveToList(u32 handle, HeapList list) {
    Unlink(handle);
    PutAtHead(handle, list);
}

[[noreturn]] void EndWithMessage(const char* text) {
    ShowFatalMessage(text);
    EndProcess(1);
}

// All freed records, then all allocated ones, in ascending address order. Each record belongs
// before the first one already placed whose offset is at least its own, so of equal offsets the
// one that came last stands first.
const std::vector<i32>& AddressOrder() {
    static std::vector<i32> order;
    order.clear();
    for (const HeapList list : {HeapList::Freed, HeapList::Allocated}) {
        for (i32 i = Head(list); i >= 0; i = Record(i).next) {
            Record(i).discard = list == HeapList::Freed ? 1 : 0;
            order.push_back(i);
        }
    }
    std::reverse(order.begin(), order.end());
    std::stable_sort(order.begin(), order.end(),
                     [](i32 a, i32 b) { return Record(a).offset < Record(b).offset; });
    i32 before = -1;
    for (const i32 i : order) {
        Record(i).sortPrev = before;
        Record(i).sortNext = -1;
        if (before >= 0) Record(before).sortNext = i;
        before = i;
    }
    return order;
}

}  // namespace

void InitHeapTable() {
    heapFree = heapStart;
    heapPointerCount = 0;
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
    const u64 reuseLimit = u64{size} + std::min(size, kReuseSlack);
    for (i32 i = Head(HeapList::Freed); i >= 0; i = Record(i).next) {
        if (size <= Record(i).size && Record(i).size < reuseLimit) {
            const u32 handle = static_cast<u32>(i);
            MoveToList(handle, HeapList::Allocated);
            heapPtrs[handle].requested = size;
            heapPtrs[handle].lockCount = 0;
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
    MoveToList(handle, HeapList::Allocated);
    HeapRecord& record = heapPtrs[handle];
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
    heapPtrs[handle].lockCount = 0;
    MoveToList(handle, HeapList::Freed);
}

u32 LockHeap(u32 handle) {
    if (handle >= kHeapHandles) {
        AppendDebugLog(
            FormatText("====== LockHeap(%d) FAILED! HPCNT=%d PC=0x%8.8X PCpreJSR=0x%8.8X\n",
                       static_cast<i32>(handle), static_cast<i32>(kHeapHandles),
                       Load<u32>(kHeaderPC), pcPreJsr));
        ShowFatalMessage("LockHeap() failed");
        return kNoHandle;
    }
    HeapRecord& record = heapPtrs[handle];
    if (record.lockCount == 0) {
        record.lockSP = Load<u32>(kHeaderSP);
        MoveToList(handle, HeapList::Locked);
    }
    ++record.lockCount;
    return record.offset;
}

void UnlockHeap(u32 handle) {
    if (handle >= kHeapHandles) {
        ShowFatalMessage("UnlockHeap() bad index");
        return;
    }
    HeapRecord& record = heapPtrs[handle];
    if (record.lockCount == 0) return;
    if (--record.lockCount == 0) {
        record.lockSP = 0;
        MoveToList(handle, HeapList::Allocated);
    }
}

u32 GetHeapAdr(u32 handle) {
    if (handle >= kHeapHandles) {
        AppendDebugLog(FormatText("====== GetHeapAdr(%d) FAILED! HPCNT=%d PC=0x%8.8X\n",
                                  static_cast<i32>(handle), static_cast<i32>(kHeapHandles),
                                  Load<u32>(kHeaderGetHeapAdrPC)));
        ShowFatalMessage("GetHeapAdr() failed");
        return kNoHandle;
    }
    return heapPtrs[handle].offset;
}

u8* LockHeapPtr(u32 handle) {
    ++heapPointerCount;
    return image + LockHeap(handle);
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
    const std::vector<i32>& order = AddressOrder();
    u32 p = order.empty() ? heapStart : Record(order.front()).offset;
    for (const i32 i : order) {
        HeapRecord& record = Record(i);
        if (record.discard != 0) {
            MoveToList(static_cast<u32>(i), HeapList::Unused);
            continue;
        }
        if (record.offset != p) {
            std::memmove(image + p, image + record.offset, record.size);
            record.offset = p;
        }
        p += record.size;
    }
    heapFree = p;
}
