// Posting, the ring, the two timers, the flush of the dirty rectangle and Delay.

#include "host/queue.h"

#include <gtest/gtest.h>

#include "gfx/bitmap.h"
#include "host/host_group.h"
#include "host/mouse.h"
#include "host/session.h"
#include "host/timers.h"
#include "host/view.h"
#include "sys/time_group.h"
#include "tests/support/host_bench.h"
#include "tests/support/message_log.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

HeadlessResult PlayFor(u32 milliseconds, const LoggingModule& module,
                       const std::string& script = "") {
    HeadlessResult result = Play(module, script, {"--run-ms", std::to_string(milliseconds)});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, Strings{});
    return result;
}

LoggingModule WithTimer(u32 milliseconds) {
    LoggingModule module;
    module.timer = milliseconds;
    return module;
}

// How many ticks the module has got.
u32 Ticks(const HeadlessResult& result) {
    u32 count = 0;
    for (const LoggedMessage& message : LoggedMessages(result)) {
        count += message.command == 11;
    }
    return count;
}

// --- The ring

using Queue = HostTest;

TEST_F(Queue, Holds1023MessagesAndLosesTheNewest) {
    inMX = true;
    for (u32 i = 0; i < 1100; ++i) {
        PostMessage(100 + i, i, 2 * i, 3 * i);
    }
    const Messages queued = QueuedMessages();
    ASSERT_EQ(queued.size(), 1023u);
    for (u32 i = 0; i < 1023; ++i) {
        ASSERT_EQ(queued[i], (LoggedMessage{100 + i, i, 2 * i, 3 * i}));
    }
    inMX = false;
}

TEST_F(Queue, HoldsAsManyWhereverItsHeadStands) {
    inMX = true;
    for (const u32 start : {1u, 2u, 500u, 1022u, 1023u}) {
        EmptyQueue();
        for (u32 i = 0; i < start; ++i) {
            PostMessage(1, 0, 0, 0);
            DropQueueHead();
        }
        for (u32 i = 0; i < 1030; ++i) {
            PostMessage(200, i, 0, 0);
        }
        const Messages queued = QueuedMessages();
        ASSERT_EQ(queued.size(), 1023u) << start;
        EXPECT_EQ(queued.front(), (LoggedMessage{200, 0, 0, 0}));
        EXPECT_EQ(queued.back(), (LoggedMessage{200, 1022, 0, 0}));
    }
    inMX = false;
}

TEST_F(Queue, HasRoomAgainWhenAMessageIsTaken) {
    inMX = true;
    for (u32 i = 0; i < 1024; ++i) {
        PostMessage(200, i, 0, 0);
    }
    DropQueueHead();
    PostMessage(201, 7, 0, 0);
    const Messages queued = QueuedMessages();
    ASSERT_EQ(queued.size(), 1023u);
    EXPECT_EQ(queued.front(), (LoggedMessage{200, 1, 0, 0}));
    EXPECT_EQ(queued[1021], (LoggedMessage{200, 1022, 0, 0}));
    EXPECT_EQ(queued.back(), (LoggedMessage{201, 7, 0, 0}));
    inMX = false;
}

TEST_F(Queue, DeliversTheOldestOfAFullRingOneATickAndThenNewOnes) {
    std::string script;
    for (u32 i = 0; i < 1100; ++i) {
        script += "101 post 100 " + std::to_string(i) + " 0 0\n";
    }
    script += "6000 post 200 0xFFFFFFFF 0x10 -1\n";
    // 1,023 messages from 105 ms on take until 5,215 ms.
    const Messages messages = MessagesAfterStart(PlayFor(6100, WithTimer(60000), script));
    ASSERT_EQ(messages.size(), 1024u);
    for (u32 i = 0; i < 1023; ++i) {
        ASSERT_EQ(messages[i], (LoggedMessage{100, i, 0, 0}));
    }
    EXPECT_EQ(messages.back(), (LoggedMessage{200, 0xFFFFFFFF, 0x10, 0xFFFFFFFF}));
}

// --- Posting

TEST_F(Queue, APostWhileTheModuleRunsIsQueued) {
    inMX = true;
    PostMessage(100, 1, 2, 3);
    inMX = false;
    EXPECT_EQ(DeliveredMessages(), Messages{});
    EXPECT_EQ(QueuedMessages(), (Messages{{100, 1, 2, 3}}));
}

