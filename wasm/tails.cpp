#include "wasm/tails.h"

#include <algorithm>

namespace moxi {

namespace {

constexpr u32 kNone = 0xFFFFFFFF;
constexpr u64 kMostKept = 24;  // ends that others are compared with, for one place: bounds the time
// How many bytes must be saved to make a further jump worth its time: outside of loops, and in
// them.
constexpr u32 kWorthAJump = 8;
constexpr u32 kWorthAJumpInLoops = 16;

// The end of a way that leads to a label, or to a return.
struct End {
    u32 behind =
        0;  // the index of what stands behind its last instruction: a jump, a return, a label
    bool falls = false;  // into the label that stands there
};

struct Merger {
    FunctionCode& code;
    const Allocation& allocation;
    std::vector<Instruction>& list = code.instructions;
    std::vector<std::vector<End>> ends{};  // by label; the last one is for returns
    std::vector<u32> labelBefore{};        // a label to be put in front of an instruction, or kNone
    bool changed = false;

    u32 Previous(u32 i) const;
    void FindEnds();
    bool IsSame(const Operand& a, const Operand& b) const;
    bool IsSame(const Instruction& a, const Instruction& b) const;
    u32 BytesOf(const Operand& operand, OperandSize size) const;
    u32 BytesOf(const Instruction& instruction) const;
    u32 Match(const End& a, const End& b, u32& startA, u32& startB) const;
    bool IsWorth(const End& kept, const End& end, u32 bytes) const;
    bool MergeOne(const std::vector<End>& kept, const End& end);
    void InsertLabels();
    void Run();
};

bool EndsFlow(Kind kind) {
    return kind == Kind::Jump || kind == Kind::TableJump || kind == Kind::JumpRoutine ||
           kind == Kind::Stop || kind == Kind::Return;
}

// The instruction in front that does something; kNone where there is none.
u32 Merger::Previous(u32 i) const {
    while (i-- > 0) {
        if (list[i].kind != Kind::Nothing) {
            return i;
        }
    }
    return kNone;
}

// Finds all ways to each label, and to the returns.
void Merger::FindEnds() {
    ends.assign(code.labels + 1, {});
    // Labels at one place count as the first of them.
    std::vector<u32> first(code.labels, kNone);
    for (u32 i = 0; i < list.size(); ++i) {
        if (list[i].kind != Kind::Label) {
            continue;
        }
        const u32 before = Previous(i);
        const bool follows = before != kNone && list[before].kind == Kind::Label;
        first[list[i].target] = follows ? first[list[before].target] : list[i].target;
        if (!follows && before != kNone && !EndsFlow(list[before].kind)) {
            ends[list[i].target].push_back({i, true});
        }
    }
    for (u32 i = 0; i < list.size(); ++i) {
        if (list[i].kind == Kind::Jump) {
            ends[first[list[i].target]].push_back({i, false});
        }
        if (list[i].kind == Kind::Return) {
            ends[code.labels].push_back({i, false});
        }
    }
}

// Whether two operands mean the same register, place in the frame or other thing, whatever
// variables they name.
bool Merger::IsSame(const Operand& a, const Operand& b) const {
    if (a.place != b.place || a.base != b.base || a.value != b.value) {
        return false;
    }
    if (a.place != Place::Register && a.place != Place::Indexed) {
        return true;
    }
    const Location& at = allocation.locations[a.variable];
    const Location& other = allocation.locations[b.variable];
    return at.inRegister == other.inRegister && at.number == other.number;
}

bool Merger::IsSame(const Instruction& a, const Instruction& b) const {
    return a.kind == b.kind && a.operation == b.operation && a.size == b.size &&
           a.target == b.target && a.pushed == b.pushed && IsSame(a.a, b.a) && IsSame(a.b, b.b);
}

// What an operand adds to its instruction's length.
u32 Merger::BytesOf(const Operand& operand, OperandSize size) const {
    switch (operand.place) {
        case Place::Indexed:
        case Place::Absolute: return 4;
        case Place::Immediate: {
            const i64 value =
                size == OperandSize::Long ? static_cast<i32>(operand.value) : operand.value;
            const bool isQuick = operand.base == Base::None && value >= -8 && value <= 7;
            return isQuick ? 0 : size == OperandSize::Quad ? 8 : 4;
        }
        default: return 0;
    }
}

// About how long the instruction is; never more than it is.
u32 Merger::BytesOf(const Instruction& instruction) const {
    switch (instruction.kind) {
        case Kind::Two:
        case Kind::One:
            return 4 + BytesOf(instruction.a, instruction.size) +
                   BytesOf(instruction.b, instruction.size);
        case Kind::Call:
        case Kind::CallRoutine: return 8;
        default: return 4;
    }
}

// How many bytes of instructions the two ends have in common, and the index at which these begin in
// each; the indices are left alone where there are none.
u32 Merger::Match(const End& a, const End& b, u32& startA, u32& startB) const {
    u32 bytes = 0;
    u32 i = Previous(a.behind);
    u32 k = Previous(b.behind);
    while (i != kNone && k != kNone && i != k) {
        const Kind kind = list[i].kind;
        const bool stops = kind == Kind::Label || kind == Kind::Branch ||
                           kind == Kind::TestBranch || EndsFlow(kind) || !IsSame(list[i], list[k]);
        if (stops) {
            break;
        }
        bytes += BytesOf(list[i]);
        startA = i;
        startB = k;
        i = Previous(i);
        k = Previous(k);
    }
    return bytes;
}

// A way that falls into its label is reached by the jump that `end` has in any case.
bool Merger::IsWorth(const End& kept, const End& end, u32 bytes) const {
    if (kept.falls) {
        return bytes > 0;
    }
    return bytes >= (code.depths[end.behind] > 0 ? kWorthAJumpInLoops : kWorthAJump);
}

// Replaces what `end` has in common with the best of the ends that stay by a jump into that one.
// False when none is worth it.
bool Merger::MergeOne(const std::vector<End>& kept, const End& end) {
    u32 most = 0;
    u32 into = 0;
    u32 from = 0;
    for (const End& each : kept) {
        u32 start = 0;
        u32 own = 0;
        const u32 bytes = Match(each, end, start, own);
        if (bytes > most && IsWorth(each, end, bytes)) {
            most = bytes;
            into = start;
            from = own;
        }
    }
    if (most == 0) {
        return false;
    }
    if (labelBefore[into] == kNone) {
        labelBefore[into] = code.labels++;
    }
    for (u32 i = from; i <= end.behind; ++i) {
        list[i].kind = Kind::Nothing;
    }
    Instruction& jump = list[from];
    jump.kind = Kind::Jump;
    jump.target = labelBefore[into];
    return true;
}

void Merger::InsertLabels() {
    std::vector<Instruction> all;
    std::vector<u8> depths;
    all.reserve(list.size());
    depths.reserve(list.size());
    for (u32 i = 0; i < list.size(); ++i) {
        if (labelBefore[i] != kNone) {
            Instruction label;
            label.kind = Kind::Label;
            label.target = labelBefore[i];
            label.origin = list[i].origin;
            all.push_back(label);
            depths.push_back(code.depths[i]);
        }
        all.push_back(list[i]);
        depths.push_back(code.depths[i]);
    }
    list = std::move(all);
    code.depths = std::move(depths);
}

void Merger::Run() {
    FindEnds();
    labelBefore.assign(list.size(), kNone);
    for (const std::vector<End>& same : ends) {
        std::vector<End> kept;
        for (const End& end : same) {
            if (!end.falls && MergeOne(kept, end)) {
                changed = true;
            } else if (kept.size() < kMostKept) {
                kept.push_back(end);
            }
        }
    }
    if (changed) {
        InsertLabels();
    }
}

}  // namespace

void MergeTails(FunctionCode& code, const Allocation& allocation) {
    Merger{code, allocation}.Run();
}

}  // namespace moxi
