#pragma once
// A WebAssembly module into a MAIN.MX, as a library; mxwasm_command.h is the program.

#include <string_view>

#include "wasm/translation.h"

namespace moxi {

// Any bytes are welcome: what is malformed or not supported is refused in `errors`.
TranslatedModule Translate(std::string_view wasm, const TranslateOptions& options);

}  // namespace moxi
