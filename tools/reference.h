#pragma once
// The reference page of the instruction set, docs/instruction-set.md, made from vm/opcodes.h.

#include <string>

namespace moxi {

std::string InstructionSetPage();

}  // namespace moxi
