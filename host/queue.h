#pragma once
// The event queue: desktop events, timers and the music become messages here. A ring of 1,024
// slots holds what arrives while the module is busy; the host tick delivers one message at a time.
// Everything runs on the main thread.

#include "base/types.h"
#include "host/message.h"

namespace moxi {

constexpr u32 kQueueSlots = 1024;  // one slot always stays unused

bool QueueIsEmpty();
// The oldest message; the queue must not be empty.
const Message& QueueHead();
void DropQueueHead();
// How many messages have left the queue.
u64 MessagesTaken();
// How many messages wait, and the one that comes after `index` others.
u32 QueueLength();
const Message& QueuedMessage(u32 index);
// Delivers the oldest message to the module; nothing when there is none or delivery is suspended.
void DeliverQueuedMessage();
void EmptyQueue();
// Gives a waiting MSG_SIZE this size; false when none waits.
bool UpdateQueuedSize(u32 width, u32 height);

// Queues a message while the module runs or its timer exists, else delivers it at once; dropped
// while input is suspended during a run, and before the module is started. A full ring keeps its
// 1,023 oldest messages and loses the new one.
void PostMessage(u32 command, u32 p1, u32 p2, u32 p3);

}  // namespace moxi
