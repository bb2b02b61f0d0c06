#pragma once
// How much the data folder may hold. Where a write would pass it, the write comes short as on a
// full disk, with one log line in a run; where a file or folder would, it is not made.
//
// What a file holds is its size, or the blocks that it takes up where those are fewer.

#include <cstdio>

#include "base/types.h"

namespace moxi {

// How many of `count` bytes may be written to the stream, which belongs to a file of the data
// folder.
u32 WritableBytes(std::FILE* stream, u32 count);

// How many files and folders there may be in it: one for each 4 KiB that it may hold, at least
// 1,024.
u64 MostEntries();

// Whether one more may be made, which counts as made then. The first false of a run has a log line.
bool MayMakeEntry();

// Something in the data folder has become shorter or has gone.
void NoteShrinking();

// Measures anew before the next write. For tests, and when the folders change.
void ResetQuota();

}  // namespace moxi
