#pragma once
// The names that `mxasm --symbols` wrote for a module, for those who look into it while it runs.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

// Reads a symbol file in place of whatever was read before. Returns "", or in one line what is
// wrong with which file; then the names so far stay.
std::string LoadSymbols(const std::string& path);

// The symbol file of the game: MAIN.SYM beside the MAIN.MX that is loaded. It may be missing.
std::string SymbolFile();

// --- Every name

size_t SymbolCount();

// The low LONG of a name's value, constants included.
std::optional<u32> ValueOfSymbol(std::string_view name);

// The names of exactly this address, in the file's order; constants are no addresses.
const std::vector<std::string>& NamesAt(u32 address);

// The nearest named address at or below this one; nothing where there is none.
std::optional<u32> NearestNamed(u32 address);

// --- Functions

struct FunctionSymbol {
    u32 address;
    bool isCode;  // else a variable, which ends the function before it
    std::string name;
};

// The function that an address belongs to: the nearest code symbol at or below it. Local labels
// (`label@local`) belong to the function before them, and behind a label of data there is no
// function. Null when there is none. Good until the next LoadSymbols.
const FunctionSymbol* FunctionSymbolAt(u32 address);

// The first address above `address` where FunctionSymbolAt may answer otherwise.
u32 NextFunctionSymbol(u32 address);

}  // namespace moxi
