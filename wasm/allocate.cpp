#include "wasm/allocate.h"

#include <algorithm>
#include <map>
#include <numeric>

#include "wasm/live.h"

namespace moxi {

namespace {

constexpr u32 kRegisters = 14;  // R14 and R15 serve bases that lie in the frame
constexpr u32 kFirstKept = 6;   // a function that changes R6..R13 saves them first
// These keep the time for very large functions in bounds: beyond them a new slot is taken, or two
// variables stay apart.
constexpr u32 kMaxSlotsTried = 256;
constexpr u64 kMaxRangesToJoin = 4096;
constexpr u64 kMaxWritesToJoin = 1024;

// Registers in the order in which they are tried. Those that calls change come first, for nothing
// has to be saved for them; then from R13 down, for a function saves all from R13 to the lowest one
// that it uses.
constexpr u8 kOrder[kRegisters] = {4, 5, 3, 2, 1, 0, 13, 12, 11, 10, 9, 8, 7, 6};

// An instruction that moves all of one variable into another one.
struct Copy {
    Variable to = 0;
    Variable from = 0;
    u64 weight = 0;
};

struct Candidate {
    Variable variable = 0;
    f64 priority = 0;
};

// The positions (live.h) at which a register or a slot is taken. Its ranges never overlap each
// other.
struct Occupied {
    std::map<u32, u32> ranges;  // from -> to

    bool Overlaps(const std::vector<Range>& list) const {
        for (const Range& range : list) {
            // Of the ranges that begin before this one's end only the last one can reach into it.
            auto next = ranges.lower_bound(range.to);
            if (next == ranges.begin()) {
                continue;
            }
            --next;
            if (next->second > range.from) {
                return true;
            }
        }
        return false;
    }
    void Take(const std::vector<Range>& list) {
        for (const Range& range : list) {
            ranges.emplace(range.from, range.to);
        }
    }
};

struct Allocator {
    FunctionCode& code;
    Allocation& result;
    Liveness live{};
    // Joined variables form a set (union-find, with path halving): the way along `leader` ends at
    // the one that stands for all of them.
    std::vector<Variable> leader{};
    std::vector<u64> weights{};
    std::vector<Copy> copies{};
    std::vector<std::vector<u32>> writes{};  // the instructions that write a variable
    std::vector<std::vector<std::pair<u8, u64>>>
        hints{};  // registers that a variable is copied from or to
    Occupied registers[kRegisters]{};
    std::vector<Occupied> slots{};

