#include "wasm/select.h"

#include <algorithm>

namespace moxi {

namespace {

// What the low bytes of the result depend on: the low bytes of the operands alone.
bool IsLowBytes(Plain code, TwoOperand& op) {
    switch (code) {
        case Plain::I32Add:
        case Plain::I64Add: op = TwoOperand::Add; return true;
        case Plain::I32Sub:
        case Plain::I64Sub: op = TwoOperand::Sub; return true;
        case Plain::I32Mul:
        case Plain::I64Mul: op = TwoOperand::Mul; return true;
        case Plain::I32And:
        case Plain::I64And: op = TwoOperand::And; return true;
        case Plain::I32Or:
        case Plain::I64Or: op = TwoOperand::Or; return true;
        case Plain::I32Xor:
        case Plain::I64Xor: op = TwoOperand::Xor; return true;
        default: return false;
    }
}

bool Commutes(TwoOperand op) {
    return op != TwoOperand::Sub;
}

u64 MaskOf(OperandSize size) {
    switch (size) {
        case OperandSize::Byte: return 0xFF;
        case OperandSize::Word: return 0xFFFF;
        case OperandSize::Long: return 0xFFFFFFFF;
        case OperandSize::Quad: break;
    }
    return ~u64{0};
}

u32 BytesOf(OperandSize size) {
    return 1u << static_cast<u32>(size);
}

}  // namespace

OperandSize SizeOf(ValueType type) {
    return type == ValueType::I32 || type == ValueType::F32 ? OperandSize::Long : OperandSize::Quad;
}

OperandSize SizeOfBytes(u32 bytes) {
    switch (bytes) {
        case 1: return OperandSize::Byte;
        case 2: return OperandSize::Word;
        case 4: return OperandSize::Long;
        default: return OperandSize::Quad;
    }
}

u32 RoutineNumber(ModulePlan& plan, const std::string& name) {
    std::vector<std::string>& routines = *plan.routines;
    const auto found = std::find(routines.begin(), routines.end(), name);
    if (found != routines.end()) {
        return static_cast<u32>(found - routines.begin());
    }
    routines.push_back(name);
    return static_cast<u32>(routines.size() - 1);
}

u32 NameCell(ModulePlan& plan, u32 function) {
    u32& cell = plan.nameCells[function];
    if (cell == 0) {
        cell = static_cast<u32>(plan.ownData.size());
        const std::string name = NameOfFunction(*plan.module, function);
        plan.ownData.insert(plan.ownData.end(), name.begin(), name.end());
        plan.ownData.push_back(0);
    }
    return cell;
}

u32 TrapNumber(ModulePlan& plan, u32 function) {
    u32& number = plan.trapNumbers[function];
    if (number == 0) {
        plan.trapNames->push_back({plan.number, NameCell(plan, function)});
        number = static_cast<u32>(plan.trapNames->size());
    }
    return number;
}

// --- Instructions

Instruction& Selector::Emit(const Instruction& instruction) {
    code.instructions.push_back(instruction);
    code.instructions.back().origin = origin;
    code.depths.push_back(depth);
    return code.instructions.back();
}

void Selector::Two(TwoOperand op, OperandSize size, const Operand& a, const Operand& b) {
    Instruction instruction;
    instruction.kind = Kind::Two;
    instruction.operation = static_cast<u8>(op);
    instruction.size = size;
    instruction.a = a;
    instruction.b = b;
    Emit(instruction);
}

void Selector::One(OneOperand op, OperandSize size, const Operand& a) {
    Instruction instruction;
    instruction.kind = Kind::One;
    instruction.operation = static_cast<u8>(op);
    instruction.size = size;
    instruction.a = a;
    Emit(instruction);
}

void Selector::Branch(Condition condition, u32 label) {
    Instruction instruction;
    instruction.kind = Kind::Branch;
    instruction.operation = static_cast<u8>(condition);
    instruction.target = label;
    Emit(instruction);
}

void Selector::TestBranch(Condition condition, OperandSize size, const Operand& a, u32 label) {
    // Memory beside a register with a displacement cannot be tested and branched on at once.
    if (a.place == Place::Indexed) {
        One(OneOperand::Tst, size, a);
        Branch(condition, label);
        return;
    }
    Instruction instruction;
    instruction.kind = Kind::TestBranch;
    instruction.operation = static_cast<u8>(condition);
    instruction.size = size;
    instruction.a = a;
    instruction.target = label;
    Emit(instruction);
}

void Selector::Jump(u32 label) {
    Instruction instruction;
    instruction.kind = Kind::Jump;
    instruction.target = label;
    Emit(instruction);
}

void Selector::Label(u32 label) {
    Instruction instruction;
    instruction.kind = Kind::Label;
    instruction.target = label;
    Emit(instruction);
}

u32 Selector::TrapLabel(Trap trap) {
    // Each line has its own, so that a debugger can tell which one it was.
    const SourceLine* const line = FindSourceLine(plan.sources, origin);
    for (const TrapPlace& place : traps) {
        if (place.trap == trap && place.function == function && place.line == line) {
            return place.label;
        }
    }
    traps.push_back({trap, function, line, origin, NewLabel()});
    return traps.back().label;
}

void Selector::EmitTraps() {
    depth = 0;
    for (const TrapPlace& place : traps) {
        origin = place.origin;
        Label(place.label);
        Instruction jump;
        jump.kind = Kind::JumpRoutine;
        jump.pushed = TrapNumber(plan, place.function);
        if (jump.pushed > kMostTrapNumbers) {
            Two(TwoOperand::Move, OperandSize::Long, InRegister(kServiceResult),
                Number(NameCell(plan, place.function), Base::Data));
            jump.pushed = 0;
        }
        jump.target = RoutineNumber(plan, kTrapLabels[static_cast<u32>(place.trap)]);
        Emit(jump);
    }
}

// --- Values

Operand Selector::Source(NodeId id, OperandSize size) {
    const Node node = trees[id];
    switch (node.kind) {
        case NodeKind::Constant: {
            i64 value = static_cast<i64>(node.value & MaskOf(size));
            if (size == OperandSize::Quad) {
                value = static_cast<i64>(node.value);
            }
            return Number(value);
        }
        case NodeKind::Local: return InRegister(static_cast<Variable>(node.value));
        case NodeKind::Global: return AtAddress(Base::Data, plan.globalCells[node.value]);
        case NodeKind::Load: {
            const MemoryOperator& row = kOperators.memory[node.code];
            if (row.bytes < BytesOf(size)) {
                break;
            }
            return Address(node.a, node.value, row.bytes);
        }
        case NodeKind::MemorySize:
            if (size == OperandSize::Quad) {
                break;
            }
            return AtAddress(Base::Data, kPagesCell);
        case NodeKind::Plain:
            switch (static_cast<Plain>(node.code)) {
                case Plain::I32ReinterpretF32:
                case Plain::F32ReinterpretI32:
                case Plain::I64ReinterpretF64:
                case Plain::F64ReinterpretI64: return Source(node.a, size);
                case Plain::I32WrapI64:
                    if (size != OperandSize::Quad) {
                        return Source(node.a, size);
                    }
                    break;
                case Plain::I64ExtendI32U:
                    if (size != OperandSize::Quad) {
                        return Source(node.a, size);
                    }
                    // The upper half of an i32's variable is clear.
                    return InRegister(InVariable(node.a));
                case Plain::I64ExtendI32S:
                    if (size != OperandSize::Quad) {
                        return Source(node.a, size);
                    }
                    break;
                default: break;
            }
            break;
        case NodeKind::Select: break;
    }
    return InRegister(InNewVariable(id));
}

Variable Selector::InVariable(NodeId id) {
    const Node& node = trees[id];
    if (node.kind == NodeKind::Local) {
        return static_cast<Variable>(node.value);
    }
    return InNewVariable(id);
}

Variable Selector::InNewVariable(NodeId id) {
    const Variable variable = NewVariable();
    Assign(variable, id);
    return variable;
}

void Selector::Put(Variable to, ValueType type, const Operand& from) {
    const Operand a = InRegister(to);
    if (from.place == Place::Register) {
        if (from.variable != to) {
            Two(TwoOperand::Move, OperandSize::Quad, a, from);
        }
        return;
    }
    if (SizeOf(type) == OperandSize::Long) {
        Two(TwoOperand::Movez, OperandSize::Long, a, from);
        return;
    }
    // A constant whose upper half is clear is shorter so.
    const bool isShort = from.place == Place::Immediate && from.base == Base::None &&
                         from.value > 7 && from.value <= 0xFFFFFFFFLL;
    Two(isShort ? TwoOperand::Movez : TwoOperand::Move,
        isShort ? OperandSize::Long : OperandSize::Quad, a, from);
}

void Selector::Hand(Variable to, ValueType type, const Operand& from) {
    Put(to, type, from);
    if (from.place == Place::Register) {
        code.instructions.back().isLow = SizeOf(type) == OperandSize::Long;
    }
}

void Selector::Receive(Variable to, ValueType type, const Operand& from) {
    if (SizeOf(type) == OperandSize::Long) {
        Two(TwoOperand::Movez, OperandSize::Long, InRegister(to), from);
    } else {
        Put(to, type, from);
    }
}

void Selector::ClearUpper(Variable variable) {
    Two(TwoOperand::Movez, OperandSize::Long, InRegister(variable), InRegister(variable));
}

void Selector::Discard(NodeId id) {
    if (trees[id].traps) {
        InNewVariable(id);
    }
}

// Bits that a short load does not have change nothing in the other operand, so it need not be
// widened: to = a op b with the load as b.
bool Selector::BinaryWithShortLoad(Variable to, TwoOperand op, NodeId a, NodeId b) {
    const Node load = trees[b];
    if (load.kind != NodeKind::Load || (op != TwoOperand::Or && op != TwoOperand::Xor)) {
        return false;
    }
    const MemoryOperator& row = kOperators.memory[load.code];
    if (row.isSigned ||
        row.bytes >= static_cast<u32>(SizeOf(row.type) == OperandSize::Long ? 4 : 8)) {
        return false;
    }
    const Operand source = Address(load.a, load.value, row.bytes);
    const bool isTouched = source.place == Place::Indexed && source.variable == to;
    if (isTouched && !(IsVariable(trees, a) && trees[a].value == to)) {
        return false;
    }
    Assign(to, a);
    Two(op, SizeOfBytes(row.bytes), InRegister(to), source);
    return true;
}

// to = a op b.
void Selector::Binary(Variable to, TwoOperand op, OperandSize size, NodeId a, NodeId b,
                      bool commutes) {
    const ValueType type = trees[a].type;
    if (commutes && trees[a].kind == NodeKind::Load && trees[b].kind != NodeKind::Load) {
        std::swap(a, b);
    }
    if (BinaryWithShortLoad(to, op, a, b)) {
        return;
    }
    const auto is = [&](NodeId id) { return IsVariable(trees, id) && trees[id].value == to; };
    if (commutes && !is(a)) {
        // What has to be computed is computed in place; memory is as good a source as any.
        const bool isSource = IsLeaf(trees, a) || trees[a].kind == NodeKind::Load;
        const bool otherIsSource = IsLeaf(trees, b) || trees[b].kind == NodeKind::Load;
        if (is(b) || (isSource && !otherIsSource)) {
            std::swap(a, b);
        }
    }
    if (is(a)) {
        const Operand source = Source(b, size);
        Two(op, size, InRegister(to), source);
        return;
    }
    if (ReadsVariable(trees, b, to)) {
        Operand other = Source(b, size);
        const bool isTouched = other.place == Place::Register || other.place == Place::Indexed;
        if (isTouched && other.variable == to) {
            other = InRegister(InNewVariable(b));
        }
        Assign(to, a);
        Two(op, size, InRegister(to), other);
        return;
    }
    if (IsLeaf(trees, a)) {
        const Operand source = Source(b, size);
        Put(to, type, Source(a, SizeOf(type)));
        Two(op, size, InRegister(to), source);
        return;
    }
    Assign(to, a);
    const Operand source = Source(b, size);
    Two(op, size, InRegister(to), source);
}

// The low bytes of a value, wherever they can be had.
Operand Selector::NarrowSource(NodeId id, OperandSize size) {
    NodeId at = id;
    while (trees[at].kind == NodeKind::Plain) {
        const Node& node = trees[at];
        const auto plain = static_cast<Plain>(node.code);
        const bool isMask = plain == Plain::I32And || plain == Plain::I64And;
        if (isMask && IsConstant(trees, node.b) &&
            (trees[node.b].value & MaskOf(size)) == MaskOf(size)) {
            at = node.a;
            continue;
        }
        const bool isExtension = plain == Plain::I32Extend16S || plain == Plain::I64Extend16S ||
                                 plain == Plain::I64Extend32S || plain == Plain::I64ExtendI32S ||
                                 plain == Plain::I64ExtendI32U || plain == Plain::I32WrapI64 ||
                                 ((plain == Plain::I32Extend8S || plain == Plain::I64Extend8S) &&
                                  size == OperandSize::Byte);
        if (!isExtension || size == OperandSize::Quad) {
            break;
        }
        if (size == OperandSize::Long &&
            (plain == Plain::I32Extend16S || plain == Plain::I64Extend16S)) {
            break;
        }
        at = node.a;
    }
    return Source(at, size);
}

// Whether the low bytes of the value can be computed from low bytes alone.
bool Selector::CanNarrow(NodeId id, OperandSize size) const {
    const Node& node = trees[id];
    TwoOperand op = TwoOperand::Add;
    return size < OperandSize::Long && node.kind == NodeKind::Plain &&
           IsLowBytes(static_cast<Plain>(node.code), op);
}

// to = the low bytes of a value, zero-extended. `to` is not read by the tree.
void Selector::Narrow(Variable to, OperandSize size, NodeId id) {
    const Node node = trees[id];
    TwoOperand op = TwoOperand::Add;
    if (!CanNarrow(id, size) || !IsLowBytes(static_cast<Plain>(node.code), op)) {
        Two(TwoOperand::Movez, size, InRegister(to), NarrowSource(id, size));
        return;
    }
    NodeId a = node.a;
    NodeId b = node.b;
    if (Commutes(op) && IsVariable(trees, a) && !IsLeaf(trees, b)) {
        std::swap(a, b);
    }
    const Operand first = NarrowSource(a, size);
    const Operand second = NarrowSource(b, size);
    Two(TwoOperand::Movez, size, InRegister(to), first);
    Two(op, size, InRegister(to), second);
}

// x & 255 and the like.
bool Selector::AssignMask(Variable to, const Node& node) {
    const auto plain = static_cast<Plain>(node.code);
    if ((plain != Plain::I32And && plain != Plain::I64And) || !IsConstant(trees, node.b)) {
        return false;
    }
    OperandSize size = OperandSize::Long;
    switch (trees[node.b].value) {
        case 0xFF: size = OperandSize::Byte; break;
        case 0xFFFF: size = OperandSize::Word; break;
        case 0xFFFFFFFF: break;
        default: return false;
    }
    if (ReadsVariable(trees, node.a, to) && CanNarrow(node.a, size)) {
        const Variable other = NewVariable();
        Narrow(other, size, node.a);
        Put(to, node.type, InRegister(other));
        return true;
    }
    Narrow(to, size, node.a);
    return true;
}

// The value that is cheaper to have comes first, the other one replaces it where it is wanted.
void Selector::AssignSelect(Variable to, const Node& node) {
    NodeId first = node.a;
    NodeId second = node.b;
    bool sense = true;  // of the condition, for keeping the first one
    if (IsLeaf(trees, second) && !IsLeaf(trees, first)) {
        std::swap(first, second);
        sense = false;
    }
    // What the condition or the second value reads must not be changed before.
    const bool clashes = ReadsVariable(trees, second, to) || ReadsVariable(trees, node.c, to);
    const Variable result = clashes ? NewVariable() : to;
    Assign(result, first);
    // Both values are computed, whichever is taken, if one of them may trap.
    Operand ready;
    if (trees[second].traps) {
        ready = InRegister(InNewVariable(second));
    }
    const u32 skip = NewLabel();
    BranchOn(node.c, sense, skip);
    if (trees[second].traps) {
        Put(result, node.type, ready);
    } else {
        AssignFrom(result, first, second);
    }
    Label(skip);
    if (result != to) {
        Put(to, node.type, InRegister(result));
    }
}

// to = a value, where `to` already holds the value `held`, which may be the first operand of it.
void Selector::AssignFrom(Variable to, NodeId held, NodeId id) {
    Node node = trees[id];
    const bool isReady = node.kind == NodeKind::Plain && IsVariable(trees, held) &&
                         IsVariable(trees, node.a) && trees[node.a].value == trees[held].value &&
                         node.a != node.b && !ReadsVariable(trees, node.b, to);
    if (isReady) {
        node.a = MakeVariable(trees, node.type, to);
        node.reads |= trees[node.a].reads;
        id = trees.Add(node);
    }
    Assign(to, id);
}

void Selector::AssignRotate(Variable to, const Node& node, bool left) {
    const OperandSize size = SizeOf(node.type);
    const u32 bits = size == OperandSize::Long ? 32 : 64;
    const Variable value = InVariable(node.a);
    const Variable result = NewVariable();
    const Variable other = NewVariable();
    const TwoOperand first = left ? TwoOperand::Lsl : TwoOperand::Lsr;
    const TwoOperand second = left ? TwoOperand::Lsr : TwoOperand::Lsl;
    if (IsConstant(trees, node.b)) {
        const i64 count = static_cast<i64>(trees[node.b].value & (bits - 1));
        Put(result, node.type, InRegister(value));
        if (count != 0) {
            Put(other, node.type, InRegister(value));
            Two(first, size, InRegister(result), Number(count));
            Two(second, size, InRegister(other), Number(bits - count));
            Two(TwoOperand::Or, size, InRegister(result), InRegister(other));
        }
    } else {
        // Counts are taken modulo the size, so the negative one serves for the rest.
        const Variable count = InVariable(node.b);
        const Variable rest = NewVariable();
        Put(rest, node.type, InRegister(count));
        One(OneOperand::Neg, size, InRegister(rest));
        Put(result, node.type, InRegister(value));
        Put(other, node.type, InRegister(value));
        Two(first, size, InRegister(result), InRegister(count));
        Two(second, size, InRegister(other), InRegister(rest));
        Two(TwoOperand::Or, size, InRegister(result), InRegister(other));
    }
    Put(to, node.type, InRegister(result));
}

// The machine cannot take the remainder of the lowest number by -1, which is 0.
void Selector::AssignRemainder(Variable to, const Node& node, OperandSize size) {
    const i64 minusOne = size == OperandSize::Long ? 0xFFFFFFFFLL : -1;
    const Node& by = trees[node.b];
    const bool isKnown = by.kind == NodeKind::Constant && by.value != static_cast<u64>(minusOne);
    const bool isSmall =
        size == OperandSize::Long && (by.low >= 0 || trees[node.a].low > -2147483648LL);
    if (isKnown || isSmall) {
        Binary(to, TwoOperand::Mods, size, node.a, node.b, false);
        return;
    }
    const Variable result = NewVariable();
    Assign(result, node.a);
    const Variable divisor = InVariable(node.b);
    const u32 skip = NewLabel();
    Two(TwoOperand::Cmp, size, InRegister(divisor), Number(minusOne));
    Branch(Condition::Ne, skip);
    Put(result, node.type, Number(0));
    Label(skip);
    Two(TwoOperand::Mods, size, InRegister(result), InRegister(divisor));
    Put(to, node.type, InRegister(result));
}

// Operators that are one operation of the machine.
bool Selector::AssignSimple(Variable to, const Node& node) {
    struct Row {
        Plain plain;
        TwoOperand op;
        OperandSize size;
        bool commutes;
    };
    constexpr OperandSize kLong = OperandSize::Long;
    constexpr OperandSize kQuad = OperandSize::Quad;
    static constexpr Row kRows[] = {
        {Plain::I32Add, TwoOperand::Add, kLong, true},
        {Plain::I32Sub, TwoOperand::Sub, kLong, false},
        {Plain::I32Mul, TwoOperand::Mul, kLong, true},
        {Plain::I32DivS, TwoOperand::Divs, kLong, false},
        {Plain::I32DivU, TwoOperand::Divu, kLong, false},
        {Plain::I32RemU, TwoOperand::Modu, kLong, false},
        {Plain::I32And, TwoOperand::And, kLong, true},
        {Plain::I32Or, TwoOperand::Or, kLong, true},
        {Plain::I32Xor, TwoOperand::Xor, kLong, true},
        {Plain::I32Shl, TwoOperand::Lsl, kLong, false},
        {Plain::I32ShrS, TwoOperand::Asr, kLong, false},
        {Plain::I32ShrU, TwoOperand::Lsr, kLong, false},
        {Plain::I64Add, TwoOperand::Add, kQuad, true},
        {Plain::I64Sub, TwoOperand::Sub, kQuad, false},
        {Plain::I64Mul, TwoOperand::Mul, kQuad, true},
        {Plain::I64DivS, TwoOperand::Divs, kQuad, false},
        {Plain::I64DivU, TwoOperand::Divu, kQuad, false},
        {Plain::I64RemU, TwoOperand::Modu, kQuad, false},
        {Plain::I64And, TwoOperand::And, kQuad, true},
        {Plain::I64Or, TwoOperand::Or, kQuad, true},
        {Plain::I64Xor, TwoOperand::Xor, kQuad, true},
        {Plain::I64Shl, TwoOperand::Lsl, kQuad, false},
        {Plain::I64ShrS, TwoOperand::Asr, kQuad, false},
        {Plain::I64ShrU, TwoOperand::Lsr, kQuad, false},
        {Plain::F32Add, TwoOperand::Fadd, kLong, true},
        {Plain::F32Sub, TwoOperand::Fsub, kLong, false},
        {Plain::F32Mul, TwoOperand::Fmul, kLong, true},
        {Plain::F32Div, TwoOperand::Fdiv, kLong, false},
        {Plain::F64Add, TwoOperand::Fadd, kQuad, true},
        {Plain::F64Sub, TwoOperand::Fsub, kQuad, false},
        {Plain::F64Mul, TwoOperand::Fmul, kQuad, true},
        {Plain::F64Div, TwoOperand::Fdiv, kQuad, false},
    };
    static constexpr auto kByCode = [] {
        std::array<u8, 256> table{};
        for (u32 i = 0; i < sizeof kRows / sizeof kRows[0]; ++i) {
            table[static_cast<u8>(kRows[i].plain)] = static_cast<u8>(i + 1);
        }
        return table;
    }();
    const u8 index = kByCode[node.code];
    if (index == 0) {
        return false;
    }
    const Row& row = kRows[index - 1];
    Binary(to, row.op, row.size, node.a, node.b, row.commutes);
    return true;
}

void Selector::AssignPlain(Variable to, NodeId id) {
    const Node node = trees[id];
    if (AssignMask(to, node) || AssignSimple(to, node)) {
        return;
    }
    const auto plain = static_cast<Plain>(node.code);
    switch (plain) {
        case Plain::I32Rotl:
        case Plain::I64Rotl: AssignRotate(to, node, true); return;
        case Plain::I32Rotr:
        case Plain::I64Rotr: AssignRotate(to, node, false); return;
        case Plain::I32RemS: AssignRemainder(to, node, OperandSize::Long); return;
        case Plain::I64RemS: AssignRemainder(to, node, OperandSize::Quad); return;
        default: break;
    }
    if (AssignConversion(to, node)) {
        return;
    }
    AssignCondition(to, id);
}

void Selector::Assign(Variable to, NodeId id) {
    const Node node = trees[id];
    switch (node.kind) {
        case NodeKind::Constant:
        case NodeKind::Local:
        case NodeKind::Global:
        case NodeKind::MemorySize: Put(to, node.type, Source(id, SizeOf(node.type))); return;
        case NodeKind::Load: AssignLoad(to, node); return;
        case NodeKind::Select: AssignSelect(to, node); return;
        case NodeKind::Plain: AssignPlain(to, id); return;
    }
}

// Memory as destination: an operation on it saves the way through a register where both operands
// are at hand.
void Selector::AssignMemory(const Operand& to, OperandSize size, NodeId id) {
    const Node node = trees[id];
    TwoOperand op = TwoOperand::Add;
    const bool isSum = size == OperandSize::Long && IsPlain(trees, id, Plain::I32Add) &&
                       IsConstant(trees, node.b) && !IsConstant(trees, node.a);
    if (isSum) {
        const Variable base = InVariable(node.a);
        Two(TwoOperand::Lea, OperandSize::Byte, to,
            AtIndex(base, Base::None, static_cast<i64>(trees[node.b].value)));
        return;
    }
    if (node.kind == NodeKind::Plain && IsLowBytes(static_cast<Plain>(node.code), op) &&
        IsLeaf(trees, node.a) && IsLeaf(trees, node.b)) {
        Two(TwoOperand::Move, size, to, NarrowSource(node.a, size));
        Two(op, size, to, NarrowSource(node.b, size));
        return;
    }
    if (CanNarrow(id, size) && !IsLeaf(trees, id)) {
        const Variable value = NewVariable();
        Narrow(value, size, id);
        Two(TwoOperand::Move, size, to, InRegister(value));
        return;
    }
    const Operand source = NarrowSource(id, size);
    Two(TwoOperand::Move, size, to, source);
}

}  // namespace moxi
