// Random heap operations on the heap and on a model that follows its rules word for word, with the
// simplest of data structures: the tables, the lists and the bytes stay equal. MOXI_RANDOM_HEAPS
// sets how many heaps.

#include <cstdlib>
#include <cstring>
#include <list>
#include <string>
#include <vector>

#include "tests/support/random_program.h"
#include "tests/support/vm_fixture.h"
#include "vm/diagnostics.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kStart = 2048;
constexpr u32 kSize = 400000;

class HeapModel : public VmTest {};

struct ModelRecord {
    u32 offset = 0;
    u32 size = 0;
    u32 requested = 0;
    u32 lockSP = 0;
    u32 lockCount = 0;
};

struct Model {
    std::vector<ModelRecord> records = std::vector<ModelRecord>(kHeapHandles);
    std::list<u32> lists[4];  // head first: unused, freed, allocated, locked
    std::vector<u8> bytes;
    u32 free = kStart;
};

constexpr u32 kUnused = 0;
constexpr u32 kFreed = 1;
constexpr u32 kAllocated = 2;
constexpr u32 kLocked = 3;

u32 ListOf(const Model& m, u32 record) {
    for (u32 list = kFreed; list <= kLocked; ++list) {
        for (const u32 r : m.lists[list]) {
            if (r == record) {
                return list;
            }
        }
    }
    return kUnused;
}

void ToHead(Model& m, u32 record, u32 list) {
    m.lists[ListOf(m, record)].remove(record);
    m.lists[list].push_front(record);
}

u32 Alloc(Model& m, u32 size) {
    for (const u32 r : m.lists[kFreed]) {
        const u32 s = m.records[r].size;
        const u32 slack = size < 1024 ? size : 1024;
        if (s < size || s >= size + slack) {
            continue;
        }
        ToHead(m, r, kAllocated);
        m.records[r].requested = size;
        m.records[r].lockCount = 0;
        return r;
    }
    const u32 r = m.lists[kUnused].front();
    m.lists[kUnused].pop_front();
    m.lists[kAllocated].push_front(r);
    m.records[r].offset = m.free;
    m.records[r].size = m.records[r].requested = size;
    m.records[r].lockCount = 0;
    m.free += size;
    return r;
}

void Free(Model& m, u32 record) {
    m.records[record].lockCount = 0;
    ToHead(m, record, kFreed);
}

void Lock(Model& m, u32 record, u32 sp) {
    ModelRecord& r = m.records[record];
    if (r.lockCount == 0) {
        r.lockSP = sp;
        ToHead(m, record, kLocked);
    }
    ++r.lockCount;
}

void Unlock(Model& m, u32 record) {
    ModelRecord& r = m.records[record];
    if (r.lockCount == 0) {
        return;
    }
    if (--r.lockCount != 0) {
        return;
    }
    r.lockSP = 0;
    ToHead(m, record, kAllocated);
}

void ReleaseFrame(Model& m, u32 newSP) {
    for (const u32 record : m.lists[kLocked]) {
        ModelRecord& r = m.records[record];
        if (r.lockCount == 0 || r.lockSP >= newSP) {
            continue;
        }
        r.lockCount = 1;
        Unlock(m, record);
        return;  // the walk goes on along the allocated list, where nothing is locked
    }
}

void Compact(Model& m) {
    std::list<u32> order;
    std::vector<u32> inserted(m.lists[kFreed].begin(), m.lists[kFreed].end());
    const size_t freed = inserted.size();
    inserted.insert(inserted.end(), m.lists[kAllocated].begin(), m.lists[kAllocated].end());
    std::vector<bool> discard(kHeapHandles);
    for (size_t i = 0; i < inserted.size(); ++i) {
        discard[inserted[i]] = i < freed;
        auto at = order.begin();
        while (at != order.end() && m.records[*at].offset < m.records[inserted[i]].offset) {
            ++at;
        }
        order.insert(at, inserted[i]);
    }
    if (order.empty()) {
        m.free = kStart;
        return;
    }
    u32 p = m.records[order.front()].offset;
    for (const u32 record : order) {
        ModelRecord& r = m.records[record];
        if (discard[record]) {
            ToHead(m, record, kUnused);
            continue;
        }
        if (r.offset != p) {
            for (u32 i = 0; i < r.size; ++i) {
                m.bytes[p + i] = m.bytes[r.offset + i];
            }
            r.offset = p;
        }
        p += r.size;
    }
    m.free = p;
}

