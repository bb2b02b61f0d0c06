#pragma once
// What the two image fuzzers share: a machine with a heap of 4 MiB, and a file in memory that every
// name opens.

#include "base/types.h"

// Loads the bytes as an image file. A bitmap that comes back must lie in the heap, and without one
// the heap must be as free as before. The handle is freed again.
void LoadFuzzedImage(const u8* data, std::size_t size);
