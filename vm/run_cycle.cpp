#include "vm/run_cycle.h"

#include <algorithm>

#include "base/bytes.h"
#include "vm/diagnostics.h"
#include "vm/heap.h"
#include "vm/interpreter.h"
#include "vm/machine.h"
#include "vm/slots.h"

namespace moxi {

constinit bool inMX = false;
constinit u32 heapHighWater = 0;
constinit i32 moduleStarted = 0;

namespace {

constexpr u32 kMessageEnd = 4;
constexpr u32 kStackReserve = 100;
constexpr u32 kArgumentBytes = 16;
constexpr u32 kFrameSize = 24;

// Word by word: an array would bring a guard on the stack with it, which every message pays for.
void PushMessageFrame(u32 sp, u32 command, u32 p1, u32 p2, u32 p3) {
    const u32 newSP = sp - kFrameSize;
    u8* const frame = CheckedRange(newSP, kFrameSize);
    StoreBytes<u32>(frame, 0);  // where the module returns to
    StoreBytes<u32>(frame + 4, kArgumentBytes);
    StoreBytes<u32>(frame + 8, command);
    StoreBytes<u32>(frame + 12, p1);
    StoreBytes<u32>(frame + 16, p2);
    StoreBytes<u32>(frame + 20, p3);
    Store<u32>(kHeaderSP, newSP);
    Store<u32>(kHeaderPC, kEntryPoint);
}

}  // namespace

i32 MXmsg(u32 command, u32 p1, u32 p2, u32 p3) {
    if (inMX) {
        SystemLog("inMX MXmsg");
    }
    while (vmSlots.flushScreen()) {
    }
    inMX = true;
    // inMX stays set here: the process is about to end and no later message is run.
    if (command != kMessageEnd && (runState & kRunEnding) != 0) {
        return 0;
    }

    const u32 sp = Load<u32>(kHeaderSP);
    if (sp - kStackReserve < Load<u32>(kHeaderStackLimit)) {
        ShowFatalMessage("Out of stack");
        EndProcess(1);
    }
    PushMessageFrame(sp, command, p1, p2, p3);
    CountBoxesAnew();
    RunInterpreter();
    CountBoxesAnew();
    heapHighWater = std::max(heapHighWater, heapFree);
    CompactHeap();
    inMX = false;

    if (runState == 0) {
        vmSlots.flushScreen();
    } else if (runState == kRunStop) {
        runState = kRunStop | kRunEnding;
        ForceMsg(kMessageEnd, 0, 0, 0);
        EndProcess(0);
    }
    return Load<i8>(kHeaderResult);
}

i32 ForceMsg(u32 command, u32 p1, u32 p2, u32 p3) {
    if (inMX) {
        SystemLog(FormatText("ForceMsg BAD CALL! cmd=%d", static_cast<i32>(command)));
        ShowFatalMessage("ForceMsg BAD CALL!");
    }
    if (moduleStarted == 0) {
        return 0;
    }
    return static_cast<i8>(MXmsg(command, p1, p2, p3));
}

void ResetRunCycle() {
    CountBoxesAnew();
    inMX = false;
    runState = 0;
    heapHighWater = 0;
    moduleStarted = 0;
}

}  // namespace moxi
