#pragma once
// A WebAssembly module into a MAIN.MX, as a library; mxwasm_command.h is the program.

#include <string_view>

#include "wasm/translation.h"

namespace moxi {

// Translates the bytes of a module. Any bytes are welcome: where they are malformed, or need what
// is not supported, the result is not `ok` and its `errors` say why. `wasm` and what the options
// point to are needed until it returns.
TranslatedModule Translate(std::string_view wasm, const TranslateOptions& options);

}  // namespace moxi
