#pragma once
// Operators on constants. Only integers, whose results do not depend on the machine that the
// translator runs on.

#include "base/types.h"

namespace moxi {

// `code` is a row of kOperators.plain. Values are bits, of an i32 in the lower half with the upper
// half clear. False when the operator is left to the program: a trap, a floating-point operator.
bool FoldUnary(u8 code, u64 a, u64& result);
bool FoldBinary(u8 code, u64 a, u64 b, u64& result);

}  // namespace moxi
