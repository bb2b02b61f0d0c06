#pragma once
// Where a variable of the source is found while the program runs, as DWARF's location expressions
// and location lists tell it.

#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

struct DebugPlace {
    enum class Kind : u8 {
        Frame,   // in memory, at the frame base plus `value`
        Memory,  // in memory, at `value`
        Local,   // the value of a local of the function
        Number,  // `value` itself
    } kind = Kind::Frame;
    u32 from = 0;  // the code for which this holds, as offsets in the module's file
    u32 to = 0xFFFFFFFF;
    i64 value = 0;
};

// Reads an expression into `kind` and `value`. False where it is none of the places above, or
// damaged; then `place` may be half written.
bool ReadPlace(std::string_view expression, DebugPlace& place);

// The sections and bases that a unit's lists need.
struct PlaceLists {
    u32 version = 0;
    std::string_view lists;      // .debug_loc, from version 5 on .debug_loclists
    std::string_view addresses;  // .debug_addr
    u64 addressesBase = 8;
    u64 unitBase = 0;    // what addresses in lists count from
    u64 codeOffset = 0;  // of the code section's contents, in the file
};

// The places of the list at that offset of the section, as far as it can be read. `left` is how
// many bytes of lists may still be read, and is lowered by those of this one: lists of a hostile
// file may overlap, and would otherwise cost time without bounds.
std::vector<DebugPlace> ReadPlaceList(const PlaceLists& lists, u64 offset, u64& left);

}  // namespace moxi