TEST_F(Queue, APostWhileTheModuleRunsAndInputIsSuspendedIsDropped) {
    inMX = inputSuspended = true;
    PostMessage(100, 1, 2, 3);
    inMX = false;
    EXPECT_EQ(DeliveredMessages(), Messages{});
    EXPECT_EQ(QueuedMessages(), Messages{});
}

TEST_F(Queue, APostWhileIdleAndInputIsSuspendedIsDeliveredAtOnce) {
    StartModuleTimer();
    inputSuspended = true;
    PostMessage(100, 1, 2, 3);
    EXPECT_EQ(DeliveredMessages(), (Messages{{100, 1, 2, 3}}));
    EXPECT_EQ(QueuedMessages(), Messages{});
}

TEST_F(Queue, APostWhileIdleWithAModuleTimerIsQueued) {
    StartModuleTimer();
    PostMessage(100, 1, 2, 3);
    EXPECT_EQ(DeliveredMessages(), Messages{});
    EXPECT_EQ(QueuedMessages(), (Messages{{100, 1, 2, 3}}));
}

TEST_F(Queue, APostWhileIdleWithoutAModuleTimerIsDeliveredAtOnce) {
    PostMessage(100, 1, 2, 3);
    EXPECT_EQ(DeliveredMessages(), (Messages{{100, 1, 2, 3}}));
    EXPECT_TRUE(QueueIsEmpty());
}

TEST_F(Queue, APostBeforeTheLaunchIsCompleteIsDeliveredAtOnce) {
    StartModuleTimer();
    launchComplete = false;
    PostMessage(100, 1, 2, 3);
    EXPECT_EQ(DeliveredMessages(), (Messages{{100, 1, 2, 3}}));
}

TEST_F(Queue, APostBeforeTheModuleIsStartedIsDropped) {
    moduleStarted = 0;
    PostMessage(100, 1, 2, 3);
    EXPECT_EQ(DeliveredMessages(), Messages{});
    EXPECT_TRUE(QueueIsEmpty());
}

TEST_F(Queue, NothingIsDeliveredFromItWhileInputIsSuspended) {
    StartModuleTimer();
    PostMessage(100, 1, 2, 3);
    inputSuspended = true;
    DeliverQueuedMessage();
    EXPECT_EQ(DeliveredMessages(), Messages{});
    inputSuspended = false;
    DeliverQueuedMessage();
    EXPECT_EQ(DeliveredMessages(), (Messages{{100, 1, 2, 3}}));
    DeliverQueuedMessage();
    EXPECT_EQ(DeliveredMessages().size(), 1u);
}

TEST_F(Queue, PointerMovesWhileTheModuleRunsProduceNoMessageButAreRemembered) {
    inMX = true;
    MouseMoved(12, 34);
    inMX = false;
    EXPECT_EQ(QueuedMessages(), Messages{});
    EXPECT_EQ(DeliveredMessages(), Messages{});
    EXPECT_EQ(pointerX, 12);
    EXPECT_EQ(pointerY, 34);
}

// --- When messages are delivered

TEST(Delivery, WithoutAModuleTimerInputIsDeliveredFromInsideItsHandler) {
    // The run ends in the millisecond of the events; the next host tick would be at 15 ms.
    const HeadlessResult result =
        PlayFor(12, {}, "12 mouse-down 0 1 1\n12 mouse-move 2 2\n12 key-down 00 \"a\"\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_DOWN, 1, 1, 0x00010001},
                                                    {MSG_POINTER, 2, 2, 1},
                                                    {MSG_DOWN, 0x41, 1, 0},
                                                    {MSG_CHAR, 'a', 0, 0}}));
}

TEST(Delivery, WithAModuleTimerEachHostTickDeliversOneMessage) {
    const std::string script = "101 key-down 00 \"a\"\n101 key-up 00 \"a\"\n";
    EXPECT_EQ(MessagesAfterStart(PlayFor(104, WithTimer(60000), script)), Messages{});
    EXPECT_EQ(MessagesAfterStart(PlayFor(105, WithTimer(60000), script)),
              (Messages{{MSG_DOWN, 0x41, 1, 0}}));
    EXPECT_EQ(MessagesAfterStart(PlayFor(110, WithTimer(60000), script)),
              (Messages{{MSG_DOWN, 0x41, 1, 0}, {MSG_CHAR, 'a', 0, 0}}));
    EXPECT_EQ(MessagesAfterStart(PlayFor(115, WithTimer(60000), script)),
              (Messages{{MSG_DOWN, 0x41, 1, 0}, {MSG_CHAR, 'a', 0, 0}, {MSG_UP, 0x41, 1, 0}}));
}

