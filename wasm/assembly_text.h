#pragma once
// A translated module as assembly source, of which mxasm makes the same file again.

#include <string>

#include "wasm/encode.h"
#include "wasm/translation.h"

namespace moxi {

// The text ends with a newline. `result` has to be complete but for its `assembly`; `code` is the
// machine code that its bytes contain.
std::string FormatAssembly(const TranslatedModule& result, const MachineCode& code);

}  // namespace moxi
