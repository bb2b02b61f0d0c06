#include "wasm/leaves.h"

#include "wasm/cursor.h"
#include "wasm/operators.h"
#include "wasm/skip_operands.h"

namespace moxi {

namespace {

constexpr u32 kMostOperators = 12;  // about what a call takes, and some more
constexpr u64 kMostBytes = 96;      // of a body that is looked at
constexpr u64 kMostLocals = 12;
constexpr u32 kTooMany = kMostOperators + 1;  // the cost of what is no leaf

struct LeafFinder {
    const Module& module;
    const std::vector<DebugFunction>& debugFunctions;
    std::vector<SmallLeaf> leaves{};
    enum class State : u8 { Unknown, Underway, Known };
    std::vector<State> states{};
    std::vector<u32> costs{};  // operators, with those of the leaves that are called

    // Whether it is worth a look at the body.
    bool IsCandidate(const Function& function) const {
        if (function.isImported || function.end - function.body > static_cast<i64>(kMostBytes)) {
            return false;
        }
        u64 locals = module.types[function.type].parameters.size();
        for (const Locals& run : function.locals) {
            locals += run.count;
        }
        if (locals > kMostLocals) {
            return false;
        }
        const auto* const start = reinterpret_cast<const u8*>(module.bytes.data());
        const u32 offset = static_cast<u32>(function.body - start);
        const DebugFunction* const known = FindDebugFunction(debugFunctions, offset);
        return known == nullptr || known->frameBase == kNoLocal;
    }
    u32 CostOf(u32 index, u32 depth);
    u32 Walk(const Function& function, SmallLeaf& leaf, u32 depth);
};

// The cost of a body: roughly how many of its operators become instructions; kTooMany for what
// cannot be a leaf. Fills in what `leaf` says of the body. The walk ends early when the cost is too
// high.
u32 LeafFinder::Walk(const Function& function, SmallLeaf& leaf, u32 depth) {
    ByteCursor cursor{function.body, function.end, nullptr};
    u32 cost = 0;
    while (!cursor.AtEnd() && cost < kTooMany) {
        const u8 opcode = cursor.Byte();
        const u8* const operands = cursor.at;
        const auto named = static_cast<Opcode>(opcode);
        SkipOperands(cursor, opcode);
        ByteCursor first{operands, function.end, nullptr};
        switch (named) {
            case Opcode::Loop: leaf.loops = true; [[fallthrough]];
            case Opcode::Block:
            case Opcode::Else:
            case Opcode::If:
            case Opcode::Br:
            case Opcode::BrIf:
            case Opcode::Return:
                leaf.branches = true;
                ++cost;
                break;
            case Opcode::LocalGet: ++leaf.reads[first.Unsigned32()]; break;
            case Opcode::LocalSet: leaf.isWritten[first.Unsigned32()] = true; break;
            case Opcode::LocalTee: {
                const u32 number = first.Unsigned32();
                leaf.isWritten[number] = true;
                ++leaf.reads[number];
                break;
            }
            case Opcode::I32Const:
            case Opcode::I64Const:
            case Opcode::F32Const:
            case Opcode::F64Const:
            case Opcode::Nop:
            case Opcode::Drop:
            case Opcode::End: break;
            case Opcode::Call: cost += 1 + CostOf(first.Unsigned32(), depth + 1); break;
            case Opcode::BrTable:
            case Opcode::CallIndirect: return kTooMany;
            default: ++cost; break;
        }
    }
    return cost;
}

// The cost of a function, found once; a leaf is noted.
u32 LeafFinder::CostOf(u32 index, u32 depth) {
    if (states[index] == State::Known) {
        return costs[index];
    }
    // What calls itself, directly or through others, is no leaf; nor is what lies that deep in
    // calls, for the recursion here must not exhaust the stack.
    if (states[index] == State::Underway || depth > kMostOperators) {
        return kTooMany;
    }
    states[index] = State::Underway;
    const Function& function = module.functions[index];
    if (IsCandidate(function)) {
        SmallLeaf leaf;
        u64 locals = module.types[function.type].parameters.size();
        for (const Locals& run : function.locals) {
            locals += run.count;
        }
        leaf.reads.resize(locals);
        leaf.isWritten.resize(locals);
        costs[index] = Walk(function, leaf, depth);
        leaf.isOne = costs[index] <= kMostOperators;
        if (leaf.isOne) {
            leaves[index] = std::move(leaf);
        }
    }
    states[index] = State::Known;
    return costs[index];
}

}  // namespace

std::vector<SmallLeaf> FindSmallLeaves(const Module& module,
                                       const std::vector<DebugFunction>& debugFunctions) {
    const u64 count = module.functions.size();
    LeafFinder finder{module, debugFunctions};
    finder.leaves.resize(count);
    finder.states.assign(count, LeafFinder::State::Unknown);
    finder.costs.assign(count, kTooMany);
    for (u32 i = 0; i < count; ++i) {
        finder.CostOf(i, 0);
    }
    return std::move(finder.leaves);
}

}  // namespace moxi
