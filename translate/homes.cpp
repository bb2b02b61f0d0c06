#include "translate/homes.h"

#include <algorithm>
#include <vector>

#include "translate/state.h"

namespace moxi {

namespace {

// What a round of a loop weighs, of one in another the square, and so on.
constexpr u64 kLoopWeight = 8;
constexpr u64 kMostWeight = 512;

// For each instruction, by the jumps back across it.
std::vector<u64> Weights(const Region& region) {
    const auto& all = region.instructions;
    std::vector<u64> weights(all.size(), 1);
    for (size_t i = 0; i < all.size(); ++i) {
        const bool jumps = all[i].flow == Flow::Branch || all[i].flow == Flow::Jump;
        if (!jumps || all[i].target > all[i].pc) {
            continue;
        }
        for (size_t k = i + 1; k-- > 0 && all[k].pc >= all[i].target;) {
            weights[k] = std::min(weights[k] * kLoopWeight, kMostWeight);
        }
    }
    return weights;
}

bool IsFloating(const DecodedInstruction& in) {
    if (in.kind == InstructionClass::TwoOperands) {
        const TwoOperand op = TwoOperandOf(in);
        return op >= TwoOperand::Fadd && op <= TwoOperand::Fcmp;
    }
    const OneOperand op = OneOperandOf(in);
    return op == OneOperand::Stod || op == OneOperand::Utod;
}

void CountTwoOperands(const DecodedInstruction& in, u64 weight, RegisterUses& uses) {
    // A plain move of 64 bits is done as well in one kind of register as in the other.
    const bool isAnyMove = TwoOperandOf(in) == TwoOperand::Move && SizeOf(in) == 3;
    const auto count = [&](Mode mode, u32 number) {
        if (mode == Mode::Register && IsFloating(in)) {
            uses.floating[number] += weight;
        } else if (mode == Mode::Indexed || (mode == Mode::Register && !isAnyMove)) {
            uses.whole[number] += weight;
        }
    };
    if (in.form.aField != Field::None) {
        count(in.form.a, LowRegister(in.w));
    }
    if (in.form.bField != Field::None) {
        count(in.form.b, in.form.bField == Field::High ? HighRegister(in.w) : LowRegister(in.w));
    }
}

}  // namespace

void CountUses(const Region& region, RegisterUses& uses) {
    const std::vector<u64> weights = Weights(region);
    for (size_t i = 0; i < weights.size(); ++i) {
        const DecodedInstruction& in = region.instructions[i];
        if (in.flow == Flow::Interpreter || in.flow == Flow::End) {
            continue;
        }
        if (in.kind == InstructionClass::TwoOperands) {
            CountTwoOperands(in, weights[i], uses);
        } else if (in.kind == InstructionClass::OneOperand) {
            const bool isFloating = in.mode == Mode::Register && IsFloating(in);
            const bool isUse = in.mode == Mode::Register || in.mode == Mode::Indexed;
            if (isUse) {
                (isFloating ? uses.floating : uses.whole)[HighRegister(in.w)] += weights[i];
            }
        } else if (in.kind == InstructionClass::TestBranch) {
            const auto mode = static_cast<TestOperand>(TestMode(in.w));
            const bool isUse = mode == TestOperand::Register || mode == TestOperand::Indirect;
            if (isUse) {
                uses.whole[in.words[0] & 15] += weights[i];
            }
        }
    }
}

Homes HomesFor(const RegisterUses& uses) {
    Homes homes;
    homes.hosts.fill(kNoHost);
    homes.vectors.fill(kNoHost);
    u32 vectors = 0;
    for (u32 number = 0; number < 16 && vectors < kVectors; ++number) {
        if (uses.floating[number] > uses.whole[number]) {
            homes.vectors[number] = static_cast<i32>(vectors++);
        }
    }
    std::vector<u32> order;
    for (u32 number = 0; number < 16; ++number) {
        if (homes.vectors[number] == kNoHost) {
            order.push_back(number);
        }
    }
    std::stable_sort(order.begin(), order.end(),
                     [&uses](u32 a, u32 b) { return uses.whole[a] > uses.whole[b]; });
    if (order.size() > kHostRegisters) {
        order.resize(kHostRegisters);
    }
    // By number, so that the same registers are the same homes.
    std::sort(order.begin(), order.end());
    for (u32 i = 0; i < order.size(); ++i) {
        homes.hosts[order[i]] = static_cast<i32>(i);
    }
    return homes;
}

u64 UsesServed(const RegisterUses& uses, const Homes& homes) {
    u64 served = 0;
    for (u32 number = 0; number < 16; ++number) {
        if (homes.hosts[number] != kNoHost) {
            served += uses.whole[number];
        }
        if (homes.vectors[number] != kNoHost) {
            served += uses.floating[number];
        }
    }
    return served;
}

}  // namespace moxi
