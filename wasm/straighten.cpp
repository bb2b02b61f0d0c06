#include "wasm/straighten.h"

#include <numeric>
#include <utility>

namespace moxi {

namespace {

bool NamesLabel(Kind kind) {
    return kind == Kind::Branch || kind == Kind::TestBranch || kind == Kind::Jump;
}

bool EndsFlow(Kind kind) {
    return kind == Kind::Jump || kind == Kind::TableJump || kind == Kind::JumpRoutine ||
           kind == Kind::Stop || kind == Kind::Return;
}

u8 Inverse(u8 condition) {
    constexpr u8 kInverse[] = {1, 0, 5, 4, 3, 2, 7, 6};  // EQ NE GE GT LE LT EV OD
    return kInverse[condition];
}

bool IsTwo(const Instruction& instruction, TwoOperand op, OperandSize size) {
    return instruction.kind == Kind::Two && instruction.operation == static_cast<u8>(op) &&
           instruction.size == size;
}

bool IsCopyOfAll(const Instruction& instruction) {
    return IsTwo(instruction, TwoOperand::Move, OperandSize::Quad) &&
           instruction.a.place == Place::Register && instruction.b.place == Place::Register;
}

struct Straightener {
    FunctionCode& code;
    std::vector<Instruction>& list = code.instructions;