std::string CompareHeaps(const Model& m) {
    if (heapFree != m.free) {
        return FormatText("heapFree is %u, expected %u", heapFree, m.free);
    }
    for (u32 list = 0; list < 4; ++list) {
        i32 at = heapListHeads[list];
        i32 before = -1;
        u32 checked = 0;
        for (const u32 record : m.lists[list]) {
            // The tail of the unused list is never touched.
            if (list == kUnused && ++checked > 400) {
                break;
            }
            if (at != static_cast<i32>(record)) {
                return FormatText("list %u holds %d, expected %u", list, at, record);
            }
            const HeapRecord& r = heapPtrs[at];
            const ModelRecord& wanted = m.records[record];
            if (r.prev != before || static_cast<u32>(r.list) != list) {
                return FormatText("record %d: its links are wrong", at);
            }
            if (r.lockCount != wanted.lockCount || r.requested != wanted.requested ||
                r.offset != wanted.offset || r.size != wanted.size) {
                return FormatText(
                    "record %d: offset %u size %u requested %u locks %u, expected "
                    "%u %u %u %u",
                    at, r.offset, r.size, r.requested, r.lockCount, wanted.offset, wanted.size,
                    wanted.requested, wanted.lockCount);
            }
            if (r.lockCount != 0 && r.lockSP != wanted.lockSP) {
                return FormatText("record %d: lockSP is %u, expected %u", at, r.lockSP,
                                  wanted.lockSP);
            }
            before = at;
            at = r.next;
        }
        if (list != kUnused && at != -1) {
            return FormatText("list %u is too long", list);
        }
    }
    if (std::memcmp(image, m.bytes.data(), m.bytes.size()) != 0) {
        return "the bytes differ";
    }
    return "";
}

u32 AnyHandle(Random& random, u32 highest) {
    return random.OneIn(200) ? random.Below(600) : random.Below(highest + 1);
}

u32 RandomSize(Random& random) {
    switch (random.Below(6)) {
        case 0: return random.Below(3);
        case 1: return random.Between(900, 2200);
        default: return random.Below(200);
    }
}

}  // namespace

TEST_F(HeapModel, RandomOperationsLeaveTheHeapAsTheModelSays) {
    const char* const wish = std::getenv("MOXI_RANDOM_HEAPS");
    const u64 heaps = wish != nullptr ? std::strtoull(wish, nullptr, 10) : 60;
    for (u64 seed = 1; seed <= heaps; ++seed) {
        Random random(seed);
        MakeImage(kStart + kSize, 1024, kStart);
        Model m;
        for (u32 r = 0; r < kHeapHandles; ++r) {
            m.lists[kUnused].push_back(r);
        }
        m.bytes.assign(image, image + imageSize);
        AllocHeap(4);
        Alloc(m, 4);
        u32 highest = 0;
        for (u32 step = 0; step < 400; ++step) {
            const u32 sp = random.Between(1100, 2000);
            Store<u32>(160, sp);
            std::memcpy(&m.bytes[160], &sp, 4);
            const u32 choice = random.Below(100);
            if (choice < 45) {
                const u32 size = RandomSize(random);
                if (m.free + size > kStart + kSize) {
                    continue;
                }
                const u32 handle = Alloc(m, size);
                ASSERT_EQ(AllocHeap(size), handle) << "seed " << seed << " step " << step;
                const u32 offset = m.records[handle].offset;
                for (u32 i = 0; i < size; ++i) {
                    const u8 value = static_cast<u8>(random.Next());
                    Store<u8>(offset + i, value);
                    m.bytes[offset + i] = value;
                }
                if (handle > highest) {
                    highest = handle;
                }
            } else if (choice < 72) {
                // Handle 0 stays, but for a rare module that frees it or one never handed out.
                u32 handle = AnyHandle(random, highest);
                if (handle == 0 && !random.OneIn(5)) {
                    handle = highest;
                }
                if (ListOf(m, handle) == kUnused && !random.OneIn(20)) {
                    continue;
                }
                FreeHeap(handle);
                Free(m, handle);
            } else if (choice < 82) {
                const u32 handle = AnyHandle(random, highest);
                if (ListOf(m, handle) == kUnused && !random.OneIn(5)) {
                    continue;
                }
                LockHeap(handle);
                Lock(m, handle, sp);
            } else if (choice < 90) {
                const u32 handle = AnyHandle(random, highest);
                UnlockHeap(handle);
                Unlock(m, handle);
            } else if (choice < 95) {
                ReleaseFrameLocks(sp + 300);
                ReleaseFrame(m, sp + 300);
            } else {
                while (!m.lists[kLocked].empty()) {
                    ReleaseFrameLocks(0xFFFFFFFF);
                    ReleaseFrame(m, 0xFFFFFFFF);
                }
                CompactHeap();
                Compact(m);
            }
            const std::string difference = CompareHeaps(m);
            ASSERT_EQ(difference, "") << "seed " << seed << " step " << step;
        }
    }
}

}  // namespace moxi
