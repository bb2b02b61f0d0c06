#pragma once
// What the assembler is given and gives back.

#include <string>
#include <utility>
#include <vector>

#include "base/types.h"

namespace moxi {

struct AssembleOptions {
    // Searched for .include and .incbin after the including file's own folder.
    std::vector<std::string> includeFolders;
    // Constants that exist before the first line.
    std::vector<std::pair<std::string, i64>> definitions;
    bool wantListing = false;
};

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

enum class SymbolKind : u8 { Code, Data, Bss, Constant };

struct AssembleSymbol {
    std::string name;  // a local label as "label@local"
    SymbolKind kind = SymbolKind::Constant;
    i64 value = 0;  // address or constant
};

struct AssembleResult {
    bool ok = false;
    std::vector<u8> bytes;                // the whole MAIN.MX; empty unless ok
    std::vector<AssembleSymbol> symbols;  // by value, then by name; empty unless ok
    std::string listing;                  // when asked for and ok
    std::vector<AssembleError> errors;    // in source order
    std::vector<std::string> filesRead;   // paths of the included files
};

}  // namespace moxi
