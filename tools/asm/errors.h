#pragma once
// The errors of a source, as the assembler reports them.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// Where an error lies.
struct AssembleNote {
    std::string file;
    u32 line = 0;    // from 1
    u32 column = 0;  // from 1, in bytes
    std::string text;
    std::string sourceLine;
};

struct AssembleError {
    AssembleNote at;                     // in the author's line, in no macro
    std::vector<AssembleNote> inMacros;  // from the macro called there to the place itself
};

}  // namespace moxi
