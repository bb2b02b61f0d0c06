#pragma once
// Whole files of the resources folder, which music and sounds come from.

#include <optional>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// The file's bytes, or its first `limit` bytes. Nothing when the resources folder has no ordinary
// file of this name, as it stands, or it cannot be read. Never waits, whatever the name leads to.
std::optional<std::vector<u8>> ReadResource(const char* name, size_t limit);

}  // namespace moxi
