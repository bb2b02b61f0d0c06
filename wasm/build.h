#pragma once
// Translates the body of a function into instructions on variables (code.h).

#include "wasm/select.h"

namespace moxi {

// The instructions of function `index` of the plan's module, imported ones counted first. The
// module has been validated: a body that has not is not safe to walk over. An imported function
// becomes one that does what the import stands for, so that it has an address, too. Adds to the
// plan the routines and names that the function needs.
FunctionCode BuildFunction(ModulePlan& plan, u32 index);

}  // namespace moxi
