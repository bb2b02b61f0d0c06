#pragma once
// What an image is put together from.

#include <string>
#include <vector>

#include "wasm/encode.h"
#include "wasm/select.h"
#include "wasm/translation.h"

namespace moxi {

// How a program is entered: by moxi_message for every message, once by _start, or by the calls that
// CALL.TXT lists.
enum class EntryKind : u8 { Messages, Program, Calls };

// The variables of a function of that module, for debuggers. Offsets of places in memory count from
// where the module's memory begins.
struct FunctionVariables {
    u32 module = 0;
    std::vector<TranslatedVariable> variables;
};

struct ImageParts {
    std::vector<ModulePlan> plans;  // of one module, or of two that are linked
    MachineCode code;
    std::vector<u32> functions;  // image addresses by number in the whole image, 0 without code
    std::vector<std::string> routines;  // of the runtime that the code calls; fixups name the index
    std::vector<TrapName> trapNames;
    u32 trapNamesCell = 0;  // offset in the first module's own data of the list of their addresses
    EntryKind entry = EntryKind::Program;
    std::vector<FunctionVariables> variables;
};

}  // namespace moxi
