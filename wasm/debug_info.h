#pragma once
// The functions of a module and where their arguments lie while they run, by the DWARF information
// that compilers leave in the custom sections .debug_info, .debug_abbrev and .debug_str.

#include <string>
#include <vector>

#include "base/types.h"
#include "wasm/module.h"

namespace moxi {

// An argument in memory, at the frame base plus an offset.
struct DebugArgument {
    std::string name;
    std::string kind;  // i8 u8 i16 u16 i32 u32 i64 u64 f32 f64 bool char pointer, or block
    i64 offset = 0;
};

struct DebugFunction {
    u32 from = 0;       // in the module's file
    u32 to = 0;         // behind it
    u32 frameBase = 0;  // the local that holds it
    std::vector<DebugArgument> arguments;
};

// The functions whose frame has a base in a local, with their arguments in memory, by `from`
// ascending. What optimized code keeps elsewhere is left out. Damaged information is read as far as it makes sense.
std::vector<DebugFunction> ReadDebugFunctions(const Module& module);

// The one whose code has that offset; null where none is known.
const DebugFunction* FindDebugFunction(const std::vector<DebugFunction>& functions, u32 offset);

}  // namespace moxi
