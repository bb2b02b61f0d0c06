#pragma once
// Puts the parts of a translated module together: code, the translator's own data, the runtime,
// passive segments, linear memory, and behind the file the rest of the memory, the stack, the heap.

#include <string>
#include <vector>

#include "wasm/encode.h"
#include "wasm/select.h"
#include "wasm/translation.h"

namespace moxi {

enum class EntryKind : u8 { Messages, Program, Calls };

// The variables of a function. Offsets in memory count from where the module's memory begins.
struct FunctionVariables {
    u32 module = 0;
    std::vector<TranslatedVariable> variables;
};

struct ImageParts {
    std::vector<ModulePlan> plans;  // of one module, or of two that are linked
    MachineCode code;
    std::vector<u32> functions;  // image addresses by number in the whole image, 0 without code
    std::vector<std::string> routines;
    std::vector<TrapName> trapNames;
    u32 trapNamesCell = 0;  // where their addresses go in the first module's own data
    EntryKind entry = EntryKind::Program;
    std::vector<FunctionVariables> variables;
};

// Makes the file. What is wrong goes to `result.errors`.
void BuildImage(ImageParts& parts, const TranslateOptions& options, Translation& result);

}  // namespace moxi
