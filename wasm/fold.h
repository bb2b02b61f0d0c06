#pragma once
// Operators on constants. Only integers, whose results do not depend on the machine that the
// translator runs on.

#include "base/types.h"

namespace moxi {

// Values are bits, of an i32 in the lower half. False when the operator is left to the program.
bool FoldUnary(u8 code, u64 a, u64& result);
bool FoldBinary(u8 code, u64 a, u64 b, u64& result);

}  // namespace moxi
