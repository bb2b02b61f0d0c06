// The delivery of messages, the guards around it and the end of the program.

#include "vm/run_cycle.h"

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/vm_fixture.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/slots.h"

namespace moxi {

namespace {

using Messages = std::vector<std::string>;

// Instructions that the modules of this file are made of.
constexpr u32 kLink = 340;
constexpr u32 kReturn = 596;
constexpr u32 kSys = 276;
constexpr u32 kStop = 532;
constexpr u32 kModal = 788;
constexpr u32 kEmod = 916;
constexpr u32 kCall = 84;
constexpr u32 kIllegal = 4;

u32 PushLong(u32 value) {
    return 756 | value << 10;
}

// What the module's SYS is told of: the command, and what the host looks like meanwhile.
struct Seen {
    u32 command;
    u32 p1;
    u32 p2;
    u32 p3;
    bool inMX;
    u32 runState;
};

std::vector<Seen> seen;
int dirtyLeft = 0;  // so often the screen is reported dirty
int flushes = 0;

class RunCycle : public VmTest {
  protected:
    void SetUp() override {
        StartVmBench();
        MakeImage(8192, 2048, 4096);
        moduleStarted = 1;
        seen.clear();
        dirtyLeft = 0;
        flushes = 0;
        vmSlots.flushScreen = [] {
            if (dirtyLeft <= 0) {
                return false;
            }
            --dirtyLeft;
            ++flushes;
            return true;
        };
        vmSlots.sysDispatch = [] {
            const u32 fp = Load<u32>(168);
            seen.push_back({Load<u32>(fp + 12), Load<u32>(fp + 16), Load<u32>(fp + 20),
                            Load<u32>(fp + 24), inMX, runState});
        };
        // The plain handler: LINK 0, 0; SYS; RETURN 0
        Code({kLink, kSys, kReturn});
    }

    static void Code(const std::vector<u32>& words) {
        u32 at = 512;
        for (const u32 word : words) {
            Store<u32>(at, word);
            at += 4;
        }
    }

    StandardError error;
};

}  // namespace

TEST_F(RunCycle, TheMessagesWordsAreTheArgumentsOfTheEntryAt512) {
    MXmsg(9, 0x11111111, 0x22222222, 0xFFFFFFFF);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].command, 9u);
    EXPECT_EQ(seen[0].p1, 0x11111111u);
    EXPECT_EQ(seen[0].p2, 0x22222222u);
    EXPECT_EQ(seen[0].p3, 0xFFFFFFFFu);
    EXPECT_TRUE(seen[0].inMX);
    EXPECT_FALSE(inMX);
}

TEST_F(RunCycle, TheFrameOf24BytesHasReturnAddress0And16ArgumentBytes) {
    Code({kStop});
    EXPECT_EQ(EndStatus([] { MXmsg(9, 1, 2, 3); }), 0);
    // The first message's frame below the stack top 4096; MSG_END's lies below it.
    const u32 words[] = {0, 16, 9, 1, 2, 3};
    for (u32 i = 0; i < 6; ++i) {
        EXPECT_EQ(Load<u32>(4072 + 4 * i), words[i]) << i;
    }
    EXPECT_EQ(Load<u32>(4048), 0u);
    EXPECT_EQ(Load<u32>(4056), 4u);
    EXPECT_EQ(Load<u32>(160), 4048u);
    EXPECT_EQ(Load<u32>(136), 512u);
}

TEST_F(RunCycle, AMessageWhoseHandlerReturnsNormallyLeavesSpWhereItWasBeforeThePush) {
    MXmsg(9, 1, 2, 3);
    EXPECT_EQ(Load<u32>(160), 4096u);
    EXPECT_EQ(Load<u32>(136), 0u);
    Store<u32>(160, 3001);
    MXmsg(9, 1, 2, 3);
    EXPECT_EQ(Load<u32>(160), 3001u);
}

TEST_F(RunCycle, TheResultIsTheHeaderByte193SignExtended) {
    Store<u8>(193, 0xFF);
    EXPECT_EQ(MXmsg(9, 0, 0, 0), -1);
    EXPECT_EQ(ForceMsg(9, 0, 0, 0), -1);
    Store<u8>(193, 0x80);
    EXPECT_EQ(MXmsg(9, 0, 0, 0), -128);
    Store<u8>(193, 0x7F);
    EXPECT_EQ(MXmsg(9, 0, 0, 0), 127);
    EXPECT_EQ(ForceMsg(9, 0, 0, 0), 127);
}

