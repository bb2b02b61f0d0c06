#pragma once
// A module as text: a listing to read, or a source that assembles to the same file.

#include <functional>
#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tools/module_file.h"

namespace moxi {

// Names from a symbol file. Constants are no names of addresses, so `byAddress` leaves them out.
struct SymbolNames {
    std::map<u32, std::vector<std::string>> byAddress;
    std::set<u32> variables;                         // addresses named in .data and .bss
    std::map<std::string, u64, std::less<>> values;  // of every name, constants included
};

// The name that the assembler knows for a place in the module's header; "" where it has none.
std::string NameOfHeader(u32 address);

// Adds the names of a symbol file, as mxasm writes it. Returns what is wrong, or an empty text.
std::string ParseSymbolFile(const std::string& text, SymbolNames& names);

// The listing: addresses, words, instructions with names for their targets, data.
void WriteModuleListing(const ModuleFile& module, const SymbolNames& names, std::ostream& out);

// A source that mxasm turns back into exactly these bytes.
void WriteRawSource(const ModuleFile& module, std::ostream& out);

}  // namespace moxi
