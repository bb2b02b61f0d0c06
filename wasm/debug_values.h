#pragma once
// Where the variables of a function are in the code that became of it.

#include <vector>

#include "wasm/encode.h"
#include "wasm/select.h"
#include "wasm/translation.h"

namespace moxi {

// Of a function that was just encoded and begins at that address of the image. Offsets of what lies
// in memory count from where the module's memory begins. `steps` bounds the time for all functions
// together: what it is too small for is left out.
std::vector<TranslatedVariable> FindVariables(const DebugFunction& function,
                                              const FunctionCode& code,
                                              const Allocation& allocation, const MachineCode& out,
                                              u32 address, u64& steps);

}  // namespace moxi
