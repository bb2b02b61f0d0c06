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
    u32 from = 0;  // the code where the name is known, as offsets in the module's file
    u32 to = 0xFFFFFFFF;
    std::vector<DebugPlace> places;  // at code that none of them covers its value is not known
};

struct DebugFunction {
    u32 from = 0;              // where its code begins, as an offset in the module's file
    u32 to = 0;                // the offset behind its code
    u32 frameBase = kNoLocal;  // the local with the address of its frame in linear memory
    std::vector<DebugVariable> variables;
};

// The functions by `from` ascending; none without debug information. Damaged information is read as
// far as it makes sense.
std::vector<DebugFunction> ReadDebugFunctions(const Module& module);

// The function whose code has that offset in the module's file, owned by the list; null where none
// is known.
const DebugFunction* FindDebugFunction(const std::vector<DebugFunction>& functions, u32 offset);

}  // namespace moxi
