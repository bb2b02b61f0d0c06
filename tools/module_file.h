#pragma once
// A MAIN.MX as a file: what its header says, and whether the loader would take it.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct ModuleFile {
    std::vector<u8> bytes;  // the whole file; what lies beyond `loaded` is never loaded
    u32 loaded = 0;         // header, code and data
    u32 globals = 0;
    u32 stack = 0;
    u32 heap = 0;
    u32 major = 0;
    u32 minor = 0;
};

// Takes the bytes of a file and reads its header. Returns what is wrong, or an empty text.
std::string ParseModule(std::vector<u8> bytes, ModuleFile& module);

}  // namespace moxi
