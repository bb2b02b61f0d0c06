#include "translate/facts.h"

#include <algorithm>
#include <span>
#include <utility>

#include "translate/state.h"

namespace moxi {

namespace {

// Hold of everything: what no other block has restricted so far.
constexpr i32 kAnyFrame = std::numeric_limits<i32>::min();
constexpr i32 kAnyDepth = std::numeric_limits<i32>::max();
constexpr i32 kMostStack = static_cast<i32>(kFloorRoom);

// A loop that pushes more in each round has nothing known about its stack; it is found out after so
// many rounds of the search.
constexpr u32 kMostRounds = 8;

u32 PushedOperand(const DecodedInstruction& in) {
    const OneOperand op = OneOperandOf(in);
    if (op == OneOperand::Pea) {
        return 4;
    }
    if (op != OneOperand::Push) {
        return 0;
    }
    return SizeOf(in) == 0 ? 2 : 1u << SizeOf(in);
}

u32 PushedConstant(const DecodedInstruction& in) {
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

bool IsLink(const DecodedInstruction& in) {
    return in.flow == Flow::Next && in.kind == InstructionClass::Single &&
           SingleOf(in.w) == Single::Link;
}

u32 PoppedBy(const DecodedInstruction& in) {
    if (in.flow != Flow::Next || in.kind != InstructionClass::OneOperand) {
        return 0;
    }
    if (OneOperandOf(in) != OneOperand::Pop) {
        return 0;
    }
    return SizeOf(in) == 0 ? 2 : 1u << SizeOf(in);
}

u32 PushedBy(const DecodedInstruction& in) {
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

FrameRange FrameUse(const DecodedInstruction& in) {
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

std::vector<StackUse> UsesIn(const Region& region) {
    std::vector<StackUse> uses(region.instructions.size());
    for (const Block& block : region.blocks) {
        FrameRange behind;
        for (u32 i = block.first + block.count; i-- > block.first;) {
            const DecodedInstruction& in = region.instructions[i];
            StackUse& use = uses[i];
            use.frame = use.from = FrameUse(in);
            use.pushed = PushedBy(in);
            use.popped = PoppedBy(in);
            use.isLink = IsLink(in);
            if (!use.isLink) {
                use.from.Add(behind);
            }
            behind = use.from;
        }
    }
    return uses;
}

bool IsCall(const DecodedInstruction& in) {
    return in.flow == Flow::Call || in.flow == Flow::CallThrough;
}

// What holds where a CALL comes back to, as `facts` hold before it. If FP was foretold from that of
// the called code, only the called code's frame is known to lie above all translated code, because
// its RETURN has checked that.
Facts FactsReturned(const DecodedInstruction& call, const Facts& facts) {
    Facts returned = {facts.frame, kNoStack, kNoDepth};
    if (IsNearFrame(facts)) {
        returned.frame = std::max(facts.frame, -(facts.depth + 12));
        const i32 depth = facts.depth - static_cast<i32>(ArgumentBytes(call.w));
        returned.depth = depth < 0 ? kNoDepth : depth;
    }
    return returned;
}

// --- The search

struct Edge {
    size_t to = 0;
    u32 index = 0;  // of the instruction that goes there
    bool isReturn = false;
};

struct Search {
    const Region& region;
    std::vector<StackUse> uses;  // of each instruction
    std::vector<Edge> edges;     // of all blocks, one after the other
    std::vector<size_t> firstEdges;
    std::vector<Facts> before;
    // What is known is of use in the block, or in one that it goes on in.
    std::vector<bool> needsFrame;
    std::vector<bool> needsStack;
    std::vector<bool> needsDepth;
    // Blocks about which more is known than when they were followed last.
    std::vector<bool> isToFollow;
    bool hasChanged = true;

    explicit Search(const Region& searched)
        : region(searched),
          uses(UsesIn(searched)),
          before(searched.blocks.size(), {kAnyFrame, kMostStack, kAnyDepth}),
          needsFrame(searched.blocks.size()),
          needsStack(searched.blocks.size()),
          needsDepth(searched.blocks.size()),
          isToFollow(searched.blocks.size(), true) {}

    const DecodedInstruction& At(size_t block, u32 index) const {
        return region.instructions[region.blocks[block].first + index];
    }

    const StackUse& UseAt(size_t block, u32 index) const {
        return uses[region.blocks[block].first + index];
    }

    void AddEdge(u32 index, u32 pc, bool isReturn = false) {
        const int to = BlockAt(region, pc);
        if (to >= 0) {
            edges.push_back({static_cast<size_t>(to), index, isReturn});
        }
    }

    std::span<const Edge> EdgesOf(size_t block) const {
        return std::span(edges).subspan(firstEdges[block],
                                        firstEdges[block + 1] - firstEdges[block]);
    }

    void FindEdges(size_t block) {
        const u32 count = region.blocks[block].count;
        for (u32 i = 0; i < count; ++i) {
            const DecodedInstruction& in = At(block, i);
            const u32 next = in.pc + in.length;
            const bool isLast = i + 1 == count;
            if (in.flow == Flow::Branch || in.flow == Flow::Jump || in.flow == Flow::Call) {
                AddEdge(i, in.target);
            }
            if (isLast && (in.flow == Flow::Next || in.flow == Flow::Branch)) {
                AddEdge(i, next);
            }
            if (in.flow == Flow::Call || in.flow == Flow::CallThrough) {
                AddEdge(i, next, true);
            }
        }
    }

    bool HasLink(size_t block) const {
        for (u32 i = 0; i < region.blocks[block].count; ++i) {
            if (UseAt(block, i).isLink) {
                return true;
            }
        }
        return false;
    }

    bool AnyNext(size_t block, const std::vector<bool>& needs) const {
        const auto ways = EdgesOf(block);
        return std::any_of(ways.begin(), ways.end(),
                           [&needs](const Edge& edge) { return needs[edge.to]; });
    }

    bool NeedsFrame(size_t block) const {
        if (!UseAt(block, 0).from.IsEmpty()) {
            return true;
        }
        return !HasLink(block) && AnyNext(block, needsFrame);
    }

    bool NeedsStack(size_t block) const {
        for (u32 i = 0; i < region.blocks[block].count; ++i) {
            const DecodedInstruction& in = At(block, i);
            const bool isReturn = in.flow == Flow::Away && in.kind == InstructionClass::Single;
            if (UseAt(block, i).pushed != 0 || UseAt(block, i).popped != 0 || isReturn) {
                return true;
            }
        }
        return AnyNext(block, needsStack);
    }

    bool NeedsDepth(size_t block) const {
        if (HasLink(block)) {
            return false;
        }
        return IsCall(At(block, region.blocks[block].count - 1)) || AnyNext(block, needsDepth);
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
                if (!needsDepth[i] && NeedsDepth(i)) {
                    needsDepth[i] = hasChanged = true;
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
            if (!needsDepth[i]) {
                before[i].depth = kNoDepth;
            }
        }
    }

    static i32 CommonDepth(i32 a, i32 b) {
        if (a == kAnyDepth || b == kAnyDepth) {
            return std::min(a, b);
        }
        return a == b ? a : kNoDepth;
    }

    void Restrict(size_t block, const Facts& facts, bool isLate) {
        Facts& known = before[block];
        Facts now = {std::max(known.frame, facts.frame), std::min(known.stack, facts.stack),
                     CommonDepth(known.depth, facts.depth)};
        if (now == known) {
            return;
        }
        if (isLate && now.stack != known.stack) {
            now.stack = kNoStack;
        }
        known = now;
        isToFollow[block] = hasChanged = true;
    }

    // Blocks only ever restrict others further, so one about which nothing new is known has nothing
    // to add.
    void FollowBlock(size_t block, bool isLate) {
        if (!isToFollow[block]) {
            return;
        }
        isToFollow[block] = false;
        const Block& all = region.blocks[block];
        Facts facts = before[block];
        const auto ways = EdgesOf(block);
        size_t edge = 0;
        for (u32 i = 0; i < all.count; ++i) {
            const Facts after = FactsAfter(UseAt(block, i), facts);
            for (; edge < ways.size() && ways[edge].index == i; ++edge) {
                const Edge& way = ways[edge];
                Restrict(way.to, way.isReturn ? FactsReturned(At(block, i), facts) : after, isLate);
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
            const FrameRange here = UseAt(i, 0).from;
            if (here.IsEmpty()) {
                continue;
            }
            used.Add(here);
        }
        for (Facts& facts : before) {
            if (facts.frame == kAnyFrame) {
                facts.frame = used.IsEmpty() ? kNoFrame : used.low;
            }
            if (facts.depth == kAnyDepth) {
                facts.depth = kNoDepth;
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

void FrameRange::Add(const FrameRange& other) {
    low = std::min(low, other.low);
    high = std::max(high, other.high);
}

Facts FactsAfter(const StackUse& use, Facts facts) {
    if (!use.frame.IsEmpty() && use.frame.low < facts.frame) {
        facts.frame = use.from.low;
    }
    const i32 pushed = static_cast<i32>(use.pushed);
    const i32 popped = static_cast<i32>(use.popped);
    if (pushed != 0) {
        if (facts.stack < pushed) {
            facts.stack = std::max(pushed, kMostStack);
        }
        facts.stack -= pushed;
    }
    if (use.isLink) {
        facts.frame = 4 - pushed;
        facts.depth = pushed - 4;
    } else if (facts.depth != kNoDepth && facts.depth != kAnyDepth) {
        facts.depth += pushed - popped;
        if (facts.depth < 0 || facts.depth > kMostDepth) {
            facts.depth = kNoDepth;
        }
    }
    if (facts.stack != kNoStack) {
        facts.stack = std::min(facts.stack + popped, kMostStack);
    }
    return facts;
}

RegionFacts FindFacts(const Region& region) {
    Search search(region);
    search.firstEdges.push_back(0);
    for (size_t i = 0; i < region.blocks.size(); ++i) {
        search.FindEdges(i);
        search.firstEdges.push_back(search.edges.size());
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
    search.isToFollow.assign(region.blocks.size(), true);
    for (search.hasChanged = true; search.hasChanged;) {
        search.hasChanged = false;
        for (size_t i = 0; i < region.blocks.size(); ++i) {
            search.FollowBlock(i, true);
        }
    }
    return {std::move(search.uses), std::move(search.before)};
}

}  // namespace moxi
