// The heap: the fit rule, locks, compaction, its messages and log lines.

#include "vm/heap.h"

#include <string>
#include <vector>

#include "tests/support/vm_fixture.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/slots.h"

namespace moxi {

namespace {

constexpr u32 kStart = 4096;
constexpr u32 kSize = 65536;

class Heap : public VmTest {
  protected:
    void SetUp() override {
        StartVmBench();
        MakeImage(kStart + kSize, 2048, kStart);
    }
    const StandardError quiet{true};
};

std::vector<i32> ListFromHead(HeapList list) {
    std::vector<i32> records;
    for (i32 r = heapListHeads[static_cast<i32>(list)]; r != -1; r = heapPtrs[r].next) {
        records.push_back(r);
    }
    return records;
}

// Every list is linked both ways, holds only its own records, and no record is in two.
void ExpectSoundLists() {
    u32 records = 0;
    for (const HeapList list :
         {HeapList::Unused, HeapList::Freed, HeapList::Allocated, HeapList::Locked}) {
        i32 before = -1;
        for (i32 r = heapListHeads[static_cast<i32>(list)]; r != -1; r = heapPtrs[r].next) {
            ASSERT_EQ(heapPtrs[r].prev, before) << "record " << r;
            ASSERT_EQ(heapPtrs[r].list, list) << "record " << r;
            before = r;
            ++records;
        }
    }
    EXPECT_EQ(records, kHeapHandles);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// The table

TEST_F(Heap, ANewTableChainsAll65536HandlesInAscendingOrderOnTheUnusedList) {
    EXPECT_EQ(heapFree, kStart);
    EXPECT_EQ(heapListHeads[0], 0);
    EXPECT_EQ(heapListHeads[1], -1);
    EXPECT_EQ(heapListHeads[2], -1);
    EXPECT_EQ(heapListHeads[3], -1);
    EXPECT_EQ(heapPtrs[0].prev, -1);
    EXPECT_EQ(heapPtrs[0].next, 1);
    EXPECT_EQ(heapPtrs[500].prev, 499);
    EXPECT_EQ(heapPtrs[500].next, 501);
    EXPECT_EQ(heapPtrs[65535].prev, 65534);
    EXPECT_EQ(heapPtrs[65535].next, -1);
    EXPECT_EQ(heapPtrs[500].offset, 0u);
    ExpectSoundLists();
}

TEST_F(Heap, ResettingTheTableForgetsEverything) {
    LockHeap(AllocHeap(10));
    FreeHeap(AllocHeap(20));
    InitHeapTable();
    EXPECT_EQ(heapFree, kStart);
    EXPECT_EQ(heapPtrs[0].lockCount, 0u);
    EXPECT_EQ(heapPtrs[0].lockSP, 0u);
    EXPECT_EQ(heapPtrs[1].size, 0u);
    EXPECT_EQ(AllocHeap(1), 0u);
    ExpectSoundLists();
}

// ---------------------------------------------------------------------------------------------
// Allocation

TEST_F(Heap, BlocksAreCarvedUpwardWithoutRoundingAndGoToTheHeadOfTheAllocatedList) {
    EXPECT_EQ(AllocHeap(4), 0u);
    EXPECT_EQ(AllocHeap(3), 1u);
    EXPECT_EQ(AllocHeap(0), 2u);
    EXPECT_EQ(AllocHeap(100), 3u);
    EXPECT_EQ(heapPtrs[0].offset, 4096u);
    EXPECT_EQ(heapPtrs[1].offset, 4100u);
    EXPECT_EQ(heapPtrs[2].offset, 4103u);
    EXPECT_EQ(heapPtrs[3].offset, 4103u);
    EXPECT_EQ(heapPtrs[3].size, 100u);
    EXPECT_EQ(heapPtrs[3].requested, 100u);
    EXPECT_EQ(heapPtrs[3].list, HeapList::Allocated);
    EXPECT_EQ(heapFree, 4203u);
    EXPECT_EQ(ListFromHead(HeapList::Allocated), (std::vector<i32>{3, 2, 1, 0}));
    ExpectSoundLists();
}

TEST_F(Heap, AFreedBlockOf100IsReusedFor60ButNotFor40) {
    const u32 block = AllocHeap(100);
    AllocHeap(10);
    FreeHeap(block);
    EXPECT_NE(AllocHeap(40), block);  // 100 >= 80
    EXPECT_EQ(AllocHeap(60), block);  // 60 <= 100 < 120
    EXPECT_EQ(heapPtrs[block].offset, kStart);
    EXPECT_EQ(heapPtrs[block].size, 100u);
    EXPECT_EQ(heapPtrs[block].requested, 60u);
}

TEST_F(Heap, AFreedBlockOf3000IsReusedFor2000) {
    const u32 block = AllocHeap(3000);
    FreeHeap(block);
    EXPECT_EQ(AllocHeap(2000), block);  // 3000 < 2000 + 1024
}

TEST_F(Heap, TheFitIsExact) {
    // {block, request, fits}: request <= block < request + min(request, 1024)
    struct Fit {
        u32 block;
        u32 request;
        bool fits;
    };
    const Fit fits[] = {{100, 100, true},    {100, 101, false},   {100, 51, true},
                        {100, 50, false},    {3023, 2000, true},  {3024, 2000, false},
                        {2047, 1024, true},  {2048, 1024, false}, {2045, 1023, true},
                        {2046, 1023, false}, {1, 1, true},        {0, 0, false},
                        {1, 0, false}};
    for (const Fit& fit : fits) {
        InitHeapTable();
        const u32 block = AllocHeap(fit.block);
        FreeHeap(block);
        EXPECT_EQ(AllocHeap(fit.request) == block, fit.fits) << fit.request << " in " << fit.block;
    }
}

TEST_F(Heap, TheFitNearTheLargestSizesDoesNotOverflow) {
    // 0xFFFFFFFF + 1024 needs more than 32 bits; the block of 100 is too small all the same.
    FreeHeap(AllocHeap(100));
    EXPECT_EQ(EndStatus([] { AllocHeap(0xFFFFFFFF); }), 1);
    EXPECT_EQ(vmEvents.messages,
              std::vector<std::string>{"Terminating: insufficient Heap space. So sorry."});
}

TEST_F(Heap, TheFirstFitFromTheHeadOfTheFreedListIsTaken) {
    const u32 a = AllocHeap(100);
    const u32 b = AllocHeap(90);
    const u32 c = AllocHeap(95);
    FreeHeap(b);
    FreeHeap(a);
    FreeHeap(c);
    EXPECT_EQ(ListFromHead(HeapList::Freed), (std::vector<i32>{2, 0, 1}));
    EXPECT_EQ(AllocHeap(80), c);  // the last freed stands at the head
    EXPECT_EQ(AllocHeap(92), a);
    EXPECT_EQ(AllocHeap(80), b);
    ExpectSoundLists();
}

TEST_F(Heap, ReuseTakesTheLockCountBackToZero) {
    const u32 a = AllocHeap(100);
    LockHeap(a);
    LockHeap(a);
    FreeHeap(a);
    EXPECT_EQ(heapPtrs[a].lockCount, 0u);
    EXPECT_EQ(heapPtrs[a].list, HeapList::Freed);
    EXPECT_EQ(AllocHeap(100), a);
    EXPECT_EQ(heapPtrs[a].lockCount, 0u);
    EXPECT_EQ(heapPtrs[a].list, HeapList::Allocated);
    ExpectSoundLists();
}

TEST_F(Heap, TheLastByteCanBeAllocatedAndNoMore) {
    EXPECT_EQ(AllocHeap(kSize), 0u);
    EXPECT_EQ(heapFree, kStart + kSize);
    EXPECT_EQ(AllocHeap(0), 1u);
    EXPECT_EQ(EndStatus([] { AllocHeap(1); }), 1);
    EXPECT_EQ(vmEvents.messages,
              std::vector<std::string>{"Terminating: insufficient Heap space. So sorry."});
}

TEST_F(Heap, ThereIsNoCompactionOnDemand) {
    FreeHeap(AllocHeap(kSize));
    EXPECT_EQ(EndStatus([] { AllocHeap(100); }), 1);
}

TEST_F(Heap, WithoutAnUnusedHandleTheProcessEnds) {
    for (u32 i = 0; i < kHeapHandles; ++i) {
        ASSERT_EQ(AllocHeap(0), i);
    }
    EXPECT_EQ(EndStatus([] { AllocHeap(0); }), 1);
    EXPECT_EQ(vmEvents.messages,
              std::vector<std::string>{"Terminating: insufficient HeapPtrs. So sorry."});
}

TEST_F(Heap, AFreedBlockThatFitsIsReusedEvenWithoutAnUnusedHandle) {
    for (u32 i = 0; i < kHeapHandles; ++i) {
        AllocHeap(1);
    }
    FreeHeap(777);
    EXPECT_EQ(AllocHeap(1), 777u);
}

TEST_F(Heap, MissingHandlesAreReportedBeforeMissingRoom) {
    for (u32 i = 0; i < kHeapHandles; ++i) {
        AllocHeap(1);  // 65536 bytes: no room either
    }
    EXPECT_EQ(EndStatus([] { AllocHeap(1); }), 1);
    EXPECT_EQ(vmEvents.messages,
              std::vector<std::string>{"Terminating: insufficient HeapPtrs. So sorry."});
}

TEST_F(Heap, AllocHeapWhileAHostPointerIsOutEndsTheProcess) {
    const u32 block = AllocHeap(10);
    EXPECT_EQ(LockHeapPtr(block), image + kStart);
    EXPECT_EQ(heapPointerCount, 1);
    EXPECT_EQ(heapPtrs[block].list, HeapList::Locked);
    EXPECT_EQ(EndStatus([] { AllocHeap(10); }), 1);
    EXPECT_EQ(vmEvents.messages,
              std::vector<std::string>{"Hey, Dummy! You can't AllocHeap() while you have a pointer "
                                       "INTO the Heap!"});
    UnlockHeapPtr(block);
    EXPECT_EQ(heapPointerCount, 0);
    EXPECT_EQ(heapPtrs[block].list, HeapList::Allocated);
    EXPECT_EQ(AllocHeap(10), 1u);
}

// ---------------------------------------------------------------------------------------------
// Locks

TEST_F(Heap, TheFirstLockRecordsTheHeadersSpAndMovesTheBlockToTheLockedList) {
    const u32 a = AllocHeap(10);
    const u32 b = AllocHeap(10);
    Store<u32>(160, 3000);
    EXPECT_EQ(LockHeap(a), kStart);
    EXPECT_EQ(LockHeap(b), kStart + 10);
    Store<u32>(160, 2900);
    EXPECT_EQ(LockHeap(a), kStart);
    EXPECT_EQ(heapPtrs[a].lockSP, 3000u);
    EXPECT_EQ(heapPtrs[a].lockCount, 2u);
    EXPECT_EQ(ListFromHead(HeapList::Locked), (std::vector<i32>{1, 0}));
    UnlockHeap(a);
    EXPECT_EQ(heapPtrs[a].lockSP, 3000u);
    EXPECT_EQ(heapPtrs[a].list, HeapList::Locked);
    UnlockHeap(a);
    EXPECT_EQ(heapPtrs[a].lockSP, 0u);
    EXPECT_EQ(ListFromHead(HeapList::Locked), (std::vector<i32>{1}));
    EXPECT_EQ(ListFromHead(HeapList::Allocated), (std::vector<i32>{0}));
    ExpectSoundLists();
}

TEST_F(Heap, UnlockingAnUnlockedBlockDoesNothing) {
    const u32 a = AllocHeap(10);
    const u32 b = AllocHeap(10);
    UnlockHeap(a);
    UnlockHeap(40000);  // never used
    EXPECT_EQ(ListFromHead(HeapList::Allocated),
              (std::vector<i32>{static_cast<i32>(b), static_cast<i32>(a)}));
    EXPECT_EQ(heapPtrs[40000].list, HeapList::Unused);
    EXPECT_TRUE(vmEvents.messages.empty());
    ExpectSoundLists();
}

TEST_F(Heap, GetHeapAdrGivesTheAddressWithoutALockWhateverTheState) {
    AllocHeap(7);
    const u32 a = AllocHeap(10);
    EXPECT_EQ(GetHeapAdr(a), kStart + 7);
    EXPECT_EQ(heapPtrs[a].lockCount, 0u);
    FreeHeap(a);
    EXPECT_EQ(GetHeapAdr(a), kStart + 7);
    EXPECT_EQ(GetHeapAdr(65535), 0u);
}

TEST_F(Heap, LockHeapTwiceThenUnlockHeapOnceLeavesTheBlockLockedAndCompactionEndsTheProcess) {
    const u32 a = AllocHeap(10);
    LockHeap(a);
    LockHeap(a);
    UnlockHeap(a);
    EXPECT_EQ(heapPtrs[a].list, HeapList::Locked);
    EXPECT_EQ(EndStatus([] { CompactHeap(); }), 1);
    EXPECT_EQ(vmEvents.messages,
              std::vector<std::string>{"Hey, Dummy! You shouldn't have left blocks locked when "
                                       "CompactHeap() needs to run!"});
}

TEST_F(Heap, CompactionWithAHostPointerOutEndsTheProcess) {
    heapPointerCount = 1;
    EXPECT_EQ(EndStatus([] { CompactHeap(); }), 1);
    EXPECT_EQ(vmEvents.messages,
              std::vector<std::string>{"Hey, Dummy! You shouldn't have left blocks locked when "
                                       "CompactHeap() needs to run!"});
}

// ---------------------------------------------------------------------------------------------
// Release by RETURN

TEST_F(Heap, ReleaseFrameLocksReleasesOnlyTheFirstEligibleRecordInLockedListOrder) {
    for (u32 i = 0; i < 4; ++i) {
        AllocHeap(10);
    }
    const u32 sps[4] = {3000, 2900, 2800, 3100};
    for (u32 i = 0; i < 4; ++i) {
        Store<u32>(160, sps[i]);
        LockHeap(i);
    }
    // The locked list is 3, 2, 1, 0. Below 3050 lie 2, 1 and 0; only 2 is released.
    ReleaseFrameLocks(3050);
    EXPECT_EQ(ListFromHead(HeapList::Locked), (std::vector<i32>{3, 1, 0}));
    EXPECT_EQ(ListFromHead(HeapList::Allocated), (std::vector<i32>{2}));
    EXPECT_EQ(heapPtrs[2].lockSP, 0u);
    ReleaseFrameLocks(3050);
    EXPECT_EQ(ListFromHead(HeapList::Locked), (std::vector<i32>{3, 0}));
    ReleaseFrameLocks(3000);  // 3000 is not below 3000
    EXPECT_EQ(ListFromHead(HeapList::Locked), (std::vector<i32>{3, 0}));
    ReleaseFrameLocks(3001);
    EXPECT_EQ(ListFromHead(HeapList::Locked), (std::vector<i32>{3}));
    ReleaseFrameLocks(0xFFFFFFFF);
    EXPECT_TRUE(ListFromHead(HeapList::Locked).empty());
    ExpectSoundLists();
}

TEST_F(Heap, ReleaseFrameLocksTakesAllLocksOfTheRecordAway) {
    const u32 a = AllocHeap(10);
    Store<u32>(160, 2900);
    LockHeap(a);
    LockHeap(a);
    LockHeap(a);
    ReleaseFrameLocks(2901);
    EXPECT_EQ(heapPtrs[a].lockCount, 0u);
    EXPECT_EQ(heapPtrs[a].list, HeapList::Allocated);
}

TEST_F(Heap, ReleaseFrameLocksComparesUnsigned) {
    const u32 a = AllocHeap(10);
    Store<u32>(160, 0x80000000);
    LockHeap(a);
    ReleaseFrameLocks(0x7FFFFFFF);
    EXPECT_EQ(heapPtrs[a].lockCount, 1u);
    ReleaseFrameLocks(0x80000001);
    EXPECT_EQ(heapPtrs[a].lockCount, 0u);
}

// ---------------------------------------------------------------------------------------------
// Compaction

TEST_F(Heap, FreeingTheMiddleOfThreeBlocksMovesTheThirdDownAndItsHandleIsHandedOutAgain) {
    const u32 first = AllocHeap(100);
    const u32 middle = AllocHeap(50);
    const u32 third = AllocHeap(30);
    for (u32 i = 0; i < 30; ++i) {
        Store<u8>(kStart + 150 + i, static_cast<u8>(i + 1));
    }
    FreeHeap(middle);
    CompactHeap();
    EXPECT_EQ(heapPtrs[first].offset, kStart);
    EXPECT_EQ(heapPtrs[third].offset, kStart + 100);
    EXPECT_EQ(heapFree, kStart + 130);
    for (u32 i = 0; i < 30; ++i) {
        EXPECT_EQ(Load<u8>(kStart + 100 + i), i + 1);
    }
    EXPECT_EQ(heapPtrs[middle].list, HeapList::Unused);
    EXPECT_EQ(AllocHeap(10), middle);  // no freed block is left; its handle heads the unused list
    ExpectSoundLists();
}

TEST_F(Heap, CompactionCopiesOverlappingBlocksUpwardsAndLeavesTheBytesAboveAlone) {
    AllocHeap(1);
    const u32 gap = AllocHeap(3);
    const u32 big = AllocHeap(1000);
    for (u32 i = 0; i < 1000; ++i) {
        Store<u8>(kStart + 4 + i, static_cast<u8>(i * 7));
    }
    FreeHeap(gap);
    CompactHeap();
    EXPECT_EQ(heapPtrs[big].offset, kStart + 1);
    for (u32 i = 0; i < 1000; ++i) {
        ASSERT_EQ(Load<u8>(kStart + 1 + i), static_cast<u8>(i * 7)) << i;
    }
    // The last three bytes stay behind where they were.
    EXPECT_EQ(Load<u8>(kStart + 1003), static_cast<u8>(999 * 7));
    EXPECT_EQ(heapFree, kStart + 1001);
}

TEST_F(Heap, CompactionMovesTheWholeSizeOfAReusedBlock) {
    const u32 a = AllocHeap(10);
    const u32 b = AllocHeap(100);
    FreeHeap(b);
    EXPECT_EQ(AllocHeap(60), b);  // occupies 100 still
    Store<u8>(kStart + 10 + 99, 0x5A);
    FreeHeap(a);
    CompactHeap();
    EXPECT_EQ(heapPtrs[b].offset, kStart);  // the freed block was the lowest: p starts there
    EXPECT_EQ(Load<u8>(kStart + 99), 0x5A);
    EXPECT_EQ(heapFree, kStart + 100);
}

TEST_F(Heap, CompactionStartsAtTheLowestRecordsOffset) {
    // Handle 500 was never used; freed, its block of no bytes at offset 0 is the lowest.
    const u32 a = AllocHeap(20);
    const u32 b = AllocHeap(30);
    for (u32 i = 0; i < 50; ++i) {
        Store<u8>(kStart + i, static_cast<u8>(0x80 + i));
    }
    FreeHeap(500);
    EXPECT_EQ(heapPtrs[500].list, HeapList::Freed);
    CompactHeap();
    EXPECT_EQ(heapPtrs[a].offset, 0u);
    EXPECT_EQ(heapPtrs[b].offset, 20u);
    EXPECT_EQ(heapFree, 50u);
    for (u32 i = 0; i < 50; ++i) {
        EXPECT_EQ(Load<u8>(i), 0x80 + i);
    }
    ExpectSoundLists();
}

// What a module does that keeps a freed handle for longer than a message.
TEST_F(Heap, ALockedUnusedHandleBringsItsOldBlockBackAndTheNextCompactionPlacesIt) {
    AllocHeap(4);
    const u32 a = AllocHeap(100);
    const u32 b = AllocHeap(50);
    const u32 c = AllocHeap(30);
    for (u32 i = 0; i < 50; ++i) {
        Store<u8>(kStart + 104 + i, static_cast<u8>(100 + i));
    }
    for (u32 i = 0; i < 30; ++i) {
        Store<u8>(kStart + 154 + i, static_cast<u8>(1 + i));
    }
    FreeHeap(b);
    CompactHeap();  // C slides down to 104, where B's record still points
    EXPECT_EQ(LockHeap(b), kStart + 104);
    UnlockHeap(b);
    CompactHeap();
    EXPECT_EQ(heapPtrs[a].offset, kStart + 4);
    EXPECT_EQ(heapPtrs[c].offset, kStart + 104);
    EXPECT_EQ(heapPtrs[b].offset, kStart + 134);
    // B's 50 bytes go up by 30, the lowest first: the first 30 are C's, and the last 20 are copied
    // from where C's first 20 have just been put.
    for (u32 i = 0; i < 30; ++i) {
        ASSERT_EQ(Load<u8>(kStart + 104 + i), 1 + i) << i;
    }
    for (u32 i = 0; i < 30; ++i) {
        ASSERT_EQ(Load<u8>(kStart + 134 + i), 1 + i) << i;
    }
    for (u32 i = 0; i < 20; ++i) {
        ASSERT_EQ(Load<u8>(kStart + 164 + i), 1 + i) << i;
    }
    EXPECT_EQ(GetHeapAdr(AllocHeap(1)), kStart + 184);
    ExpectSoundLists();
}

TEST_F(Heap, ALockedUnusedHandleThatAReturnReleasesIsPlacedAsWell) {
    AllocHeap(4);
    const u32 a = AllocHeap(10);
    const u32 b = AllocHeap(20);
    FreeHeap(a);
    CompactHeap();
    LockHeap(a);
    ReleaseFrameLocks(0xFFFFFFFF);
    CompactHeap();
    EXPECT_EQ(heapPtrs[b].offset, kStart + 4);
    EXPECT_EQ(heapPtrs[a].offset, kStart + 24);
    EXPECT_EQ(heapFree, kStart + 34);
}

TEST_F(Heap, ABlockThatMovesUpIntoItselfRepeatsTheBytesBeforeIt) {
    AllocHeap(4);
    const u32 stale = AllocHeap(1000);
    const u32 kept = AllocHeap(3);
    for (u32 i = 0; i < 3; ++i) {
        Store<u8>(kStart + 1004 + i, static_cast<u8>(7 + i));
    }
    FreeHeap(stale);
    CompactHeap();
    LockHeap(stale);
    UnlockHeap(stale);
    CompactHeap();
    EXPECT_EQ(heapPtrs[kept].offset, kStart + 4);
    EXPECT_EQ(heapPtrs[stale].offset, kStart + 7);
    for (u32 i = 0; i < 1003; ++i) {
        ASSERT_EQ(Load<u8>(kStart + 4 + i), 7 + i % 3) << i;
    }
    EXPECT_EQ(Load<u8>(kStart + 1007), 0);
}

TEST_F(Heap, FreeingAFreedHandleMovesItToTheHeadOfTheFreedList) {
    AllocHeap(10);
    AllocHeap(10);
    FreeHeap(0);
    FreeHeap(1);
    FreeHeap(0);
    EXPECT_EQ(ListFromHead(HeapList::Freed), (std::vector<i32>{0, 1}));
    ExpectSoundLists();
}

TEST_F(Heap, FreedHandlesGoToTheHeadOfTheUnusedListInAddressOrder) {
    for (u32 i = 0; i < 5; ++i) {
        AllocHeap(10);
    }
    FreeHeap(3);
    FreeHeap(1);
    FreeHeap(2);
    CompactHeap();
    // Walked upward: 1, 2, 3; so 3 comes to stand at the head.
    EXPECT_EQ(AllocHeap(1), 3u);
    EXPECT_EQ(AllocHeap(1), 2u);
    EXPECT_EQ(AllocHeap(1), 1u);
    EXPECT_EQ(AllocHeap(1), 5u);
    EXPECT_EQ(heapPtrs[4].offset, kStart + 10);
    ExpectSoundLists();
}

TEST_F(Heap, CompactionKeepsTheOrderOfTheAllocatedList) {
    for (u32 i = 0; i < 4; ++i) {
        AllocHeap(10);
    }
    LockHeap(1);
    UnlockHeap(1);
    CompactHeap();
    EXPECT_EQ(ListFromHead(HeapList::Allocated), (std::vector<i32>{1, 3, 2, 0}));
}

TEST_F(Heap, BlocksAtEqualOffsetsAreOrderedAsTheInsertionRuleSays) {
    // A record goes before the first whose offset is equal or greater: the later inserted comes
    // first. Freed records go in first, each list from its head.
    const u32 zeroA = AllocHeap(0);
    const u32 zeroB = AllocHeap(0);
    const u32 full = AllocHeap(8);  // all three at the heap's start
    FreeHeap(zeroA);
    FreeHeap(zeroB);
    CompactHeap();
    // Freed list: zeroB, zeroA. Inserted: zeroB; zeroA before it; full before both. The walk is
    // full, zeroA, zeroB, so zeroB heads the unused list.
    EXPECT_EQ(heapPtrs[full].offset, kStart);
    EXPECT_EQ(AllocHeap(1), zeroB);
    EXPECT_EQ(AllocHeap(1), zeroA);
}

TEST_F(Heap, WithNoBlockAtAllCompactionStartsAgainAtTheHeapsStart) {
    heapFree = kStart + 500;
    CompactHeap();
    EXPECT_EQ(heapFree, kStart);
}

TEST_F(Heap, ADiscardedBlockAloneLeavesTheHeapEmpty) {
    AllocHeap(100);
    FreeHeap(0);
    CompactHeap();
    EXPECT_EQ(heapFree, kStart);
    EXPECT_EQ(heapListHeads[0], 0);
    ExpectSoundLists();
}

TEST_F(Heap, ANeverUsedHandleThatIsFreedAndReusedLiesAtOffset0) {
    // Its size of 0 fits no request, so the block is carved anew and the freed one stays.
    FreeHeap(500);
    EXPECT_EQ(AllocHeap(0), 0u);
    EXPECT_EQ(heapPtrs[0].offset, kStart);
    ExpectSoundLists();
}

// ---------------------------------------------------------------------------------------------
// Bad handles

TEST_F(Heap, Handle65536ToLockHeapReturnsMinus1AndWritesTheLogLine) {
    Store<u32>(136, 0x00ABCDEF);
    pcPreJsr = 0x1234;
    EXPECT_EQ(LockHeap(65536), 0xFFFFFFFFu);
    EXPECT_EQ(vmEvents.messages, std::vector<std::string>{"LockHeap() failed"});
    EXPECT_EQ(vmFiles.contents["debug.log"],
              "====== LockHeap(65536) FAILED! HPCNT=65536 PC=0x00ABCDEF PCpreJSR=0x00001234\n");
}

TEST_F(Heap, ABadHandleToFreeHeapPrintsTheWordAt496) {
    Store<u32>(136, 0x11111111);
    Store<u32>(496, 0xFEDCBA98);
    FreeHeap(0xFFFFFFFF);
    EXPECT_EQ(vmEvents.messages, std::vector<std::string>{"FreeHeap() failed"});
    EXPECT_EQ(vmFiles.contents["debug.log"],
              "====== FreeHeap(-1) FAILED! HPCNT=65536 PC=0xFEDCBA98\n");
}

TEST_F(Heap, ABadHandleToGetHeapAdrPrintsTheWordAt504) {
    Store<u32>(136, 0x11111111);
    Store<u32>(504, 0xA);
    EXPECT_EQ(GetHeapAdr(70000), 0xFFFFFFFFu);
    EXPECT_EQ(vmEvents.messages, std::vector<std::string>{"GetHeapAdr() failed"});
    EXPECT_EQ(vmFiles.contents["debug.log"],
              "====== GetHeapAdr(70000) FAILED! HPCNT=65536 PC=0x0000000A\n");
}

TEST_F(Heap, ABadHandleToUnlockHeapWritesNoLogLine) {
    UnlockHeap(65536);
    EXPECT_EQ(vmEvents.messages, std::vector<std::string>{"UnlockHeap() bad index"});
    EXPECT_FALSE(vmFiles.contents.contains("debug.log"));
}

TEST_F(Heap, TheLogLineIsWrittenBeforeTheMessageIsShown) {
    vmFiles.contents["debug.log"] = "old\n";
    static size_t logSize;
    logSize = 1;
    vmSlots.appendDebugLog = [](std::string_view bytes) {
        vmFiles.contents["debug.log"] += bytes;
        logSize = vmEvents.messages.size();
    };
    FreeHeap(65536);
    EXPECT_EQ(logSize, 0u);
    EXPECT_EQ(vmFiles.contents["debug.log"],
              "old\n====== FreeHeap(65536) FAILED! HPCNT=65536 PC=0x00000000\n");
}

TEST_F(Heap, ABadHandleToUnlockHeapPtrStillTakesThePointerBack) {
    heapPointerCount = 1;
    UnlockHeapPtr(65536);
    EXPECT_EQ(heapPointerCount, 0);
    EXPECT_EQ(vmEvents.messages, std::vector<std::string>{"UnlockHeap() bad index"});
}

TEST_F(Heap, Handle65535IsGood) {
    EXPECT_EQ(LockHeap(65535), 0u);
    UnlockHeap(65535);
    EXPECT_TRUE(vmEvents.messages.empty());
}

}  // namespace moxi
