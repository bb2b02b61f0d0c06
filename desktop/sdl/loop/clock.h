#pragma once
// The clock that everything on this desktop is timed by.

#include "base/types.h"

namespace moxi {

u64 Nanoseconds();  // monotonic, since an arbitrary start; any thread

}  // namespace moxi