TEST_F(RunCycle, WithSpExactly100AboveTheLimitDeliveryProceedsAndWith99ItEndsTheProcess) {
    Store<u32>(160, 2048 + 100);
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), -1);
    EXPECT_EQ(seen.size(), 1u);
    Store<u32>(160, 2048 + 99);
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), 1);
    EXPECT_EQ(seen.size(), 1u);
    EXPECT_EQ(vmEvents.messages, Messages{"Out of stack"});
}

TEST_F(RunCycle, TheStackRoomIsComparedUnsigned) {
    // SP - 100 below 0 wraps to a large number, which is not below the limit: the frame is pushed.
    Store<u32>(152, 0);
    Store<u32>(160, 99);
    Store<u32>(168, 0);
    vmSlots.sysDispatch = [] { seen.push_back({}); };
    Code({kSys, kStop});
    // Both the message and MSG_END, which finds SP at 75, are run.
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), 0);
    EXPECT_EQ(seen.size(), 2u);
    EXPECT_EQ(Load<u32>(160), 51u);
}

TEST_F(RunCycle, AfterTheModuleStopsItselfCommand4IsDeliveredExactlyOnceAndTheProcessExitsWith0) {
    // SYS, then STOP in every message, MSG_END's included.
    Code({kLink, kSys, kStop});
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), 0);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].command, 9u);
    EXPECT_EQ(seen[0].runState, 0u);
    EXPECT_EQ(seen[1].command, 4u);
    EXPECT_EQ(seen[1].p1, 0u);
    EXPECT_EQ(seen[1].runState, 3u);
    EXPECT_EQ(runState, 3u);
    EXPECT_TRUE(vmEvents.messages.empty());
}

TEST_F(RunCycle, AnIllegalOpcodeAlsoEndsTheProgramInOrder) {
    Code({kLink, kSys, kIllegal});
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), 0);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[1].command, 4u);
    const char* const text =
        "Illegal opcode at 0x00000208\nTerminating program. So terribly sorry.";
    EXPECT_EQ(vmEvents.messages, (Messages{text, text}));
}

TEST_F(RunCycle, AStackOverflowAlsoEndsTheProgramInOrder) {
    // PUSHBLOCK in form 5 with n = 0xFFFFFFFF
    Code({kLink, kSys, 5 | 120u << 9, 0xFFFFFFFF, 0});
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), 0);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(vmEvents.messages[0], "Stack overflow at 0x00000208. Terminating. So sorry.");
}

TEST_F(RunCycle, AnIllegalEmodEndsTheMessageAndTheProgramGoesOn) {
    Code({kLink, kSys, kEmod});
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), -1);
    EXPECT_EQ(vmEvents.messages, Messages{"Illegal EMOD at 0x00000208"});
    EXPECT_EQ(runState, 0u);
    EXPECT_EQ(Load<u32>(160), 4068u);  // the frames stay: 24 bytes and LINK's 4
    EXPECT_FALSE(inMX);
}

TEST_F(RunCycle, AMessageOtherThan4AfterTheShutdownBeganIsRefusedAndInMxStaysSet) {
    runState = 3;
    Store<u8>(193, 5);
    EXPECT_EQ(MXmsg(9, 0, 0, 0), 0);
    EXPECT_TRUE(seen.empty());
    EXPECT_TRUE(inMX);
}

TEST_F(RunCycle, Command4IsRunAfterTheShutdownBegan) {
    runState = 3;
    Store<u8>(193, 5);
    EXPECT_EQ(MXmsg(4, 0, 0, 0), 5);
    EXPECT_EQ(seen.size(), 1u);
    EXPECT_FALSE(inMX);
}

TEST_F(RunCycle, ForceMsgBeforeTheModuleIsStartedReturns0AndRunsNothing) {
    moduleStarted = 0;
    Store<u8>(193, 5);
    EXPECT_EQ(ForceMsg(1, 0, 0, 0), 0);
    EXPECT_TRUE(seen.empty());
    EXPECT_FALSE(inMX);
    EXPECT_EQ(error.Text(), "");
}

