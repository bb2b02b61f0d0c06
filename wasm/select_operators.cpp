// Values that operators on integers give: arithmetic, masks, rotations, remainders, selections.

#include <array>
#include <utility>

#include "wasm/select.h"

namespace moxi {

namespace {

// Of the operations that IsLowBytes gives.
bool Commutes(TwoOperand op) {
    return op != TwoOperand::Sub;
}

}  // namespace

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

// to = a op b, where b is a load of fewer bytes than the type has: OR and XOR with the zeros above
// change nothing in a, so the operation has the load's size and the load is not widened. False when
// that does not apply.
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

// to = a op b. The tree of b may read `to`; `commutes` says that a and b may be exchanged.
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

// The low bytes of a value as a source operand. What only changes the bytes above, a mask or an
// extension, is left out.
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

// to = x & 255, x & 65535 or x & 4294967295: the low bytes, zero-extended. False for anything else.
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

// to = c ? a : b. The value that is cheaper to have is put there first, and the other one replaces
// it where the condition asks for that.
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

// to = a value, where `to` already holds the value `held`. If that is the value's first operand, it
// is taken from `to`, and the operation is done in place.
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

// to = a rotated by b: two shifts, and their results joined.
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
        // The machine takes the count of a shift modulo the size, so that -count stands for the
        // rest, size - count.
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

// to = a % b, signed. The machine faults on the remainder of the lowest number by -1, which is 0.
// So a is replaced by 0 where the divisor is -1, if both may be.
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

// Operators that are one operation of the machine. False for any other.
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

// to = the value of an operator, by the first of the ways that takes it.
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

}  // namespace moxi
