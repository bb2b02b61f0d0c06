#pragma once
// Tells a module's code from its data by following it from the entry point: fall-through,
// branches, calls, jump tables, and calls through a register that was just loaded with an address.

#include <map>

#include "tools/module_file.h"

namespace moxi {

enum class WordKind : u8 {
    Data,
    Instruction,  // first word of one
    Extension,    // a further word of one
    TableEntry,   // address of code in a jump table
};

enum class LabelKind : u8 { Data, Table, Branch, Call };

struct CodeMap {
    std::vector<WordKind> words;      // of the words from offset 512 on
    std::map<u32, LabelKind> labels;  // addresses that the code refers to

    WordKind At(u32 address) const {
        const u32 index = (address - 512) / 4;
        return address % 4 == 0 && address >= 512 && index < words.size() ? words[index]
                                                                          : WordKind::Data;
    }
};

// The map of a module's loaded part. Never fails: what cannot be code stays data.
CodeMap FindCode(const ModuleFile& module);

}  // namespace moxi
