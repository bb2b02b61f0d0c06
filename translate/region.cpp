#include "translate/region.h"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "vm/machine.h"

namespace moxi {

namespace {

// The longest instruction, behind whose start the image has to go on for as many bytes.
constexpr u32 kLongestInstruction = 12;

bool CanBeCode(u32 pc) {
    return pc >= kHeaderSize && pc % 4 == 0 &&
           u64{pc} + kLongestInstruction + 4 <= std::min<u64>(imageSize, kMostCode);
}

struct Search {
    std::unordered_map<u32, Instruction> found;
    std::set<u32> leaders;
    std::vector<u32> waiting;
    IsTranslated isTranslated = nullptr;
    u32 repeated = 0;

    bool IsRepeated(u32 pc) const { return isTranslated != nullptr && isTranslated(pc); }

    void Reach(u32 pc) {
        if (!CanBeCode(pc)) return;
        leaders.insert(pc);
        if (!found.contains(pc)) waiting.push_back(pc);
    }

    // Follows the code from a leader to where it goes elsewhere.
    void Follow(u32 pc) {
        bool isRepeated = false;
        while (CanBeCode(pc) && !found.contains(pc) && found.size() < kLargestRegion) {
            isRepeated = isRepeated || IsRepeated(pc);
            if (isRepeated && ++repeated > kMostRepeated) return;
            const Instruction in = DecodeInstruction(pc);
            found.emplace(pc, in);
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
        if (found.contains(pc)) leaders.insert(pc);
    }
};

bool GoesOn(const Instruction& in) {
    return in.flow == Flow::Next || in.flow == Flow::Branch;
}

}  // namespace

Region FindRegion(u32 entry, IsTranslated isTranslated) {
    Search search;
    search.isTranslated = isTranslated;
    search.Reach(entry);
    for (size_t i = 0; i < search.waiting.size(); ++i) search.Follow(search.waiting[i]);

    Region region;
    for (const auto& [pc, instruction] : search.found) region.instructions.push_back(instruction);
    std::sort(region.instructions.begin(), region.instructions.end(),
              [](const Instruction& a, const Instruction& b) { return a.pc < b.pc; });
    const auto& all = region.instructions;
    for (u32 i = 0; i < all.size(); ++i) {
        const bool follows = i > 0 && GoesOn(all[i - 1]) &&
                             all[i - 1].pc + all[i - 1].length == all[i].pc &&
                             !search.leaders.contains(all[i].pc);
        if (follows) {
            ++region.blocks.back().count;
        } else {
            region.blocks.push_back({i, 1});
        }
    }
    return region;
}

int BlockAt(const Region& region, u32 pc) {
    const auto& all = region.instructions;
    const auto found =
        std::lower_bound(region.blocks.begin(), region.blocks.end(), pc,
                         [&all](const Block& block, u32 at) { return all[block.first].pc < at; });
    if (found == region.blocks.end() || all[found->first].pc != pc) return -1;
    return static_cast<int>(found - region.blocks.begin());
}

}  // namespace moxi
