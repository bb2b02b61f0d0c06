#pragma once
// Whole files that music and sounds come from: of the resources folder, or made by the game.

#include <optional>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// The file's bytes, or its first `limit` bytes. Nothing when the resources folder has no ordinary
// file of this name, as it stands, or it cannot be read. Never waits, whatever the name leads to.
std::optional<std::vector<u8>> ReadResource(const char* name, size_t limit);

// What is played by this name: the resource of ReadResource; where the name leads out of the
// resources folder and by the whole path into the data folder, the file there, which the game
// itself has made.
std::optional<std::vector<u8>> ReadPlayed(const char* name, size_t limit);

}  // namespace moxi
