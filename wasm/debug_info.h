#pragma once
// The functions of a module and where their arguments and variables are while they run, by the
// DWARF information that compilers leave in custom sections.

#include <string>
#include <vector>

#include "base/types.h"
#include "wasm/debug_places.h"
#include "wasm/module.h"

namespace moxi {

constexpr u32 kNoLocal = 0xFFFFFFFF;

// An argument or a variable of a function.
struct DebugVariable {
    std::string name;
    std::string kind;  // i8 u8 i16 u16 i32 u32 i64 u64 f32 f64 bool char pointer, or block
    bool isArgument = false;
    u32 from = 0;  // the code where it means something, in the module's file
    u32 to = 0xFFFFFFFF;
    std::vector<DebugPlace> places;  // elsewhere it is not known
};

struct DebugFunction {
    u32 from = 0;              // in the module's file
    u32 to = 0;                // behind it
    u32 frameBase = kNoLocal;  // the local that holds it
    std::vector<DebugVariable> variables;
};

// The functions by `from` ascending. Damaged information is read as far as it makes sense.
std::vector<DebugFunction> ReadDebugFunctions(const Module& module);

// The one whose code has that offset; null where none is known.
const DebugFunction* FindDebugFunction(const std::vector<DebugFunction>& functions, u32 offset);

}  // namespace moxi
