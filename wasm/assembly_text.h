#pragma once
// A translated module as a source for mxasm, which makes the same file of it.

#include <string>

#include "wasm/encode.h"
#include "wasm/translation.h"

namespace moxi {

// The text ends with a newline. `result` is complete but for the text; `code` is what it was made
// of.
std::string FormatAssembly(const TranslatedModule& result, const MachineCode& code);

}  // namespace moxi
