#pragma once
// Directory listings: the entries that match a pattern in the data folder, then those of the
// resources folder that are not there already. One listing exists at a time.

#include "base/types.h"

namespace moxi {

constexpr u32 kAttributeFolder = 16;
constexpr u32 kPatternBufferSize = 256;

struct FoundEntry {
    const char* name;  // the last path component; valid until the next FindFirst or EndFind
    u32 attribute;     // kAttributeFolder or 0
    u32 folder;        // 1 found in the data folder, 0 in the resources folder
};

// Drops the former listing and makes a new one. `pattern` is a name whose last component may hold
// "?" and "*"; hidden entries are left out, and of names that differ in the case of ASCII letters
// only the first is kept. Entries come in ascending byte order, data folder first. False when
// nothing matches; otherwise `entry` is the first one.
bool FindFirst(const char* pattern, FoundEntry* entry);

// The next entry; false when there are no more.
bool FindNext(FoundEntry* entry);

// Drops the listing.
void EndFind();

// `name` matches `pattern` as a whole: "?" is any one byte, "*" any run, ASCII letters match in
// either case.
bool MatchWildcard(const char* name, const char* pattern);

}  // namespace moxi
