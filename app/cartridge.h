#pragma once
// `moxi CART.wasm`: a WebAssembly cartridge is translated to a game folder in the user's cache,
// which is then played like any other. The folder is used again until the cartridge or the
// translator changes; its place depends on the cartridge's path alone, so that the game keeps its
// data folder.

#include <optional>

#include "app/options.h"

namespace moxi {

// Where `options.game` is a cartridge, puts the folder of its translation in its place. Returns the
// exit status when that fails; the reason has been written to standard error then.
std::optional<int> PrepareCartridge(Options& options);

}  // namespace moxi
