#pragma once
// The instructions with one and two operands.

#include "translate/operands.h"

namespace moxi {

void EmitTwoOperands(Emission& e, const DecodedInstruction& in);
void EmitOneOperand(Emission& e, const DecodedInstruction& in);
void EmitPushConstant(Emission& e, const DecodedInstruction& in);

// Leave the instruction to the interpreter when less than `room` bytes below SP may be written, or
// when SP lies in the header.
void RequireRoom(Emission& e, u32 room);
void RequireStack(Emission& e);

}  // namespace moxi
