#pragma once
// Goes over what stands behind an instruction's byte without looking at it.

#include "wasm/cursor.h"

namespace moxi {

// The cursor stands behind the opcode's byte of an instruction that has been validated.
void SkipOperands(ByteCursor& cursor, u8 opcode);

}  // namespace moxi
