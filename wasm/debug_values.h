#pragma once
// Where the variables of a source function are in the machine code that was made of it.

#include <vector>

#include "wasm/encode.h"
#include "wasm/select.h"
#include "wasm/translation.h"

namespace moxi {

// The variables of the function that was appended to `out` last, of `code` and `allocation`, and
// begins at that address of the image. Offsets of what lies in memory count from where the module's
// memory begins. `steps` bounds the time for all functions together: it is lowered by the
// instructions that are gone over, and what it is too small for is left out.
std::vector<TranslatedVariable> FindVariables(const DebugFunction& function,
                                              const FunctionCode& code,
                                              const Allocation& allocation, const MachineCode& out,
                                              u32 address, u64& steps);

}  // namespace moxi
