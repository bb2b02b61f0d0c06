#include "tests/support/host_bench.h"

#include "gfx/bitmap.h"
#include "gfx/screen.h"
#include "host/delegate.h"
#include "host/host_group.h"
#include "host/keyboard.h"
#include "host/mouse.h"
#include "host/queue.h"
#include "host/session.h"
#include "host/timers.h"
#include "host/view.h"
#include "host/window.h"
#include "sys/dispatch.h"
#include "sys/time_group.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/slots.h"

namespace moxi {

HostBench hostBench;

namespace {

// Appends the four words of each message at `log`.
constexpr const char* kModule = R"(
        .stack  4096
        .heap   65536
        .code
        LINK    0, 0
        MOVE.L  R1, [count]
        LSL.L   R1, #4
        MOVE.L  [R1+log], [FP+12]
        MOVE.L  [R1+log+4], [FP+16]
        MOVE.L  [R1+log+8], [FP+20]
        MOVE.L  [R1+log+12], [FP+24]
        ADD.L   [count], #1
        RETURN  0
        .data
        .align  4
count:  .long   0
log:    .space  65536
)";

constinit u32 countAddress = 0;

void FillDesktop() {
    desktop.windowFrame = [] { return hostBench.frame; };
    desktop.viewSize = [] { return hostBench.view; };
    desktop.isFullScreen = [] { return hostBench.fullScreen; };
    desktop.screens = [] { return hostBench.screens; };
    desktop.isMainThread = [] { return hostBench.mainThread; };
    desktop.queueOnMain = [](void (*work)()) { hostBench.queued.push_back(work); };
    desktop.requestRedraw = [](ViewRect rect) {
        hostBench.redraws.push_back(rect);
        hostBench.suspendedDuringFlush.push_back(inputSuspended);
    };
    desktop.presentView = [](ViewPixels, ViewRect rect) { hostBench.shown.push_back(rect); };
    desktop.createWindow = [](WindowFrame content) { hostBench.created.push_back(content); };
    desktop.setWindowTitle = [](const char* title) {
        hostBench.titles.emplace_back(title);
        hostBench.titleGuards.push_back(titleGuard);
    };
    desktop.setHandCursor = [](bool hand) { hostBench.cursors.push_back(hand); };
    desktop.sleep = [](u64 milliseconds) { hostBench.sleeps.push_back(milliseconds); };
    desktop.startTimer = [](u64, void (*)()) { return ++hostBench.timers; };
}

void EmptyDesktop() {
    desktop.windowFrame = [] { return WindowFrame{}; };
    desktop.viewSize = [] { return ViewSize{}; };
    desktop.isFullScreen = [] { return false; };
    desktop.screens = [] { return std::vector<Screen>{Screen{}}; };
    desktop.isMainThread = [] { return true; };
    desktop.queueOnMain = [](void (*work)()) { work(); };
    desktop.requestRedraw = [](ViewRect) {};
    desktop.presentView = [](ViewPixels, ViewRect) {};
    desktop.createWindow = [](WindowFrame) {};
    desktop.setWindowTitle = [](const char*) {};
    desktop.setHandCursor = [](bool) {};
    desktop.sleep = [](u64) {};
    desktop.startTimer = [](u64, void (*)()) { return TimerId{0}; };
}

void ResetHost() {
    ResetSession();
    EmptyQueue();
    ResetWindow();
    ResetDelegate();
    ResetKeyboard();
    ResetMouse();
    ResetView();
    ResetTimeGroup();
    ResetGraphics();
    presentNotify = false;
}

}  // namespace

void HostTest::SetUp() {
    StartVmBench();
    ResetHost();
    hostBench = {};
    FillDesktop();
    const AssembleResult module = Assemble(kModule, "bench.mxs");
    ASSERT_TRUE(module.ok) << FormatErrors(module);
    vmFiles.contents["MAIN.MX"] = std::string(module.bytes.begin(), module.bytes.end());
    ASSERT_TRUE(LoadTestModule());
    countAddress = SymbolValue(module, "count");
    vmSlots.flushScreen = FlushDirtyRect;
    moduleStarted = 2;
    launchComplete = firstSizeSent = true;
}

void HostTest::TearDown() {
    ResetHost();
    EmptyDesktop();
    EndVmBench();
}

Messages DeliveredMessages() {
    Messages messages;
    const u32 count = Load<u32>(countAddress);
    for (u32 i = 0; i < count; ++i) {
        const u32 address = countAddress + 4 + 16 * i;
        messages.push_back({Load<u32>(address), Load<u32>(address + 4), Load<u32>(address + 8),
                            Load<u32>(address + 12)});
    }
    return messages;
}

Messages QueuedMessages() {
    Messages messages;
    for (; !QueueIsEmpty(); DropQueueHead()) {
        const Message& head = QueueHead();
        messages.push_back({head.command, head.p1, head.p2, head.p3});
    }
    return messages;
}

void StartModuleTimer() {
    const u32 argument = countAddress + 65536;  // the end of the log
    Store<u32>(argument, 50);
    SysTimeGroup(0, argument);
}

}  // namespace moxi
