#pragma once
// The instructions with one and two operands.

#include "translate/operands.h"

namespace moxi {

void EmitTwoOperands(Emission& e, const Instruction& in);
void EmitOneOperand(Emission& e, const Instruction& in);
void EmitPushConstant(Emission& e, const Instruction& in);

// Leaves the instruction to the interpreter when `pointer` lies below `room` bytes above the floor
// for writes, or the header's end for reads.
void RequireStack(Emission& e, const asmjit::x86::Gp& pointer, u32 room, Use use);

}  // namespace moxi