    // The next instruction that does something; the end where there is none.
    u64 Next(u64 i) const {
        do {
            ++i;
        } while (i < list.size() && list[i].kind == Kind::Nothing);
        return i;
    }
    // Whether the label stands behind instruction i, before anything else.
    bool FollowsLabel(u64 i, u32 label) const {
        for (i = Next(i); i < list.size() && list[i].kind == Kind::Label; i = Next(i)) {
            if (list[i].target == label) {
                return true;
            }
        }
        return false;
    }
    void Retarget();
    bool RemoveJumps();
    bool RemoveUnreached();
    bool ReturnAtOnce();
    void Shorten();
    void Compact();
};

// Whoever goes to a label at which nothing but a jump stands goes to that jump's label at once.
void Straightener::Retarget() {
    std::vector<u32> alias(code.labels);
    std::iota(alias.begin(), alias.end(), 0u);
    for (u64 i = 0; i < list.size(); ++i) {
        if (list[i].kind != Kind::Label) {
            continue;
        }
        u64 next = Next(i);
        while (next < list.size() && list[next].kind == Kind::Label) {
            next = Next(next);
        }
        if (next < list.size() && list[next].kind == Kind::Jump) {
            alias[list[i].target] = list[next].target;
        }
    }
    const auto resolve = [&](u32 label) {
        // In an empty loop this would go round for ever; few chains have more steps than these.
        for (u32 steps = 0; steps < 16 && alias[label] != label; ++steps) {
            label = alias[label];
        }
        return label;
    };
    for (Instruction& instruction : list) {
        if (NamesLabel(instruction.kind)) {
            instruction.target = resolve(instruction.target);
        }
    }
    for (std::vector<u32>& table : code.tables) {
        for (u32& label : table) {
            label = resolve(label);
        }
    }
}

// Removes jumps and branches to what stands behind them anyway. A branch around a jump becomes the
// opposite branch to where the jump went. Returns whether anything changed.
bool Straightener::RemoveJumps() {
    bool changed = false;
    for (u64 i = 0; i < list.size(); ++i) {
        Instruction& instruction = list[i];
        if (instruction.kind == Kind::Jump && FollowsLabel(i, instruction.target)) {
            instruction.kind = Kind::Nothing;
            changed = true;
            continue;
        }
        if (instruction.kind != Kind::Branch && instruction.kind != Kind::TestBranch) {
            continue;
        }
        if (FollowsLabel(i, instruction.target)) {
            // A test and branch stays: a branch behind it may use its flags.
            if (instruction.kind == Kind::Branch) {
                instruction.kind = Kind::Nothing;
                changed = true;
            }
            continue;
        }
        const u64 next = Next(i);
        if (next >= list.size() || list[next].kind != Kind::Jump) {
            continue;
        }
        if (!FollowsLabel(next, instruction.target)) {
            continue;
        }
        instruction.operation = Inverse(instruction.operation);
        instruction.target = list[next].target;
        list[next].kind = Kind::Nothing;
        changed = true;
    }
    return changed;
}

// Removes labels that nothing names, and what stands behind a jump or the like before the next
// label. Returns whether an instruction was removed.
bool Straightener::RemoveUnreached() {
    std::vector<bool> isNamed(code.labels, false);
    for (const Instruction& instruction : list) {
        if (NamesLabel(instruction.kind)) {
            isNamed[instruction.target] = true;
        }
        if (instruction.kind != Kind::TableJump) {
            continue;
        }
        for (const u32 label : code.tables[instruction.target]) {
            isNamed[label] = true;
        }
    }
    bool changed = false;
    bool isReached = true;
    for (Instruction& instruction : list) {
        if (instruction.kind == Kind::Label) {
            if (isNamed[instruction.target]) {
                isReached = true;
            } else {
                instruction.kind = Kind::Nothing;
            }
            continue;
        }
        if (!isReached && instruction.kind != Kind::Nothing) {
            instruction.kind = Kind::Nothing;
            changed = true;
        }
        if (EndsFlow(instruction.kind)) {
            isReached = false;
        }
    }
    return changed;
}

// A jump to a return becomes a return, which is as long. Returns whether there was any.
bool Straightener::ReturnAtOnce() {
    constexpr u64 kNone = ~u64{0};
    std::vector<u64> returns(code.labels, kNone);
    for (u64 i = list.size(); i-- > 0;) {
        if (list[i].kind != Kind::Label) {
            continue;
        }
        u64 next = Next(i);
        while (next < list.size() && list[next].kind == Kind::Label) {
            next = Next(next);
        }
        if (next < list.size() && list[next].kind == Kind::Return) {
            returns[list[i].target] = next;
        }
    }
    bool changed = false;
    for (Instruction& instruction : list) {
        if (instruction.kind == Kind::Jump && returns[instruction.target] != kNone) {
            const u32 origin = instruction.origin;
            instruction = list[returns[instruction.target]];
            instruction.origin = origin;
            changed = true;
        }
    }
    return changed;
}

void Straightener::Shorten() {
    bool changed = true;
    for (u32 round = 0; changed && round < 8; ++round) {
        Retarget();
        changed = RemoveUnreached();
        changed |= RemoveJumps();
    }
    if (ReturnAtOnce()) {
        RemoveUnreached();
        RemoveJumps();
    }
    RemoveUnreached();
}

// Drops all instructions that have become Nothing.
void Straightener::Compact() {
    u64 kept = 0;
    for (u64 i = 0; i < list.size(); ++i) {
        if (list[i].kind == Kind::Nothing) {
            continue;
        }
        list[kept] = list[i];
        code.depths[kept] = code.depths[i];
        ++kept;
    }
    list.resize(kept);
    code.depths.resize(kept);
}

}  // namespace

void Straighten(FunctionCode& code) {
    Straightener straightener{code};
    straightener.Shorten();
    straightener.Compact();
}

void RemoveIdle(FunctionCode& code, const Allocation& allocation) {
    for (Instruction& instruction : code.instructions) {
        if (!IsCopyOfAll(instruction)) {
            continue;
        }
        const Location& to = allocation.locations[instruction.a.variable];
        const Location& from = allocation.locations[instruction.b.variable];
        if (to.inRegister == from.inRegister && to.number == from.number) {
            instruction.kind = Kind::Nothing;
        }
    }
    Straightener{code}.Shorten();
}

// --- Halves

namespace {

// Whether the instruction looks at the upper half of a register operand.
bool ReadsUpper(const Instruction& instruction, bool isA) {
    if (instruction.kind == Kind::TestBranch) {
        return instruction.size == OperandSize::Quad;
    }
    if (instruction.kind == Kind::One) {
        const auto op = static_cast<OneOperand>(instruction.operation);
        switch (op) {
            case OneOperand::Ftoq:
            case OneOperand::Ftod:
            case OneOperand::Exts:
            case OneOperand::Extz: return false;
            case OneOperand::Dtoq:
            case OneOperand::Dtol: return true;
            case OneOperand::Push:
                return instruction.size == OperandSize::Quad && !instruction.isLow;
            default: return instruction.size == OperandSize::Quad;
        }
    }
    if (instruction.kind != Kind::Two) {
        return false;
    }
    const auto op = static_cast<TwoOperand>(instruction.operation);
    const bool isShift = op == TwoOperand::Lsl || op == TwoOperand::Lsr || op == TwoOperand::Asr;
    if (isShift && !isA) {
        return false;  // a count is a byte
    }
    return instruction.size == OperandSize::Quad && op != TwoOperand::Lea;
}

// By variable: whether somebody looks at its upper half.
std::vector<bool> FindWide(const FunctionCode& code) {
    std::vector<bool> wide(code.variables, false);
    for (u32 r = 0; r < kFirstVariable; ++r) {
        wide[r] = true;
    }
    std::vector<std::vector<Variable>> sources(code.variables);
    std::vector<Variable> todo;
    const auto mark = [&](Variable variable) {
        if (wide[variable]) {
            return;
        }
        wide[variable] = true;
        todo.push_back(variable);
    };
    for (const Instruction& instruction : code.instructions) {
        const Roles roles = RolesOf(instruction);
        if (IsCopyOfAll(instruction)) {
            if (instruction.a.variable < kFirstVariable) {
                if (!instruction.isLow) {
                    mark(instruction.b.variable);
                }
            } else {
                sources[instruction.a.variable].push_back(instruction.b.variable);
            }
            continue;
        }
        if (roles.readsA && ReadsUpper(instruction, true)) {
            mark(instruction.a.variable);
        }
        if (roles.readsB && ReadsUpper(instruction, false)) {
            mark(instruction.b.variable);
        }
    }
    // If a copy's upper half matters, that of what it was copied from does, too. All variables that
    // are marked so far are in `todo`.
    while (!todo.empty()) {
        const Variable variable = todo.back();
        todo.pop_back();
        for (const Variable source : sources[variable]) {
            mark(source);
        }
    }
    return wide;
}

}  // namespace

void UseLowHalves(FunctionCode& code) {
    const std::vector<bool> wide = FindWide(code);
    std::vector<Instruction>& list = code.instructions;
    for (u64 i = 0; i < list.size(); ++i) {
        Instruction& instruction = list[i];
        if (instruction.kind != Kind::Two || instruction.a.place != Place::Register ||
            wide[instruction.a.variable]) {
            continue;
        }
        if (IsTwo(instruction, TwoOperand::Movez, OperandSize::Long) &&
            instruction.b.place == Place::Register) {
            if (instruction.b.variable == instruction.a.variable) {
                instruction.kind = Kind::Nothing;
            } else {
                instruction.operation = static_cast<u8>(TwoOperand::Move);
                instruction.size = OperandSize::Quad;
            }
        }
        if (i + 1 == list.size() || !IsCopyOfAll(instruction)) {
            continue;
        }
        // a = b; a += number: LEA does both, where nobody looks at the upper half.
        Instruction& next = list[i + 1];
        const bool isSum = IsTwo(next, TwoOperand::Add, OperandSize::Long) &&
                           next.a == instruction.a && next.b.place == Place::Immediate &&
                           next.b.base != Base::Function;
        if (!isSum) {
            continue;
        }
        next.operation = static_cast<u8>(TwoOperand::Lea);
        next.b = AtIndex(instruction.b.variable, next.b.base, next.b.value);
        instruction.kind = Kind::Nothing;
    }
}

// --- Flags

void UseFlags(FunctionCode& code) {
    std::vector<Instruction>& list = code.instructions;
    for (u64 i = 0; i + 1 < list.size(); ++i) {
        Instruction& instruction = list[i];
        Instruction& next = list[i + 1];
        if (instruction.kind != Kind::Two || next.kind != Kind::TestBranch) {
            continue;
        }
        if (instruction.size != next.size || !(instruction.a == next.a)) {
            continue;
        }
        const auto op = static_cast<TwoOperand>(instruction.operation);
        const bool isSum = op == TwoOperand::Add && instruction.b.place == Place::Immediate &&
                           instruction.b.base == Base::None;
        const bool setsFlags = op == TwoOperand::Sub || op == TwoOperand::And ||
                               op == TwoOperand::Xor || op == TwoOperand::Lsl ||
                               op == TwoOperand::Lsr || op == TwoOperand::Asr;
        if (!isSum && !setsFlags) {
            continue;
        }
        if (isSum) {
            // An addition leaves the flags alone, a subtraction of the negative number sets them.
            instruction.operation = static_cast<u8>(TwoOperand::Sub);
            instruction.b.value = static_cast<i64>(0 - static_cast<u64>(instruction.b.value));
        }
        next.kind = Kind::Branch;
        next.a = {};
    }
}

// --- Memory

// r = [x]; r += n; [x] = r becomes [x] += n; r = [x].
void AddInMemory(FunctionCode& code) {
    std::vector<Instruction>& list = code.instructions;
    for (u64 i = 0; i + 2 < list.size(); ++i) {
        Instruction& load = list[i];
        Instruction& sum = list[i + 1];
        const Instruction& store = list[i + 2];
        const bool isSum =
            IsTwo(load, TwoOperand::Movez, OperandSize::Long) && load.b.place == Place::Absolute &&
            IsTwo(sum, TwoOperand::Add, OperandSize::Long) && sum.a == load.a &&
            sum.b.place == Place::Immediate && IsTwo(store, TwoOperand::Move, OperandSize::Long) &&
            store.a == load.b && store.b == load.a;
        if (!isSum) {
            continue;
        }
        std::swap(load.operation, sum.operation);
        std::swap(load.b, sum.b);
        load.a = store.a;
        list[i + 2].kind = Kind::Nothing;
    }
}

}  // namespace moxi
