#pragma once
// Whole files that the host itself reads: settings of a game, scripts, what the desktop says of the
// user's folders. Never waits and never reads without end, whatever lies under the name.

#include <string>

#include "base/types.h"

namespace moxi {

// Reads the file at `path` into `bytes`. Returns "" or why not, in words that follow the file's
// name: what is a folder, a device, a pipe or a socket is no file, and one of more than `most`
// bytes is too large.
std::string ReadWholeFile(const std::string& path, u64 most, std::string& bytes);

}  // namespace moxi
