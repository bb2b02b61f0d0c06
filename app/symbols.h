#pragma once
// The names that `mxasm --symbols` wrote for a module, for those who look into it while it runs.

#include <string>

#include "base/types.h"

struct ModuleSymbol {
    u32 address;
    bool isCode;  // else a variable
    std::string name;
};

// Reads a symbol file in place of whatever was read before. Constants are left out.
// Returns "" or in one line what is wrong with it, and then there are no symbols.
std::string LoadSymbols(const std::string& path);

// The symbol file of the game: MAIN.SYM beside the MAIN.MX that is loaded. It may be missing.
std::string SymbolFile();

// The function that an address belongs to: the nearest code symbol at or below it. Local labels
// (`label@local`) belong to the function before them, and behind a label of data there is no
// function. Null when there is none. Good until the next LoadSymbols.
const ModuleSymbol* SymbolAt(u32 address);

// The first address above `address` where SymbolAt may answer otherwise.
u32 NextSymbolAddress(u32 address);
