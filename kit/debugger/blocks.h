#pragma once
// What the debugger shows of the module's things in the host: the heap, bitmaps and the queue.

#include <string>

#include "base/types.h"

namespace moxi {

// The totals and the blocks by address, at most `count` of them.
void ShowHeap(u32 count);
// One block. Says so when there is no such handle.
void ShowHeapBlock(u32 handle);

// Screen, text bitmap and every heap block that looks like a bitmap's record.
void ShowBitmaps();
// One bitmap.
void ShowBitmap(u32 handle);
// Writes a bitmap as a PNG with its alpha, the bytes as they are.
void SaveBitmap(u32 handle, const std::string& path);

// The messages that wait, the next one first.
void ShowQueue();

}  // namespace moxi
