#include "translate/facts.h"

#include <algorithm>
#include <utility>

#include "translate/state.h"

namespace moxi {

namespace {

// Holds of everything: what no other block has restricted so far.
constexpr i32 kAnyFrame = std::numeric_limits<i32>::min();
constexpr i32 kMostStack = static_cast<i32>(kFloorRoom);

// A loop that pushes more in each round has nothing known about its stack; it is found out after so
// many rounds of the search.
constexpr u32 kMostRounds = 8;

u32 PushedOperand(const Instruction& in) {
    const OneOperand op = OneOperandOf(in);
    if (op == OneOperand::Pea) {
        return 4;
    }
    if (op != OneOperand::Push) {
        return 0;
    }
    return SizeOf(in) == 0 ? 2 : 1u << SizeOf(in);
}

u32 PushedConstant(const Instruction& in) {
    switch (SingleOf(in.w)) {
        case Single::Link: return 4 + LocalBytes(in.w) + 8 * SavedRegisters(in.w);
        case Single::Call:
        case Single::Callr: return 8;
        case Single::PushWordExt:
        case Single::PushWordExt2:
        case Single::PushWord:
        case Single::PushWord2: return 2;
        case Single::PushLongExt:
        case Single::PushLong: return 4;
        case Single::PushQuadExt:
        case Single::PushQuad: return 8;
        default: return 0;
    }
}

bool IsLink(const Instruction& in) {
    return in.flow == Flow::Next && in.kind == InstructionClass::Single &&
           SingleOf(in.w) == Single::Link;
}

u32 PoppedBy(const Instruction& in) {
    if (in.flow != Flow::Next || in.kind != InstructionClass::OneOperand) {
        return 0;
    }
    if (OneOperandOf(in) != OneOperand::Pop) {
        return 0;
    }
    return SizeOf(in) == 0 ? 2 : 1u << SizeOf(in);
}

bool UsesStack(const Instruction& in) {
    return PushedBy(in) != 0 || PoppedBy(in) != 0 ||
           (in.flow == Flow::Away && in.kind == InstructionClass::Single);
}

// --- The search

struct Edge {
    size_t to = 0;
    u32 index = 0;  // of the instruction that goes there
    bool isReturn = false;
};

struct Search {
    const Region& region;
    std::vector<std::vector<Edge>> edges;  // of each block
    std::vector<Facts> before;
    // What is known is of use in the block, or in one that it goes on in.
    std::vector<bool> needsFrame;
    std::vector<bool> needsStack;
    bool hasChanged = true;

    explicit Search(const Region& searched)
        : region(searched),
          edges(searched.blocks.size()),
          before(searched.blocks.size(), {kAnyFrame, kMostStack}),
          needsFrame(searched.blocks.size()),
          needsStack(searched.blocks.size()) {}

    const Instruction& At(size_t block, u32 index) const {
        return region.instructions[region.blocks[block].first + index];
    }

    void AddEdge(size_t from, u32 index, u32 pc, bool isReturn = false) {
        const int to = BlockAt(region, pc);
        if (to >= 0) {
            edges[from].push_back({static_cast<size_t>(to), index, isReturn});
        }
    }

    void FindEdges(size_t block) {
        const u32 count = region.blocks[block].count;
        for (u32 i = 0; i < count; ++i) {
            const Instruction& in = At(block, i);
            const u32 next = in.pc + in.length;
            const bool isLast = i + 1 == count;
            if (in.flow == Flow::Branch || in.flow == Flow::Jump || in.flow == Flow::Call) {
                AddEdge(block, i, in.target);
            }
            if (isLast && (in.flow == Flow::Next || in.flow == Flow::Branch)) {
                AddEdge(block, i, next);
            }
            if (in.flow == Flow::Call || in.flow == Flow::CallThrough) {
                AddEdge(block, i, next, true);
            }
        }
    }

    bool NeedsFrame(size_t block) const {
        const Block& all = region.blocks[block];
        if (!FrameUseFrom(region, all, 0).IsEmpty()) {
            return true;
        }
        for (u32 i = 0; i < all.count; ++i) {
            if (IsLink(At(block, i))) {
                return false;
            }
        }
        return std::any_of(edges[block].begin(), edges[block].end(),
                           [this](const Edge& edge) { return needsFrame[edge.to]; });
    }

    bool NeedsStack(size_t block) const {
        for (u32 i = 0; i < region.blocks[block].count; ++i) {
            if (UsesStack(At(block, i))) {
                return true;
            }
        }
        return std::any_of(edges[block].begin(), edges[block].end(),
                           [this](const Edge& edge) { return needsStack[edge.to]; });
    }

    void FindNeeds() {
        for (hasChanged = true; hasChanged;) {
            hasChanged = false;
            for (size_t i = region.blocks.size(); i-- > 0;) {
                if (!needsFrame[i] && NeedsFrame(i)) {
                    needsFrame[i] = hasChanged = true;
                }
                if (!needsStack[i] && NeedsStack(i)) {
                    needsStack[i] = hasChanged = true;
                }
            }
        }
        for (size_t i = 0; i < before.size(); ++i) {
            if (!needsFrame[i]) {
                before[i].frame = kNoFrame;
            }
            if (!needsStack[i]) {
                before[i].stack = kNoStack;
            }
        }
    }

