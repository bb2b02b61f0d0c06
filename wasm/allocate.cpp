#include "wasm/allocate.h"

#include <algorithm>
#include <map>
#include <numeric>

#include "wasm/live.h"

namespace moxi {

namespace {

constexpr u32 kRegisters = 14;  // R14 and R15 serve bases that lie in the frame
constexpr u32 kFirstKept = 6;   // R6..R13 are kept by the called
constexpr u32 kMaxSlotsTried = 256;
constexpr u64 kMaxRangesToJoin = 4096;
constexpr u64 kMaxWritesToJoin = 1024;

// Registers in the order in which they are tried: those that calls change come first, for nothing
// has to be saved for them.
constexpr u8 kOrder[kRegisters] = {4, 5, 3, 2, 1, 0, 13, 12, 11, 10, 9, 8, 7, 6};

struct Copy {
    Variable to = 0;
    Variable from = 0;
    u64 weight = 0;
};

struct Candidate {
    Variable variable = 0;
    f64 priority = 0;
};

// The positions that are taken, in a register or a slot.
struct Occupied {
    std::map<u32, u32> ranges;  // from -> to

    bool Overlaps(const std::vector<Range>& list) const {
        for (const Range& range : list) {
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
    std::vector<Variable> leader{};  // of the variables joined with this one
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

u64 WeightOf(u8 depth) {
    return u64{1} << (3 * std::min<u32>(depth, 6));
}

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
        // A base that lies in the frame has to be fetched first.
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

bool Allocator::IsAliveBehind(Variable variable, u32 instruction) const {
    const std::vector<Range>& list = live.ranges[variable];
    const u32 position = 2 * instruction + 1;
    const auto next =
        std::upper_bound(list.begin(), list.end(), position,
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

// Whether two variables cannot be one (Chaitin's rule). Where setjmp is called, control comes back to
// places that no instruction names, so that two which are alive together always disturb each other.
bool Allocator::Interfere(Variable a, Variable b) {
    if (!Overlap(live.ranges[a], live.ranges[b])) {
        return false;
    }
    if (code.callsSetjmp || writes[a].size() + writes[b].size() > kMaxWritesToJoin) {
        return true;
    }
    return DisturbsWhileAlive(a, b) || DisturbsWhileAlive(b, a);
}

// Copies whose sides never have to hold two values at once become one variable, the most frequent
// copies first.
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
    if (code.frameBase != 0) {
        live.ranges[code.frameBase] = {{0, end}};
    }
    leader.resize(code.variables);
    std::iota(leader.begin(), leader.end(), 0u);
    result.locations.resize(code.variables);
    for (u32 r = 0; r < kFirstVariable; ++r) {
        result.locations[r] = {true, r};
    }
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
