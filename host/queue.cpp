#include "host/queue.h"

#include "host/session.h"
#include "sys/time_group.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

constinit Message slots[kQueueSlots] = {};
constinit u32 head = 0;  // next slot to deliver
constinit u32 tail = 0;  // next slot to fill
constinit u64 delivered = 0;

u32 NextSlot(u32 slot) {
    return (slot + 1) % kQueueSlots;
}

void Queue(const Message& message) {
    slots[tail] = message;
    // A full ring keeps its oldest messages: the slot just written stays unlisted.
    if (NextSlot(tail) != head) {
        tail = NextSlot(tail);
    }
}

// With the module idle and queueing not called for, the message is delivered on the spot.
void DeliverNow(const Message& message) {
    if (moduleStarted != 0) {
        MXmsg(message.command, message.p1, message.p2, message.p3);
    }
}

}  // namespace

bool QueueIsEmpty() {
    return head == tail;
}

const Message& QueueHead() {
    return slots[head];
}

void DropQueueHead() {
    ++delivered;
    head = NextSlot(head);
}

u64 MessagesTaken() {
    return delivered;
}

u32 QueueLength() {
    return (tail - head) % kQueueSlots;
}

const Message& QueuedMessage(u32 index) {
    return slots[(head + index) % kQueueSlots];
}

void DeliverQueuedMessage() {
    if (inputSuspended || QueueIsEmpty()) {
        return;
    }
    const Message message = QueueHead();
    DropQueueHead();
    MXmsg(message.command, message.p1, message.p2, message.p3);
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
        if (!inputSuspended) {
            Queue(message);
        }
    } else if (!inputSuspended && launchComplete && ModuleTimerRuns()) {
        Queue(message);
    } else {
        DeliverNow(message);
    }
}

}  // namespace moxi
