#pragma once
// Walks over the body of a function and makes its instructions.

#include "wasm/select.h"

namespace moxi {

// The instructions of a function that has been validated. An imported function becomes one that
// does what the import stands for, so that it has an address, too. Adds to the plan the routines
// and names that the function needs.
FunctionCode BuildFunction(ModulePlan& plan, u32 index);

}  // namespace moxi
