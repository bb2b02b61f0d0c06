#pragma once
// Whether blocks would fit into the heap, for services that answer "no" where AllocHeap would end
// the process.

#include "base/types.h"

namespace moxi {

// Whether AllocHeap(first) and then AllocHeap(second) would find handles and room, in freed blocks
// or behind all others. The heap stays as it is.
bool HeapHasRoomFor(u32 first, u32 second);

}  // namespace moxi