TEST(Delivery, TheFirstMessagesWaitForTheHostTickWhenTheModuleStartsItsTimerAtOnce) {
    const LoggedMessage size = {MSG_SIZE, 1000, 600, 0};
    const LoggedMessage move = {MSG_MOVE, 100, 100, 0};
    const LoggedMessage start1 = {MSG_START1};
    const LoggedMessage start2 = {MSG_START2};
    const LoggingModule module = WithTimer(60000);
    EXPECT_EQ(LoggedMessages(PlayFor(4, module)), (Messages{start1, start2}));
    EXPECT_EQ(LoggedMessages(PlayFor(5, module)), (Messages{start1, start2, size}));
    EXPECT_EQ(LoggedMessages(PlayFor(10, module)), (Messages{start1, start2, size, move}));
    EXPECT_EQ(LoggedMessages(PlayFor(15, module)), (Messages{start1, start2, size, move, size}));
}

TEST(Delivery, WithoutATimerTheSizeIsRepeatedByTheFirstHostTick) {
    EXPECT_EQ(LoggedMessages(PlayFor(4, {})).size(), 4u);
    EXPECT_EQ(LoggedMessages(PlayFor(5, {})).size(), 5u);
}

TEST(Delivery, StoppingTheTimerMakesInputSynchronousAgain) {
    LoggingModule module = WithTimer(60000);
    module.on[MSG_START2] = "        PUSH.L  #0\n        SERVICE 0x0200, 4\n";
    EXPECT_EQ(MessagesAfterStart(PlayFor(12, module, "12 mouse-move 2 2\n")),
              (Messages{{MSG_POINTER, 2, 2, 0}}));
}

TEST(Delivery, NothingIsDeliveredDuringALiveResize) {
    const std::string script = "101 live-resize-start\n102 post 100 0 0 0\n200 live-resize-end\n";
    EXPECT_EQ(MessagesAfterStart(PlayFor(199, WithTimer(60000), script)), Messages{});
    EXPECT_EQ(MessagesAfterStart(PlayFor(200, WithTimer(60000), script)),
              (Messages{{100, 0, 0, 0}}));
}

TEST(Delivery, ASuspendedModuleGetsNothingFromTheQueueUntilDelay0) {
    LoggingModule module = WithTimer(60000);
    module.on[MSG_CHAR] = kSuspendOnDResumeOnR;
    // The text that suspends is delivered at 110 ms and lasts until 120. While input is suspended
    // posts of an idle module are delivered at once; what had been queued before waits.
    const HeadlessResult result =
        PlayFor(300, module,
                "101 key-down 02 \"d\"\n103 post 100 0 0 0\n121 post 101 0 0 0\n"
                "150 key-down 0F \"r\"\n");
    EXPECT_EQ(MessagesAfterStart(result), (Messages{{MSG_DOWN, 'D', 1, 0},
                                                    {MSG_CHAR, 'd', 0, 0},
                                                    {101, 0, 0, 0},
                                                    {MSG_CHAR, 'r', 0, 0},
                                                    {100, 0, 0, 0}}));
}

// --- The host tick

TEST(HostTick, PostsATickOnEvery16thIdleTick) {
    LoggingModule module;
    module.ticks = true;
    EXPECT_EQ(Ticks(PlayFor(79, module)), 0u);
    EXPECT_EQ(Ticks(PlayFor(80, module)), 1u);
    EXPECT_EQ(Ticks(PlayFor(159, module)), 1u);
    EXPECT_EQ(Ticks(PlayFor(160, module)), 2u);
    EXPECT_EQ(Ticks(PlayFor(800, module)), 10u);
}

TEST(HostTick, DoesNotCountTicksThatFindAMessage) {
    LoggingModule module = WithTimer(60000);
    module.ticks = true;
    // The first three ticks deliver the first three messages; 16 idle ones end at 95 ms.
    EXPECT_EQ(Ticks(PlayFor(94, module)), 0u);
    EXPECT_EQ(Ticks(PlayFor(95, module)), 1u);
    // Two more messages, two more ticks.
    const std::string script = "31 post 100 0 0 0\n31 post 100 0 0 0\n";
    EXPECT_EQ(Ticks(PlayFor(104, module, script)), 0u);
    EXPECT_EQ(Ticks(PlayFor(105, module, script)), 1u);
}

