#include "translate/region.h"

#include <algorithm>
#include <array>

#include "vm/machine.h"

namespace moxi {

namespace {

// Bytes of the longest instruction. The image must go on for as many behind where one begins.
constexpr u32 kLongestInstruction = 12;

bool CanBeCode(u32 pc) {
    return pc >= kHeaderSize && pc % 4 == 0 &&
           u64{pc} + kLongestInstruction + 4 <= std::min<u64>(imageSize, kMostCode);
}

// A set of addresses, no more than some hundreds. A table of the library's would take a third of
// the time that translating takes.
class Addresses {
  public:
    bool Contains(u32 pc) const { return slots[SlotOf(pc)] == pc; }
    void Insert(u32 pc) { slots[SlotOf(pc)] = pc; }

  private:
    static constexpr size_t kSlots = 2048;
    static_assert(kSlots > size_t{2} * kLargestRegion);
    // The slot that holds the address, or that would.
    size_t SlotOf(u32 pc) const {
        size_t slot = pc / 4 % kSlots;
        while (slots[slot] != 0 && slots[slot] != pc) {
            slot = (slot + 1) % kSlots;
        }
        return slot;
    }
    std::array<u32, kSlots> slots = {};
};

struct Search {
    Addresses found;
    std::vector<DecodedInstruction> instructions;
    std::vector<u32> leaders;
    std::vector<u32> waiting;
    IsTranslated isTranslated = nullptr;
    u32 repeated = 0;
    size_t largest = kLargestRegion;

    bool IsRepeated(u32 pc) const { return isTranslated != nullptr && isTranslated(pc); }

    void Reach(u32 pc) {
        if (!CanBeCode(pc)) {
            return;
        }
        leaders.push_back(pc);
        if (!found.Contains(pc)) {
            waiting.push_back(pc);
        }
    }

    // Follows the code from a leader to where it goes elsewhere.
    void Follow(u32 pc) {
        bool isRepeated = false;
        while (CanBeCode(pc) && !found.Contains(pc) && instructions.size() < largest) {
            isRepeated = isRepeated || IsRepeated(pc);
            if (isRepeated && ++repeated > kMostRepeated) {
                return;
            }
            const DecodedInstruction in = DecodeInstruction(pc);
            found.Insert(pc);
            instructions.push_back(in);
            const u32 next = pc + in.length;
            switch (in.flow) {
                case Flow::Next: pc = next; continue;
                case Flow::Branch:
                    Reach(in.target);
                    pc = next;
                    continue;
                case Flow::Jump: Reach(in.target); return;
                case Flow::Call:
                    Reach(next);
                    Reach(in.target);
                    return;
                case Flow::CallThrough:
                case Flow::Interpreter: Reach(next); return;
                default: return;
            }
        }
        // What begins in the middle of code that was found begins a block there.
        if (found.Contains(pc)) {
            leaders.push_back(pc);
        }
    }
};

// By rising address. Addresses with their places are sorted in place of the instructions, which are
// four times as large.
std::vector<DecodedInstruction> InOrder(const std::vector<DecodedInstruction>& instructions) {
    std::vector<u64> order(instructions.size());
    for (size_t i = 0; i < order.size(); ++i) {
        order[i] = u64{instructions[i].pc} << 32 | i;
    }
    std::sort(order.begin(), order.end());
    std::vector<DecodedInstruction> sorted;
    sorted.reserve(order.size());
    for (const u64 each : order) {
        sorted.push_back(instructions[static_cast<u32>(each)]);
    }
    return sorted;
}

bool GoesOn(const DecodedInstruction& in) {
    return in.flow == Flow::Next || in.flow == Flow::Branch;
}

}  // namespace

Region FindRegion(u32 entry, IsTranslated isTranslated, u32 largest) {
    Search search;
    search.largest = std::min(largest, kLargestRegion);
    search.isTranslated = isTranslated;
    search.Reach(entry);
    for (size_t i = 0; i < search.waiting.size(); ++i) {
        search.Follow(search.waiting[i]);
    }

    Region region;
    region.instructions = InOrder(search.instructions);
    std::sort(search.leaders.begin(), search.leaders.end());
    const auto& all = region.instructions;
    auto leader = search.leaders.begin();
    for (u32 i = 0; i < all.size(); ++i) {
        while (leader != search.leaders.end() && *leader < all[i].pc) {
            ++leader;
        }
        const bool leads = leader != search.leaders.end() && *leader == all[i].pc;
        const bool follows =
            i > 0 && !leads && GoesOn(all[i - 1]) && all[i - 1].pc + all[i - 1].length == all[i].pc;
        if (follows) {
            ++region.blocks.back().count;
        } else {
            region.blocks.push_back({i, 1});
            region.starts.push_back(all[i].pc);
        }
    }
    return region;
}

int BlockAt(const Region& region, u32 pc) {
    const auto found = std::lower_bound(region.starts.begin(), region.starts.end(), pc);
    if (found == region.starts.end() || *found != pc) {
        return -1;
    }
    return static_cast<int>(found - region.starts.begin());
}

}  // namespace moxi