TEST_F(RunCycle, ForceMsgInsideARunIsReportedAndDeliveredAllTheSame) {
    inMX = true;
    Store<u8>(193, 5);
    EXPECT_EQ(ForceMsg(3, 1, 2, 3), 5);
    EXPECT_EQ(seen.size(), 1u);
    EXPECT_EQ(vmEvents.messages, Messages{"ForceMsg BAD CALL!"});
    EXPECT_EQ(error.Text(),
              "log: ForceMsg BAD CALL! cmd=3\nfatal: ForceMsg BAD CALL!\nlog: inMX MXmsg\n");
}

TEST_F(RunCycle, ForceMsgInsideARunIsReportedBeforeTheModuleIsStartedToo) {
    inMX = true;
    moduleStarted = 0;
    EXPECT_EQ(ForceMsg(0xFFFFFFFF, 0, 0, 0), 0);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(error.Text(), "log: ForceMsg BAD CALL! cmd=-1\nfatal: ForceMsg BAD CALL!\n");
}

TEST_F(RunCycle, DeliveryWhileAlreadyInsideARunIsLoggedAndProceeds) {
    static int depth = 0;
    depth = 0;
    vmSlots.sysDispatch = [] {
        seen.push_back({});
        if (++depth == 1) {
            MXmsg(13, 0, 0, 0);
        }
    };
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), -1);
    EXPECT_EQ(seen.size(), 2u);
    EXPECT_EQ(error.Text(), "log: inMX MXmsg\n");
    EXPECT_FALSE(inMX);
    EXPECT_EQ(Load<u32>(160), 4096u);  // the outer run wrote its own SP back
}

TEST_F(RunCycle, TheDirtyRectangleIsFlushedUntilEmptyBeforeTheRunAndOnceAfterIt) {
    dirtyLeft = 3;
    vmSlots.sysDispatch = [] {
        EXPECT_EQ(flushes, 3);
        dirtyLeft = 2;
    };
    MXmsg(9, 0, 0, 0);
    EXPECT_EQ(flushes, 4);
    EXPECT_EQ(dirtyLeft, 1);
}

TEST_F(RunCycle, AStoppedProgramIsNotFlushedAgain) {
    Code({kLink, kSys, kStop});
    vmSlots.sysDispatch = [] { seen.push_back({Load<u32>(Load<u32>(168) + 12), 0, 0, 0, 0, 0}); };
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), 0);
    EXPECT_EQ(flushes, 0);
}

TEST_F(RunCycle, TheScreenIsFlushedBeforeARefusedMessageToo) {
    runState = 3;
    dirtyLeft = 1;
    EXPECT_EQ(MXmsg(9, 0, 0, 0), 0);
    EXPECT_EQ(flushes, 1);
}

TEST_F(RunCycle, TheHeapIsCompactedAfterEveryMessageAndItsHighWaterKept) {
    AllocHeap(4);
    vmSlots.sysDispatch = [] { FreeHeap(AllocHeap(100)); };
    MXmsg(9, 0, 0, 0);
    EXPECT_EQ(heapFree, 4100u);
    EXPECT_EQ(heapHighWater, 4200u);
    vmSlots.sysDispatch = [] {};
    MXmsg(9, 0, 0, 0);
    EXPECT_EQ(heapHighWater, 4200u);
}

TEST_F(RunCycle, AHeapLockedAtTheEndOfTheRunEndsTheProcess) {
    // The lock is taken with SP raised to the stack top: no RETURN releases it.
    AllocHeap(4);
    vmSlots.sysDispatch = [] {
        const u32 sp = Load<u32>(160);
        Store<u32>(160, 4096);
        LockHeap(0);
        Store<u32>(160, sp);
    };
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), 1);
    EXPECT_EQ(vmEvents.messages,
              Messages{"Hey, Dummy! You shouldn't have left blocks locked when CompactHeap() needs "
                       "to run!"});
}