    void Restrict(size_t block, const Facts& facts, bool isLate) {
        Facts& known = before[block];
        Facts now = {std::max(known.frame, facts.frame), std::min(known.stack, facts.stack)};
        if (now == known) {
            return;
        }
        if (isLate && now.stack != known.stack) {
            now.stack = kNoStack;
        }
        known = now;
        hasChanged = true;
    }

    void FollowBlock(size_t block, bool isLate) {
        const Block& all = region.blocks[block];
        Facts facts = before[block];
        size_t edge = 0;
        for (u32 i = 0; i < all.count; ++i) {
            const Facts after = FactsAfter(region, all, i, facts);
            for (; edge < edges[block].size() && edges[block][edge].index == i; ++edge) {
                const Edge& way = edges[block][edge];
                Restrict(way.to, way.isReturn ? FactsReturned(facts) : after, isLate);
            }
            facts = after;
        }
    }

    // What only blocks pass on that nothing has restricted is compared where they are entered.
    void ChooseFrames() {
        FrameRange used;
        for (size_t i = 0; i < before.size(); ++i) {
            if (before[i].frame != kAnyFrame) {
                continue;
            }
            const FrameRange here = FrameUseFrom(region, region.blocks[i], 0);
            if (here.IsEmpty()) {
                continue;
            }
            used.Add(here.low);
            used.Add(here.high);
        }
        for (Facts& facts : before) {
            if (facts.frame == kAnyFrame) {
                facts.frame = used.IsEmpty() ? kNoFrame : used.low;
            }
        }
    }
};

}  // namespace

void FrameRange::Add(i32 offset) {
    if (offset < -kNearFrame || offset > kNearFrame) {
        return;
    }
    low = std::min(low, offset);
    high = std::max(high, offset);
}

FrameRange FrameUse(const Instruction& in) {
    FrameRange range;
    if (in.flow == Flow::Interpreter || in.flow == Flow::End) {
        return range;
    }
    if (in.kind == InstructionClass::TwoOperands) {
        if (TwoOperandOf(in) == TwoOperand::Blockmove) {
            return range;
        }
        // LEA takes the address of B, wherever that is.
        const Mode b = TwoOperandOf(in) == TwoOperand::Lea ? Mode::Register : in.form.b;
        if (in.form.a == Mode::Frame || b == Mode::Frame) {
            range.Add(FrameOffset(in.w));
        }
        if (b == Mode::Frame32) {
            range.Add(static_cast<i32>(in.words[0]));
        }
    } else if (in.kind == InstructionClass::OneOperand && in.mode == Mode::Frame) {
        if (OneOperandOf(in) != OneOperand::Pea) {
            range.Add(FrameOffset(in.w));
        }
    } else if (in.kind == InstructionClass::TestBranch &&
               static_cast<TestOperand>(TestMode(in.w)) == TestOperand::Frame32) {
        range.Add(static_cast<i32>(in.words[0]));
    } else if (in.kind == InstructionClass::Single && SingleOf(in.w) == Single::Return) {
        range.Add(0);
    }
    return range;
}

FrameRange FrameUseFrom(const Region& region, const Block& block, u32 index) {
    FrameRange all;
    for (u32 i = index; i < block.count; ++i) {
        const Instruction& in = region.instructions[block.first + i];
        const FrameRange range = FrameUse(in);
        if (!range.IsEmpty()) {
            all.Add(range.low);
            all.Add(range.high);
        }
        if (IsLink(in)) {
            break;
        }
    }
    return all;
}

u32 PushedBy(const Instruction& in) {
    if (in.flow == Flow::Interpreter || in.flow == Flow::End) {
        return 0;
    }
    if (in.kind == InstructionClass::OneOperand) {
        return PushedOperand(in);
    }
    if (in.kind == InstructionClass::Single) {
        return PushedConstant(in);
    }
    return 0;
}

Facts FactsAfter(const Region& region, const Block& block, u32 index, Facts facts) {
    const Instruction& in = region.instructions[block.first + index];
    const FrameRange use = FrameUse(in);
    if (!use.IsEmpty() && use.low < facts.frame) {
        facts.frame = FrameUseFrom(region, block, index).low;
    }
    const i32 pushed = static_cast<i32>(PushedBy(in));
    if (pushed != 0) {
        if (facts.stack < pushed) {
            facts.stack = std::max(pushed, kMostStack);
        }
        facts.stack -= pushed;
        if (IsLink(in)) {
            facts.frame = 4 - pushed;
        }
    }
    if (facts.stack != kNoStack) {
        facts.stack = std::min(facts.stack + static_cast<i32>(PoppedBy(in)), kMostStack);
    }
    return facts;
}

Facts FactsReturned(const Facts& facts) {
    return {facts.frame, kNoStack};
}

std::vector<Facts> FindFacts(const Region& region) {
    Search search(region);
    for (size_t i = 0; i < region.blocks.size(); ++i) {
        search.FindEdges(i);
    }
    search.FindNeeds();
    for (u32 round = 0; search.hasChanged || round == 0; ++round) {
        search.hasChanged = false;
        for (size_t i = 0; i < region.blocks.size(); ++i) {
            search.FollowBlock(i, round >= kMostRounds);
        }
    }
    search.ChooseFrames();
    // What has been chosen may be less than what its successors counted on.
    for (search.hasChanged = true; search.hasChanged;) {
        search.hasChanged = false;
        for (size_t i = 0; i < region.blocks.size(); ++i) {
            search.FollowBlock(i, true);
        }
    }
    return std::move(search.before);
}

}  // namespace moxi