    Variable Leader(Variable variable) {
        while (leader[variable] != variable) {
            leader[variable] = leader[leader[variable]];
            variable = leader[variable];
        }
        return variable;
    }
    void CollectWeights();
    bool IsAliveBehind(Variable variable, u32 instruction) const;
    bool DisturbsWhileAlive(Variable written, Variable other);
    bool Interfere(Variable a, Variable b);
    void Join();
    void CollectHints();
    void Color();
    bool TryRegister(Variable variable, u32 number);
    void Place(Variable variable);
    void PlaceInFrame(Variable variable);
    void Run();
};

// How often an instruction is taken to be executed: each loop around it runs eight times.
u64 WeightOf(u8 depth) {
    return u64{1} << (3 * std::min<u32>(depth, 6));
}

// Shorter moves are no copies: they leave a part of the register as it was.
bool IsCopy(const Instruction& instruction) {
    return instruction.kind == Kind::Two &&
           instruction.operation == static_cast<u8>(TwoOperand::Move) &&
           instruction.size == OperandSize::Quad && instruction.a.place == Place::Register &&
           instruction.b.place == Place::Register;
}

void Allocator::CollectWeights() {
    weights.assign(code.variables, 0);
    writes.resize(code.variables);
    for (u32 i = 0; i < code.instructions.size(); ++i) {
        const Instruction& instruction = code.instructions[i];
        const u64 weight = WeightOf(code.depths[i]);
        ForEachVariable(instruction, [&](Variable variable, bool, bool isWritten) {
            weights[variable] += weight;
            if (isWritten && variable >= kFirstVariable) {
                writes[variable].push_back(i);
            }
        });
        // A base that lies in the frame has to be fetched into a scratch register first, while
        // other operands may lie there: it needs its register more than they do.
        for (const Operand* operand : {&instruction.a, &instruction.b}) {
            if (operand->place == Place::Indexed) {
                weights[operand->variable] += 3 * weight;
            }
        }
        if (IsCopy(instruction)) {
            copies.push_back({instruction.a.variable, instruction.b.variable, weight});
        }
    }
}

// The union of two lists of ranges, each of them in order.
std::vector<Range> Merged(const std::vector<Range>& a, const std::vector<Range>& b) {
    std::vector<Range> all(a.size() + b.size());
    std::merge(a.begin(), a.end(), b.begin(), b.end(), all.begin(),
               [](const Range& x, const Range& y) { return x.from < y.from; });
    std::vector<Range> merged;
    for (const Range& range : all) {
        if (!merged.empty() && merged.back().to >= range.from) {
            merged.back().to = std::max(merged.back().to, range.to);
        } else {
            merged.push_back(range);
        }
    }
    return merged;
}

// Whether the variable's value is still read somewhere behind the instruction.
bool Allocator::IsAliveBehind(Variable variable, u32 instruction) const {
    const std::vector<Range>& list = live.ranges[variable];
    const u32 position = 2 * instruction + 1;
    const auto next = std::upper_bound(list.begin(), list.end(), position,
                                       [](u32 at, const Range& range) { return at < range.from; });
    return next != list.begin() && std::prev(next)->to > position;
}

// Whether a write to one variable changes what the other one still has to hold. A copy from the one
// to the other does not: both have the same value then.
bool Allocator::DisturbsWhileAlive(Variable written, Variable other) {
    return std::any_of(writes[written].begin(), writes[written].end(), [&](u32 i) {
        const Instruction& instruction = code.instructions[i];
        if (IsCopy(instruction) && Leader(instruction.b.variable) == other) {
            return false;
        }
        return IsAliveBehind(other, i);
    });
}

// Whether two variables cannot be one (Chaitin's rule). Where setjmp is called, control comes back
// to places that no instruction names, so that two which are alive together always disturb each
// other.
bool Allocator::Interfere(Variable a, Variable b) {
    if (!Overlap(live.ranges[a], live.ranges[b])) {
        return false;
    }
    if (code.callsSetjmp || writes[a].size() + writes[b].size() > kMaxWritesToJoin) {
        return true;
    }
    return DisturbsWhileAlive(a, b) || DisturbsWhileAlive(b, a);
}

// Joins the two sides of a copy into one variable, where they never have to hold two values at
// once; the copy then costs nothing. The most frequent copies come first.
void Allocator::Join() {
    std::stable_sort(copies.begin(), copies.end(),
                     [](const Copy& a, const Copy& b) { return a.weight > b.weight; });
    for (const Copy& copy : copies) {
        if (copy.to < kFirstVariable || copy.from < kFirstVariable) {
            continue;
        }
        const Variable to = Leader(copy.to);
        const Variable from = Leader(copy.from);
        if (to == from) {
            continue;
        }
        if (live.ranges[to].size() + live.ranges[from].size() > kMaxRangesToJoin) {
            continue;
        }
        if (Interfere(to, from)) {
            continue;
        }
        live.ranges[to] = Merged(live.ranges[to], live.ranges[from]);
        live.ranges[from].clear();
        writes[to].insert(writes[to].end(), writes[from].begin(), writes[from].end());
        weights[to] += weights[from];
        leader[from] = to;
    }
}

// A copy between a variable and one of the machine's registers, as before and behind calls, hints
// that the variable should get that very register: the copy then costs nothing.
void Allocator::CollectHints() {
    hints.resize(code.variables);
    for (const Copy& copy : copies) {
        if ((copy.to < kFirstVariable) == (copy.from < kFirstVariable)) {
            continue;
        }
        const Variable machine = std::min(copy.to, copy.from);
        const Variable variable = Leader(std::max(copy.to, copy.from));
        if (machine < kRegisters) {
            hints[variable].emplace_back(static_cast<u8>(machine), copy.weight);
        }
    }
}

bool Allocator::TryRegister(Variable variable, u32 number) {
    if (registers[number].Overlaps(live.ranges[variable])) {
        return false;
    }
    registers[number].Take(live.ranges[variable]);
    result.locations[variable] = {true, number};
    if (number >= kFirstKept) {
        result.savedRegisters = std::max(result.savedRegisters, kRegisters - number);
    }
    return true;
}

// The first slot that is free, or a new one.
void Allocator::PlaceInFrame(Variable variable) {
    const u32 tried = std::min<u32>(static_cast<u32>(slots.size()), kMaxSlotsTried);
    u32 number = 0;
    while (number < tried && slots[number].Overlaps(live.ranges[variable])) {
        ++number;
    }
    if (number == tried) {
        number = static_cast<u32>(slots.size());
        slots.emplace_back();
    }
    slots[number].Take(live.ranges[variable]);
    result.locations[variable] = {false, number};
}

// The register of the heaviest hint that is free, else any free one, else a slot.
void Allocator::Place(Variable variable) {
    std::vector<std::pair<u8, u64>>& wanted = hints[variable];
    std::stable_sort(wanted.begin(), wanted.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    for (const auto& [number, weight] : wanted) {
        if (TryRegister(variable, number)) {
            return;
        }
    }
    for (const u8 number : kOrder) {
        if (TryRegister(variable, number)) {
            return;
        }
    }
    PlaceInFrame(variable);
}

// Gives places to the joined variables, the one with the highest priority first. The machine's own
// registers are taken already where instructions name them.
void Allocator::Color() {
    for (u32 r = 0; r < kRegisters; ++r) {
        registers[r].Take(live.ranges[r]);
    }
    std::vector<Candidate> candidates;
    for (Variable v = kFirstVariable; v < code.variables; ++v) {
        if (leader[v] != v || live.ranges[v].empty()) {
            continue;
        }
        u64 length = 0;
        for (const Range& range : live.ranges[v]) {
            length += range.to - range.from;
        }
        // The 4 keeps the shortest lives from always coming first.
        candidates.push_back({v, static_cast<f64>(weights[v]) / static_cast<f64>(length + 4)});
    }
    std::stable_sort(
        candidates.begin(), candidates.end(),
        [](const Candidate& a, const Candidate& b) { return a.priority > b.priority; });
    for (const Candidate& candidate : candidates) {
        Place(candidate.variable);
    }
}

void Allocator::Run() {
    live = FindLiveness(code);
    // What is alive across setjmp may be wanted again whenever control comes back there.
    const u32 end = 2 * static_cast<u32>(code.instructions.size());
    for (const Variable variable : live.crossesSetjmp) {
        live.ranges[variable] = {{0, end}};
    }
    // A debugger may ask for what lies in the C frame at any instruction.
    if (code.frameBase != 0) {
        live.ranges[code.frameBase] = {{0, end}};
    }
    leader.resize(code.variables);
    std::iota(leader.begin(), leader.end(), 0u);
    result.locations.resize(code.variables);
    for (u32 r = 0; r < kFirstVariable; ++r) {
        result.locations[r] = {true, r};
    }
    // Before variables are joined: afterwards a range may be another variable's.
    for (const Variable variable : code.watched) {
        result.watched.push_back(live.ranges[variable]);
    }
    CollectWeights();
    Join();
    CollectHints();
    Color();
    for (Variable v = kFirstVariable; v < code.variables; ++v) {
        result.locations[v] = result.locations[Leader(v)];
    }
    result.slots = static_cast<u32>(slots.size());
}

}  // namespace

Allocation Allocate(FunctionCode& code) {
    Allocation result;
    Allocator{code, result}.Run();
    return result;
}

}  // namespace moxi
