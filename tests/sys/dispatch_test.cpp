#include "service_fixture.h"
#include "vm/guard.h"

namespace moxi {

namespace {

struct SlotCall {
    int group;
    u32 sub;
    u32 arguments;
    bool operator==(const SlotCall&) const = default;
};
std::vector<SlotCall> slotCalls;

class Dispatch : public ServiceTest {};

TEST_F(Dispatch, GroupsOneAndFourAreIgnored) {
    for (const u32 command : {0x0100u, 0x01FFu, 0x0400u, 0x04FFu}) {
        EXPECT_EQ(Call(command, {}), kResultBefore);
        EXPECT_EQ(Load<u64>(kHeaderR14) >> 32, 0x11223344u);
    }
    EXPECT_TRUE(fatalMessages.empty());
}

TEST_F(Dispatch, GroupsFromTenAreUnknownAndNameTheInstruction) {
    Store<u32>(kHeaderPC, 0x0000020C);
    for (const u32 command : {0x0A00u, 0x0B01u, 0x00FFFF00u, 0x01000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Call(command, {}), kResultBefore);
    }
    EXPECT_EQ(fatalMessages,
              std::vector<std::string>(5, "Unknown SYS command at 0x0000020C. Ack!"));
}

TEST_F(Dispatch, Sub7OfGroup3IsUnknown) {
    Call(0x0307, {});
    EXPECT_EQ(fatalMessages.size(), 1u);
}

TEST_F(Dispatch, Sub3OfGroup2IsIgnored) {
    EXPECT_EQ(Call(0x0203, {}), kResultBefore);
    EXPECT_EQ(Call(0x02FF, {}), kResultBefore);
    EXPECT_EQ(Call(0x0905, {}), kResultBefore);
    EXPECT_EQ(Call(0x09FF, {}), kResultBefore);
    EXPECT_TRUE(fatalMessages.empty());
}

TEST_F(Dispatch, SubCommandsFrom17OfGroup8AreUnknown) {
    EXPECT_EQ(Call(0x0811, {}), kResultBefore);
    EXPECT_EQ(Call(0x08FF, {}), kResultBefore);
    EXPECT_EQ(fatalMessages.size(), 2u);
}

TEST_F(Dispatch, BlocksNeedNoAlignment) {
    for (u32 block = 0x1000; block < 0x1004; ++block) {
        EXPECT_EQ(CallAt(block, 0x0303, {Text("abc")}), 3u);
    }
}

TEST_F(Dispatch, HigherRoomsGetTheSubCommandAndTheFirstArgumentsAddress) {
    slotCalls.clear();
    sysSlots.graphicsGroup = [](u32 sub, u32 at) { slotCalls.push_back({5, sub, at}); };
    sysSlots.soundGroup = [](u32 sub, u32 at) { slotCalls.push_back({6, sub, at}); };
    sysSlots.hostGroup = [](u32 sub, u32 at) { slotCalls.push_back({7, sub, at}); };
    CallAt(0x1000, 0x0513, {});
    CallAt(0x1001, 0x06FF, {});
    CallAt(0x1002, 0x0700, {});
    EXPECT_EQ(slotCalls,
              (std::vector<SlotCall>{{5, 0x13, 0x1004}, {6, 0xFF, 0x1005}, {7, 0, 0x1006}}));
}

TEST_F(Dispatch, ABlockMayEndWithTheImage) {
    EXPECT_EQ(CallAt(kImageSize - 4, 0x0100, {}), kResultBefore);
    EXPECT_EQ(CallAt(kImageSize - 8, 0x0303, {Text("abc")}), 3u);
}

TEST_F(Dispatch, ABlockOutsideTheImageIsAFault) {
    for (const u32 block : {kImageSize + 64, 0x80000000u, 0xFFFFFFFCu}) {
        Store<u32>(kHeaderR15, block);
        EXPECT_THROW(RunGuarded([] { SysDispatch(); }), ProcessEnded);
    }
}

// --- Group 9

TEST_F(Dispatch, HeapBlocksAreAllocatedLockedAndFreed) {
    const u32 first = Call(0x0900, {100});
    const u32 second = Call(0x0900, {50});
    EXPECT_EQ(first, 0u);
    EXPECT_EQ(second, 1u);
    EXPECT_EQ(Call(0x0904, {second}), kHeap + 100);
    EXPECT_EQ(Call(0x0902, {second}), kHeap + 100);
    EXPECT_EQ(heapPtrs[second].list, HeapList::Locked);
    EXPECT_EQ(Call(0x0903, {second}), kResultBefore);
    EXPECT_EQ(heapPtrs[second].list, HeapList::Allocated);
    EXPECT_EQ(Call(0x0901, {first}), kResultBefore);
    EXPECT_EQ(heapPtrs[first].list, HeapList::Freed);
}

TEST_F(Dispatch, ALockThroughTheServiceRecordsAStackPointer20Higher) {
    const u32 handle = Call(0x0900, {16});
    Store<u32>(kHeaderSP, 0x1F000);
    Call(0x0902, {handle});
    EXPECT_EQ(heapPtrs[handle].lockSP, 0x1F014u);
    EXPECT_EQ(Load<u32>(kHeaderSP), 0x1F000u);
    ReleaseFrameLocks(0x1F014);
    EXPECT_EQ(heapPtrs[handle].lockCount, 1u);
    ReleaseFrameLocks(0x1F015);
    EXPECT_EQ(heapPtrs[handle].lockCount, 0u);
}

TEST_F(Dispatch, BadHeapHandlesAreReportedAndGiveMinusOne) {
    EXPECT_EQ(Call(0x0901, {65536}), kResultBefore);
    EXPECT_EQ(Call(0x0902, {65536}), 0xFFFFFFFFu);
    EXPECT_EQ(Call(0x0903, {65536}), kResultBefore);
    EXPECT_EQ(Call(0x0904, {65536}), 0xFFFFFFFFu);
    EXPECT_EQ(fatalMessages,
              (std::vector<std::string>{"FreeHeap() failed", "LockHeap() failed",
                                        "UnlockHeap() bad index", "GetHeapAdr() failed"}));
    EXPECT_EQ(ReadTestFile(DataPath("debug.log")),
              "====== FreeHeap(65536) FAILED! HPCNT=65536 PC=0x00000000\n"
              "====== LockHeap(65536) FAILED! HPCNT=65536 PC=0x0000ABCD PCpreJSR=0x00000000\n"
              "====== GetHeapAdr(65536) FAILED! HPCNT=65536 PC=0x00000000\n");
}

}  // namespace

}  // namespace moxi
