#pragma once
// The regions that have been translated.

#include <memory>
#include <vector>

#include "translate/region.h"
#include "translate/translation.h"

namespace moxi {

// A stretch of the module's code as it was when it was translated.
struct Stretch {
    u32 start = 0;
    std::vector<u8> bytes;
};

struct TranslatedRegion {
    u8* code = nullptr;
    size_t size = 0;
    std::vector<CodePlace> places;
    std::vector<BlockPlace> blocks;
    std::vector<Aside> asides;
    std::vector<Translation::Entry> entries;
    std::vector<Stretch> stretches;
    std::vector<u32> writes;  // as Translation's
    u32 generation = 0;       // that in which it was last compared with the module's code
    bool isWatched = false;   // nobody has written into its pages: its generation is kAlwaysCurrent
    // Visits from the interpreter that ended soon, and others.
    u32 shortVisits = 0;
    u32 longVisits = 0;
    u32 pause = 0;  // so many visits are not made
    u32 nextPause = 0;
};

constexpr u32 kAlwaysCurrent = ~u32{0};

extern std::vector<std::unique_ptr<TranslatedRegion>> regions;  // by rising address of their code

// The region whose code lies at an address, or null.
const TranslatedRegion* RegionOf(const u8* address);

// The module's code as it is now.
std::vector<Stretch> StretchesOf(const Region& region);

// Whether it is as it was when the region was translated.
bool IsUnchanged(const TranslatedRegion& region);

// Watches the pages of its code, where they can be watched (vm/page_watch.h).
void Watch(TranslatedRegion& region);

// Whether they all are watched, and nobody has written into them.
bool AllWatched(const TranslatedRegion& region);

}  // namespace moxi
