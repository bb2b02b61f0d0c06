#pragma once
// Walks over the body of a function and makes its instructions.

#include "wasm/select.h"

namespace moxi {

// What an imported function is.
enum class Service : u8 { None, Sys, Setjmp, Longjmp, Stop, MemoryBase };

// The service that an import names; None when there is no such thing.
Service ServiceOf(const Import& import);

// The instructions of a function that has been validated. An imported function becomes one that does
// what the import stands for, so that it has an address, too.
FunctionCode BuildFunction(ModulePlan& plan, u32 index);

}  // namespace moxi
