#pragma once
// Whole files of the resources folder, which music and sounds come from.

#include <optional>
#include <string>
#include <vector>

#include "base/types.h"

// The file's bytes, or its first `limit` bytes. Nothing when there is no ordinary file of this
// path (null counts as none) or it cannot be read. Never waits, whatever the path leads to.
std::optional<std::vector<u8>> ReadResource(const char* path, size_t limit);
