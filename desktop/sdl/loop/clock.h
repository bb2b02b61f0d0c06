#pragma once
// The clock that everything on this desktop is timed by.

#include "base/types.h"

namespace moxi {

constexpr u64 kNever = ~u64{0};  // a time that does not come

u64 Nanoseconds();  // monotonic, since an arbitrary start; any thread

}  // namespace moxi