TEST(HostTick, DoesNotCountWhileInputIsSuspendedOrTheWindowIsResized) {
    LoggingModule module;
    module.ticks = true;
    // 20 ticks fall into the live resize, those from 25 ms to 120.
    const std::string script = "22 live-resize-start\n122 live-resize-end\n";
    EXPECT_EQ(Ticks(PlayFor(179, module, script)), 0u);
    EXPECT_EQ(Ticks(PlayFor(180, module, script)), 1u);
    module.on[MSG_START2] = "        PUSH.L  #1\n        SERVICE 0x0715, 4\n";
    EXPECT_EQ(Ticks(PlayFor(1000, module)), 0u);
}

TEST_F(Queue, ATickIsPostedOnTheNumbersThatAreMultiplesOf16) {
    for (u32 i = 1; i <= 33; ++i) {
        OnHostTick();
        EXPECT_EQ(DeliveredMessages().size(), i / 16);
    }
    EXPECT_EQ(DeliveredMessages().front(), (LoggedMessage{MSG_TICK}));
    EXPECT_EQ(idleTicks, 33u);
}

TEST_F(Queue, ATickWhileTheModuleRunsDoesNothing) {
    pendingSize = true;
    inMX = true;
    for (u32 i = 0; i < 32; ++i) {
        OnHostTick();
    }
    inMX = false;
    EXPECT_EQ(idleTicks, 0u);
    EXPECT_TRUE(pendingSize);
    EXPECT_TRUE(QueueIsEmpty());
}

TEST_F(Queue, APendingSizeIsPostedOnceWithTheSavedSize) {
    pendingSize = true;
    savedWidth = 640;
    savedHeight = 480;
    OnHostTick();
    OnHostTick();
    EXPECT_EQ(DeliveredMessages(), (Messages{{MSG_SIZE, 640, 480, 0}}));
}

// --- The module's timer

TEST(ModuleTimer, SendsATickAtEachFiring) {
    LoggingModule module = WithTimer(20);
    module.ticks = true;
    // Fired at 20 ms behind the host tick, delivered by the next one.
    EXPECT_EQ(Ticks(PlayFor(24, module)), 0u);
    EXPECT_EQ(Ticks(PlayFor(25, module)), 1u);
    EXPECT_EQ(Ticks(PlayFor(44, module)), 1u);
    EXPECT_EQ(Ticks(PlayFor(45, module)), 2u);
    EXPECT_EQ(LoggedMessages(PlayFor(65, module)).back(), (LoggedMessage{MSG_TICK, 0, 0, 0}));
}

TEST(ModuleTimer, AStartWhileItRunsIsIgnored) {
    LoggingModule module = WithTimer(50);
    module.ticks = true;
    module.on[MSG_START2] = "        PUSH.L  #30\n        SERVICE 0x0200, 4\n";
    EXPECT_EQ(Ticks(PlayFor(54, module)), 0u);
    EXPECT_EQ(Ticks(PlayFor(55, module)), 1u);
}

TEST(ModuleTimer, StoppedAndStartedAgainItHasTheNewInterval) {
    LoggingModule module = WithTimer(50);
    module.ticks = true;
    module.on[MSG_START2] =
        "        PUSH.L  #0\n        SERVICE 0x0200, 4\n"
        "        PUSH.L  #30\n        SERVICE 0x0200, 4\n";
    EXPECT_EQ(Ticks(PlayFor(34, module)), 0u);
    EXPECT_EQ(Ticks(PlayFor(35, module)), 1u);
    EXPECT_EQ(Ticks(PlayFor(64, module)), 1u);
    EXPECT_EQ(Ticks(PlayFor(65, module)), 2u);
}

TEST(ModuleTimer, SkipsTheFiringsThatAWaitingModuleMissesAndKeepsItsPhase) {
    LoggingModule module = WithTimer(50);
    module.ticks = true;
    // The message of 110 ms waits until 240 and lets input in again.
    module.on[100] =
        "        PUSH.L  #13\n        SERVICE 0x0715, 4\n"
        "        PUSH.L  #0\n        SERVICE 0x0715, 4\n";
    const std::string script = "101 post 100 0 0 0\n";
    const auto at = [&](u32 milliseconds) { return Ticks(PlayFor(milliseconds, module, script)); };
    // The timer's at 50 and 100 ms, and that of the 16th idle host tick at 100.
    EXPECT_EQ(at(105), 3u);
    EXPECT_EQ(at(240), 3u);
    // What the timer missed at 150 and 200 is made up for by one firing, at 240.
    EXPECT_EQ(at(245), 4u);
    // The next point of its phase is 250.
    EXPECT_EQ(at(254), 4u);
    EXPECT_EQ(at(255), 5u);
}