TEST_F(RunCycle, ABlockLockedInsideACalledFunctionIsReleasedWhenThatFunctionReturns) {
    // LINK; CALL f, 0; RETURN; f at 528: LINK; SYS (locks); RETURN
    Code({kLink, kCall, 528, kReturn, kLink, kSys, kReturn});
    AllocHeap(4);
    static u32 lockSP = 0;
    vmSlots.sysDispatch = [] {
        LockHeap(0);
        lockSP = heapPtrs[0].lockSP;
    };
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), -1);
    EXPECT_EQ(heapPtrs[0].list, HeapList::Allocated);
    EXPECT_EQ(lockSP, 4096u - 24 - 4 - 8 - 4);  // frame, FP, CALL's two words, FP
}

TEST_F(RunCycle, OneReturnReleasesOneLockSoTwoLocksNeedTwoReturns) {
    AllocHeap(4);
    AllocHeap(4);
    vmSlots.sysDispatch = [] {
        LockHeap(0);
        LockHeap(1);
    };
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), 1);  // one RETURN in the plain handler
    EXPECT_EQ(heapPtrs[1].list, HeapList::Allocated);
    EXPECT_EQ(heapPtrs[0].list, HeapList::Locked);

    EndVmBench();
    SetUp();
    Code({kLink, kCall, 528, kReturn, kLink, kSys, kReturn});
    AllocHeap(4);
    AllocHeap(4);
    vmSlots.sysDispatch = [] {
        LockHeap(0);
        LockHeap(1);
    };
    EXPECT_EQ(EndStatus([] { MXmsg(9, 0, 0, 0); }), -1);
    EXPECT_EQ(heapListHeads[3], -1);
}

TEST_F(RunCycle, AModalWaitEndsTheMessageAndEmodGoesOnAfterIt) {
    // Message 1 runs MODAL; when it goes on, SYS and RETURN end it as its own message.
    // 512: LINK 0, 0; MOVE.L R5, [FP+12]; CMP.L R5, #2; BEQ 536; MODAL; SYS; RETURN (540..)
    const u32 loadCommand = 17 | 5u << 5 | 62u << 9 | 12u << 16;
    const u32 compare = 30 | 5u << 5 | 34u << 9 | 2u << 16;
    const u32 branch = (544u / 4) << 10 | 0u << 7 | 52;
    Code({kLink, loadCommand, compare, branch, kModal, kSys, kReturn, kStop, kEmod});
    Store<u8>(193, 9);
    EXPECT_EQ(MXmsg(1, 10, 20, 30), 9);
    EXPECT_EQ(modalDepth, 1);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(Load<u32>(136), 532u);
    EXPECT_EQ(Load<u32>(160), 4068u - 140);
    EXPECT_EQ(Load<u32>(176), 4068u - 140);
    Store<u64>(8 + 8 * 9, 0x1234);  // R9, to be restored

    MXmsg(2, 0, 0, 0);
    EXPECT_EQ(modalDepth, 0);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].command, 1u);  // the frame is message 1's again
    EXPECT_EQ(seen[0].p3, 30u);
    EXPECT_EQ(Load<u32>(160), 4096u);
    EXPECT_EQ(Load<u32>(176), 0u);
    EXPECT_EQ(Load<u64>(8 + 8 * 9), 0u);
    EXPECT_EQ(Load<u32>(8 + 8 * 5), 1u);

    // The context is used up: the next EMOD fails.
    MXmsg(2, 0, 0, 0);
    EXPECT_EQ(vmEvents.messages, Messages{"Illegal EMOD at 0x00000220"});
}

TEST_F(RunCycle, RegistersFpAndFlagsPersistBetweenMessages) {
    Code({kLink, PushLong(5), 212 | 22u << 8 | 3u << 16,  // POP.L R3
          30 | 3u << 5 | 34u << 9 | 5u << 16, kReturn});  // CMP.L R3, #5
    Store<u32>(168, 0x777);
    MXmsg(9, 0, 0, 0);
    EXPECT_EQ(Load<u32>(8 + 8 * 3), 5u);
    EXPECT_EQ(Load<u32>(168), 0x777u);
    EXPECT_EQ(Load<u8>(192), 2u);
    Code({kLink, kReturn});
    MXmsg(9, 0, 0, 0);
    EXPECT_EQ(Load<u32>(8 + 8 * 3), 5u);
    EXPECT_EQ(Load<u8>(192), 2u);
}

}  // namespace moxi
