#pragma once
// Constant folding: operators whose operands are known are computed while translating. Only those
// are that work on integers or on bits, whose results do not depend on the machine that the
// translator runs on.

#include "base/types.h"

namespace moxi {

// `code` is a row of kOperators.plain. Values are bits, of an i32 in the lower half with the upper
// half clear, and so are results. False, with `result` as it was, when the operator is left to the
// program: divisions, which may trap, and all of floating point that is more than moving bits.
bool FoldUnary(u8 code, u64 a, u64& result);
bool FoldBinary(u8 code, u64 a, u64 b, u64& result);

}  // namespace moxi
