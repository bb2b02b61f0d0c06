#pragma once
// Loads MAIN.MX into the module image.

#include <functional>

#include "base/types.h"

namespace moxi {

// Gives the next `count` bytes of the file, fewer at its end; how many there were.
using ModuleReader = std::function<u32(void* bytes, u32 count)>;

// Loads the module that `read` gives; an empty function stands for a file that is not there. True
// on success. On failure the fatal message box or, where the design has none, one line of the
// system log has said why, and the caller ends the application.
bool LoadModule(const ModuleReader& read);

}  // namespace moxi