TEST(ModuleTimer, IsSilentWhileInputIsSuspended) {
    LoggingModule module = WithTimer(20);
    module.ticks = true;
    module.on[MSG_START2] = "        PUSH.L  #1\n        SERVICE 0x0715, 4\n";
    EXPECT_EQ(Ticks(PlayFor(500, module)), 0u);
}

TEST_F(Queue, TheModuleTimerPostsNothingWhileTheModuleRuns) {
    inMX = true;
    OnModuleTimer();
    EXPECT_TRUE(QueueIsEmpty());
    inMX = false;
    OnModuleTimer();
    EXPECT_EQ(DeliveredMessages(), (Messages{{MSG_TICK}}));
}

// --- The collapse check

// The window's geometry at the end of a run: where the module has asked for it with message 200.
constexpr const char* kReadGeometry = "        PUSH.L  #frame\n        SERVICE 0x0708, 4\n";
constexpr const char* kFrame = "frame:  .space 20\n";

std::vector<u32> Frame(const HeadlessResult& result) {
    const u32 frame = result.Label("frame");
    return {result.Long(frame), result.Long(frame + 4), result.Long(frame + 8),
            result.Long(frame + 12), result.Long(frame + 16)};
}

TEST(Collapse, AWindowNarrowerThan10PointsIsRestoredByTheModuleTimer) {
    LoggingModule module = WithTimer(50);
    module.on[200] = kReadGeometry;
    module.data = kFrame;
    const HeadlessResult result = PlayFor(200, module, "60 resize 9 500\n120 post 200 0 0 0\n");
    EXPECT_EQ(Frame(result), (std::vector<u32>{30, 20, 600, 400, 0}));
    // The restored size is the host's own doing and no message.
    EXPECT_EQ(MessagesAfterStart(result),
              (Messages{{MSG_SIZE, 9, 500, 0}, {MSG_SIZE, 9, 500, 0}, {200, 0, 0, 0}}));
}

TEST(Collapse, AWindowOf10PointsIsNotCollapsed) {
    LoggingModule module = WithTimer(50);
    module.on[200] = kReadGeometry;
    module.data = kFrame;
    const HeadlessResult result = PlayFor(200, module, "60 resize 10 500\n120 post 200 0 0 0\n");
    EXPECT_EQ(Frame(result), (std::vector<u32>{100, 100, 10, 500, 0}));
}

TEST(Collapse, WithoutAModuleTimerNothingIsChecked) {
    LoggingModule module;
    module.on[200] = kReadGeometry;
    module.data = kFrame;
    const HeadlessResult result = PlayFor(2000, module, "60 resize 9 500\n1900 post 200 0 0 0\n");
    EXPECT_EQ(Frame(result), (std::vector<u32>{100, 100, 9, 500, 0}));
}

TEST(Collapse, NothingIsCheckedWhileMessagesWait) {
    LoggingModule module = WithTimer(50);
    module.on[200] = kReadGeometry;
    module.data = kFrame;
    // At 100 ms messages wait until 115; the next look is at 150.
    const std::string script =
        "99 resize 9 500\n99 post 100 0 0 0\n99 post 100 0 0 0\n99 post 100 0 0 0\n";
    EXPECT_EQ(Frame(PlayFor(148, module, script + "140 post 200 0 0 0\n")),
              (std::vector<u32>{100, 100, 9, 500, 0}));
    EXPECT_EQ(Frame(PlayFor(170, module, script + "160 post 200 0 0 0\n")),
              (std::vector<u32>{30, 20, 600, 400, 0}));
}

// --- The flush

TEST_F(Queue, FlushingTheEmptyRectangleDoesNothing) {
    dirtyRect = {5, 7, 5, 9};
    FlushDirtyRect();
    EXPECT_TRUE(hostBench.redraws.empty());
    EXPECT_EQ(dirtyRect.left, 5);  // it is not even reset
    EXPECT_EQ(dirtyRect.bottom, 9);
}

