#pragma once
// How much the data folder may hold. Where a write would pass it, the write comes short as on a
// full disk, with one log line in a run.
//
// What a file holds is its size, or the blocks that it takes up where those are fewer.

#include <cstdio>

#include "base/types.h"

namespace moxi {

// How many of `count` bytes may be written to the stream, which belongs to a file of the data
// folder.
u32 WritableBytes(std::FILE* stream, u32 count);

// A file of the data folder has become shorter or has gone.
void NoteShrinking();

// Measures anew before the next write. For tests, and when the folders change.
void ResetQuota();

}  // namespace moxi
