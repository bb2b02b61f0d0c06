#pragma once
// Goes over what stands behind an instruction's byte without looking at it.

#include "wasm/cursor.h"

namespace moxi {

// Moves the cursor from behind an instruction's first byte, which is `opcode`, to the next
// instruction. The function has been validated; in one that has not, the cursor may fail.
void SkipOperands(ByteCursor& cursor, u8 opcode);

}  // namespace moxi