TEST_F(Queue, FlushingTurnsTheRectangleUpsideDownAndEmptiesIt) {
    dirtyRect = {10, 20, 110, 70};
    FlushDirtyRect();
    ASSERT_EQ(hostBench.redraws.size(), 1u);
    EXPECT_EQ(hostBench.redraws[0].x, 10);
    EXPECT_EQ(hostBench.redraws[0].y, 530);  // 600 - 70
    EXPECT_EQ(hostBench.redraws[0].width, 100);
    EXPECT_EQ(hostBench.redraws[0].height, 50);
    EXPECT_EQ(dirtyRect.left, 30000);
    EXPECT_EQ(dirtyRect.top, 30000);
    EXPECT_EQ(dirtyRect.right, -1);
    EXPECT_EQ(dirtyRect.bottom, -1);
}

TEST_F(Queue, FlushingWithANegativeTopDrawsFromRow0) {
    dirtyRect = {0, -5, 40, 10};
    FlushDirtyRect();
    ASSERT_EQ(hostBench.redraws.size(), 1u);
    EXPECT_EQ(hostBench.redraws[0].y, 590);
    EXPECT_EQ(hostBench.redraws[0].height, 10);
}

TEST_F(Queue, FlushingOnAnotherThreadIsLeftToTheMainThread) {
    dirtyRect = {0, 0, 40, 10};
    hostBench.mainThread = false;
    FlushDirtyRect();
    EXPECT_TRUE(hostBench.redraws.empty());
    EXPECT_EQ(dirtyRect.right, 40);
    ASSERT_EQ(hostBench.queued.size(), 1u);
    hostBench.mainThread = true;
    hostBench.queued[0]();
    EXPECT_EQ(hostBench.redraws.size(), 1u);
    EXPECT_EQ(dirtyRect.right, -1);
}

TEST_F(Queue, ARunFlushesWhatIsDirtyBeforeAndAfter) {
    dirtyRect = {0, 0, 40, 10};
    PostMessage(100, 0, 0, 0);
    EXPECT_EQ(hostBench.redraws.size(), 1u);
}

// --- Delay

TEST_F(Queue, DelaySuspendsInputFlushesAndSleepsAndLeavesInputSuspended) {
    dirtyRect = {0, 0, 40, 10};
    Delay(7);
    EXPECT_EQ(hostBench.sleeps, (std::vector<u64>{70}));
    EXPECT_EQ(hostBench.suspendedDuringFlush, (std::vector<bool>{true}));
    EXPECT_TRUE(inputSuspended);
}

TEST_F(Queue, Delay0FlushesLaterWithInputSuspendedForThatMoment) {
    inputSuspended = true;
    dirtyRect = {0, 0, 40, 10};
    Delay(0);
    EXPECT_TRUE(inputSuspended);
    EXPECT_TRUE(hostBench.redraws.empty());
    EXPECT_TRUE(hostBench.sleeps.empty());
    ASSERT_EQ(hostBench.queued.size(), 1u);
    hostBench.queued[0]();
    EXPECT_EQ(hostBench.suspendedDuringFlush, (std::vector<bool>{true}));
    EXPECT_FALSE(inputSuspended);
}

TEST(DelayService, PassesTenMillisecondsAStep) {
    LoggingModule module;
    module.data = "before: .long 0\nafter: .long 0\n";
    module.on[MSG_START2] =
        "        SERVICE 0x0201, 0\n        MOVE.L  [before], R14\n"
        "        PUSH.L  #3\n        SERVICE 0x0715, 4\n"
        "        SERVICE 0x0201, 0\n        MOVE.L  [after], R14\n";
    const HeadlessResult result = PlayFor(100, module);
    EXPECT_EQ(result.LongAt("before"), 0u);
    EXPECT_EQ(result.LongAt("after"), 30u);
}

TEST(DelayService, EventsThatFellIntoADelayComeAfterItAndAreDropped) {
    LoggingModule module;
    module.on[100] = "        PUSH.L  #5\n        SERVICE 0x0715, 4\n";
    module.on[MSG_CHAR] = kSuspendOnDResumeOnR;
    EXPECT_EQ(MessagesAfterStart(PlayFor(200, module,
                                         "10 post 100 0 0 0\n30 mouse-move 1 1\n"
                                         "40 key-down 0F \"r\"\n70 mouse-move 2 2\n")),
              (Messages{{100, 0, 0, 0}, {MSG_CHAR, 'r', 0, 0}, {MSG_POINTER, 2, 2, 0}}));
}

}  // namespace

}  // namespace moxi
