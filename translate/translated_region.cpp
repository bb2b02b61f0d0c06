#include "translate/translated_region.h"

#include <algorithm>
#include <cstring>

#include "translate/state.h"
#include "vm/machine.h"
#include "vm/page_watch.h"

namespace moxi {

std::vector<std::unique_ptr<TranslatedRegion>> regions;

const TranslatedRegion* RegionOf(const u8* address) {
    const auto after =
        std::upper_bound(regions.begin(), regions.end(), address,
                         [](const u8* at, const auto& region) { return at < region->code; });
    if (after == regions.begin()) {
        return nullptr;
    }
    const TranslatedRegion* const region = (after - 1)->get();
    return address < region->code + region->size ? region : nullptr;
}

std::vector<Stretch> StretchesOf(const Region& region) {
    std::vector<Stretch> stretches;
    u32 end = 0;
    for (const DecodedInstruction& in : region.instructions) {
        if (stretches.empty() || in.pc > end) {
            stretches.push_back({in.pc, {}});
            end = in.pc;
        }
        if (in.pc + in.length > end) {
            const u8* const bytes = image;
            auto& all = stretches.back().bytes;
            all.insert(all.end(), bytes + end, bytes + in.pc + in.length);
            end = in.pc + in.length;
        }
    }
    return stretches;
}

bool AllWatched(const TranslatedRegion& region) {
    return std::all_of(region.stretches.begin(), region.stretches.end(), [](const Stretch& s) {
        return ArePagesWatched(s.start, s.start + static_cast<u32>(s.bytes.size()));
    });
}

void Watch(TranslatedRegion& region) {
    bool isWatched = true;
    for (const Stretch& s : region.stretches) {
        isWatched = WatchPages(s.start, s.start + static_cast<u32>(s.bytes.size())) && isWatched;
    }
    region.isWatched = isWatched;
    region.generation = isWatched ? kAlwaysCurrent : translatedState.generation;
}

bool IsUnchanged(const TranslatedRegion& region) {
    return std::all_of(region.stretches.begin(), region.stretches.end(), [](const Stretch& s) {
        return std::memcmp(image + s.start, s.bytes.data(), s.bytes.size()) == 0;
    });
}

}  // namespace moxi
