#include "host/queue.h"

#include <algorithm>

#include "desktop/desktop.h"
#include "gfx/bitmap.h"
#include "sys/time_group.h"
#include "vm/diagnostics.h"
#include "vm/run_cycle.h"

namespace moxi {

constinit bool inputSuspended = false;
constinit bool launchComplete = false;
constinit bool firstSizeSent = false;
constinit bool pendingSize = false;
constinit i32 savedWidth = 0;
constinit i32 savedHeight = 0;
constinit bool liveResize = false;
constinit u32 idleTicks = 0;

namespace {

constinit Message slots[kQueueSlots] = {};
constinit u32 head = 0;  // next slot to deliver
constinit u32 tail = 0;  // next slot to fill

u32 NextSlot(u32 slot) {
    return (slot + 1) % kQueueSlots;
}

void Queue(const Message& message) {
    slots[tail] = message;
    // A full ring keeps its oldest messages: the slot just written stays unlisted.
    if (NextSlot(tail) != head) tail = NextSlot(tail);
}

// With the module idle and queueing not called for, the message is delivered on the spot.
void DeliverNow(const Message& message) {
    if (moduleStarted != 0) MXmsg(message.command, message.p1, message.p2, message.p3);
}

}  // namespace

bool QueueIsEmpty() {
    return head == tail;
}

const Message& QueueHead() {
    return slots[head];
}

void DropQueueHead() {
    head = NextSlot(head);
}

u32 QueueLength() {
    return (tail - head) % kQueueSlots;
}

const Message& QueuedMessage(u32 index) {
    return slots[(head + index) % kQueueSlots];
}

bool TakeQueuedMessage(u32 words[4]) {
    if (inputSuspended || QueueIsEmpty()) return false;
    const Message message = QueueHead();
    DropQueueHead();
    words[0] = message.command;
    words[1] = message.p1;
    words[2] = message.p2;
    words[3] = message.p3;
    return true;
}

void EmptyQueue() {
    head = tail = 0;
}

bool UpdateQueuedSize(u32 width, u32 height) {
    for (u32 slot = head; slot != tail; slot = NextSlot(slot)) {
        if (slots[slot].command == MSG_SIZE) {
            slots[slot].p1 = width;
            slots[slot].p2 = height;
            return true;
        }
    }
    return false;
}

void PostMessage(u32 command, u32 p1, u32 p2, u32 p3) {
    const Message message{command, p1, p2, p3};
    if (inMX) {
        if (!inputSuspended) Queue(message);
    } else if (!inputSuspended && launchComplete && ModuleTimerRuns()) {
        Queue(message);
    } else {
        DeliverNow(message);
    }
}

void FlushDirtyRect() {
    if (!desktop.isMainThread()) {
        desktop.queueOnMain(FlushDirtyRect);
        return;
    }
    if (dirtyRect.left >= dirtyRect.right) return;
    const i32 top = std::max(dirtyRect.top, 0);
    const double height = static_cast<double>(dirtyRect.bottom) - top;
    const ViewRect rect = {static_cast<double>(dirtyRect.left),
                           static_cast<double>(desktop.viewSize().height) - dirtyRect.bottom,
                           static_cast<double>(dirtyRect.right) - dirtyRect.left, height};
    ResetDirtyRect();
    desktop.requestRedraw(rect);
}

void Delay(u32 n) {
    constexpr u64 kStepMilliseconds = 10;
    if (n == 0) {
        desktop.queueOnMain([] {
            inputSuspended = true;
            FlushDirtyRect();
            inputSuspended = false;
        });
        return;
    }
    // The flag stays set after the sleep: only a later Delay(0) lets input in again.
    inputSuspended = true;
    FlushDirtyRect();
    desktop.sleep(u64{n} * kStepMilliseconds);
}

void ResetQueue() {
    inputSuspended = launchComplete = firstSizeSent = pendingSize = liveResize = false;
    savedWidth = savedHeight = 0;
    idleTicks = 0;
    EmptyQueue();
}

}  // namespace moxi
