// Comparisons. The machine compares two numbers by the sign of their difference, which may wrap. So
// which of two numbers is smaller has to be found out by their signs first, if they may lie more
// than half the range apart.

#include <bit>
#include <utility>

#include "wasm/select.h"

namespace moxi {

namespace {

Condition Inverse(Condition condition) {
    switch (condition) {
        case Condition::Eq: return Condition::Ne;
        case Condition::Ne: return Condition::Eq;
        case Condition::Ge: return Condition::Lt;
        case Condition::Gt: return Condition::Le;
        case Condition::Le: return Condition::Gt;
        case Condition::Lt: return Condition::Ge;
        case Condition::Ev: return Condition::Od;
        case Condition::Od: return Condition::Ev;
    }
    return condition;
}

// The condition that says the same with the operands exchanged.
Condition Mirror(Condition condition) {
    switch (condition) {
        case Condition::Ge: return Condition::Le;
        case Condition::Gt: return Condition::Lt;
        case Condition::Le: return Condition::Ge;
        case Condition::Lt: return Condition::Gt;
        default: return condition;
    }
}

// A comparison of integers by order, taken apart.
struct Order {
    bool isOrder = false;  // the operator is one; else nothing else means anything
    OperandSize size = OperandSize::Long;
    bool isSigned = true;
    Condition condition = Condition::Lt;
};

Order OrderOf(Plain plain) {
    constexpr OperandSize kLong = OperandSize::Long;
    constexpr OperandSize kQuad = OperandSize::Quad;
    switch (plain) {
        case Plain::I32LtS: return {true, kLong, true, Condition::Lt};
        case Plain::I32LtU: return {true, kLong, false, Condition::Lt};
        case Plain::I32GtS: return {true, kLong, true, Condition::Gt};
        case Plain::I32GtU: return {true, kLong, false, Condition::Gt};
        case Plain::I32LeS: return {true, kLong, true, Condition::Le};
        case Plain::I32LeU: return {true, kLong, false, Condition::Le};
        case Plain::I32GeS: return {true, kLong, true, Condition::Ge};
        case Plain::I32GeU: return {true, kLong, false, Condition::Ge};
        case Plain::I64LtS: return {true, kQuad, true, Condition::Lt};
        case Plain::I64LtU: return {true, kQuad, false, Condition::Lt};
        case Plain::I64GtS: return {true, kQuad, true, Condition::Gt};
        case Plain::I64GtU: return {true, kQuad, false, Condition::Gt};
        case Plain::I64LeS: return {true, kQuad, true, Condition::Le};
        case Plain::I64LeU: return {true, kQuad, false, Condition::Le};
        case Plain::I64GeS: return {true, kQuad, true, Condition::Ge};
        case Plain::I64GeU: return {true, kQuad, false, Condition::Ge};
        default: return {};
    }
}

// Whether the wrapped difference of two i32 has the sign of the true one.
bool DifferenceFits(const Node& a, const Node& b) {
    return a.high - b.low <= 2147483647LL && a.low - b.high >= -2147483648LL;
}

}  // namespace

// Goes to the label if a value, of memory or of a variable, is not 0, or with `sense` false if it
// is.
void Selector::BranchOnZero(NodeId id, OperandSize size, bool sense, u32 label) {
    const Condition condition = sense ? Condition::Ne : Condition::Eq;
    const Node node = trees[id];
    const auto plain = static_cast<Plain>(node.code);
    const bool isAnd =
        node.kind == NodeKind::Plain && (plain == Plain::I32And || plain == Plain::I64And);
    if (isAnd) {
        if (IsConstant(trees, node.b, 1)) {
            TestBranch(sense ? Condition::Od : Condition::Ev, OperandSize::Byte,
                       NarrowSource(node.a, OperandSize::Byte), label);
            return;
        }
        const Operand b = Source(node.b, size);
        Operand a = Source(node.a, size);
        if (a.place == Place::Immediate) {
            a = InRegister(InNewVariable(node.a));
        }
        Two(TwoOperand::Test, size, a, b);
        Branch(condition, label);
        return;
    }
    if (node.kind == NodeKind::Load) {
        const u32 bytes = kOperators.memory[node.code].bytes;
        TestBranch(condition, SizeOfBytes(bytes), Address(node.a, node.value, bytes), label);
        return;
    }
    TestBranch(condition, size, InRegister(InVariable(id)), label);
}

// Goes to the label if both operands of `node` are equal, or with `sense` false if they differ.
void Selector::BranchOnEqual(const Node& node, OperandSize size, bool sense, u32 label) {
    const Condition condition = sense ? Condition::Eq : Condition::Ne;
    NodeId first = node.a;
    NodeId second = node.b;
    if (IsConstant(trees, second, 0)) {
        BranchOnZero(first, size, !sense, label);
        return;
    }
    if (IsConstant(trees, first)) {
        std::swap(first, second);
    }
    const Node& loaded = trees[first];
    if (loaded.kind == NodeKind::Load && IsConstant(trees, second)) {
        // A load of one or two bytes is compared in memory, if the constant has no more bytes.
        const MemoryOperator& row = kOperators.memory[loaded.code];
        const u64 value = trees[second].value;
        if (!row.isSigned && row.bytes < 4 && value < u64{1} << (8 * row.bytes)) {
            const Operand a = Address(loaded.a, loaded.value, row.bytes);
            Two(TwoOperand::Cmp, SizeOfBytes(row.bytes), a, Number(static_cast<i64>(value)));
            Branch(condition, label);
            return;
        }
    }
    Operand a = Source(first, size);
    if (a.place == Place::Immediate) {
        a = InRegister(InNewVariable(first));
    }
    const Operand b = Source(second, size);
    Two(TwoOperand::Cmp, size, a, b);
    Branch(condition, label);
}

// Goes to the label if the condition holds between two values of which nothing is known. Their
// signs come first: where they differ they decide, where they agree the difference cannot wrap.
void Selector::BranchOnSigns(NodeId first, NodeId second, OperandSize size, bool isSigned,
                             Condition condition, u32 label) {
    // Whether the branch is taken when the first is smaller; else when it is larger.
    const bool takenIfLess = condition == Condition::Lt || condition == Condition::Le;
    // A number with its highest bit set is the smaller one as signed, the larger one as unsigned.
    const bool takenIfFirstHasBit = takenIfLess == isSigned;
    const u32 end = NewLabel();
    if (KnowsSign(first, size) || KnowsSign(second, size)) {
        const bool firstIsKnown = !KnowsSign(second, size);
        const NodeId known = firstIsKnown ? first : second;
        const bool hasBit = HasSign(known, size);
        const Variable other = InVariable(firstIsKnown ? second : first);
        Operand a = InRegister(other);
        Operand b = Source(known, size);
        if (firstIsKnown) {
            a = InRegister(InVariable(first));
            b = InRegister(other);
        }
        // Which of them has its highest bit set, if the other one's differs from that of the known.
        const bool firstHasBit = firstIsKnown == hasBit;
        const bool taken = firstHasBit == takenIfFirstHasBit;
        TestBranch(hasBit ? Condition::Ge : Condition::Lt, size, InRegister(other),
                   taken ? label : end);
        Two(TwoOperand::Cmp, size, a, b);
        Branch(condition, label);
        Label(end);
        return;
    }
    const Variable a = InVariable(first);
    const Variable b = InVariable(second);
    LateSigns late;
    late.isNegative = NewLabel();
    late.compare = NewLabel();
    late.second = b;
    late.size = size;
    late.target = takenIfFirstHasBit ? label : end;
    late.origin = origin;
    TestBranch(Condition::Lt, size, InRegister(a), late.isNegative);
    TestBranch(Condition::Lt, size, InRegister(b), takenIfFirstHasBit ? end : label);
    Label(late.compare);
    Two(TwoOperand::Cmp, size, InRegister(a), InRegister(b));
    Branch(condition, label);
    Label(end);
    lateSigns.push_back(late);
}

// What BranchOnSigns does where the first one's bit is set stands behind the function's end: the
// way that is gone most often has no jump in it then.
void Selector::EmitLateSigns() {
    depth = 0;
    const u64 first = code.instructions.size();
    for (const LateSigns& late : lateSigns) {
        origin = late.origin;
        Label(late.isNegative);
        TestBranch(Condition::Lt, late.size, InRegister(late.second), late.compare);
        Jump(late.target);
    }
    for (u64 i = first; i < code.instructions.size(); ++i) {
        code.instructions[i].isLate = true;
    }
}

// Whether the sign of the value, as the machine sees it at that size, is always the same.
bool Selector::KnowsSign(NodeId id, OperandSize size) const {
    const Node& node = trees[id];
    return node.kind == NodeKind::Constant || (size == OperandSize::Long && node.low >= 0);
}

// The highest bit of a value whose sign is known.
bool Selector::HasSign(NodeId id, OperandSize size) const {
    const Node& node = trees[id];
    if (node.kind != NodeKind::Constant) {
        return false;
    }
    return size == OperandSize::Long ? (node.value >> 31 & 1) != 0 : node.value >> 63 != 0;
}

// What it costs, in bytes of code, to have an i32 as 64 bits with its sign.
u32 Selector::CostOfWidening(NodeId id) const {
    const Node& node = trees[id];
    if (node.kind == NodeKind::Constant || node.low >= 0) {
        return 0;
    }
    return IsVariable(trees, id) ? 8 : 4;
}

// An i32 as 64 bits with its sign.
Operand Selector::Widened(NodeId id) {
    const Node node = trees[id];
    if (node.kind == NodeKind::Constant) {
        return Number(static_cast<i32>(node.value));
    }
    if (node.low >= 0) {
        return InRegister(InVariable(id));
    }
    const Variable variable = InNewVariable(id);
    One(OneOperand::Exts, OperandSize::Long, InRegister(variable));
    return InRegister(variable);
}

// Whether it is better to compare two i32 of any signs as 64 bits than by BranchOnSigns. A copy
// with the sign in the upper half takes one or two instructions; finding out the signs takes up to
// two branches of 8 bytes, but no more time than a copy. So outside of loops the shorter code wins.
bool Selector::IsWidenedOrder(NodeId first, NodeId second) const {
    const u32 cost = CostOfWidening(first) + CostOfWidening(second);
    if (IsConstant(trees, second)) {
        const i32 value = static_cast<i32>(trees[second].value);
        return cost <= 4 && value >= -8 && value <= 7;
    }
    if (KnowsSign(first, OperandSize::Long) || KnowsSign(second, OperandSize::Long)) {
        return cost <= 4;
    }
    return depth == 0 || cost <= 12;
}

// x < 8 is x <= 7, and the like: constants nearer to zero are shorter, and zero need not be
// compared with at all.
void Selector::TightenBound(NodeId& second, bool isSigned, Condition& condition) {
    const Node& node = trees[second];
    const bool isLong = node.type == ValueType::I32;
    const i64 value = isLong ? static_cast<i32>(node.value) : static_cast<i64>(node.value);
    const bool isAbove = value > 0 && (condition == Condition::Lt || condition == Condition::Ge);
    const bool isBelow =
        isSigned && value < 0 && (condition == Condition::Le || condition == Condition::Gt);
    if (!isAbove && !isBelow) {
        return;
    }
    switch (condition) {
        case Condition::Lt: condition = Condition::Le; break;
        case Condition::Ge: condition = Condition::Gt; break;
        case Condition::Le: condition = Condition::Lt; break;
        default: condition = Condition::Ge; break;
    }
    const u64 bits = static_cast<u64>(isAbove ? value - 1 : value + 1);
    second = MakeConstant(trees, node.type, isLong ? static_cast<u32>(bits) : bits);
}

// An unsigned x <= 2^n - 1, or x > 2^n - 1, is a test of the bits above. False when it is neither.
bool Selector::BranchOnHighBits(NodeId first, NodeId second, Condition condition, u32 label) {
    const u32 bound = static_cast<u32>(trees[second].value);
    const bool isBound = condition == Condition::Le || condition == Condition::Gt;
    if (!isBound || !std::has_single_bit(u64{bound} + 1) || bound <= 7) {
        return false;
    }
    Operand value = Source(first, OperandSize::Long);
    if (value.place == Place::Immediate) {
        value = InRegister(InNewVariable(first));
    }
    Two(TwoOperand::Test, OperandSize::Long, value, Number(~i64{bound} & 0xFFFFFFFF));
    Branch(condition == Condition::Le ? Condition::Eq : Condition::Ne, label);
    return true;
}

// Goes to the label if the condition holds between the two values: by the shortest way that what is
// known of them allows.
void Selector::BranchOnOrder(NodeId first, NodeId second, OperandSize size, bool isSigned,
                             Condition condition, u32 label) {
    if (IsConstant(trees, first)) {
        std::swap(first, second);
        condition = Mirror(condition);
    }
    const bool isLong = size == OperandSize::Long;
    if (IsConstant(trees, second)) {
        TightenBound(second, isSigned, condition);
    }
    if (isSigned && IsConstant(trees, second, 0)) {
        const Node& node = trees[first];
        if (node.kind == NodeKind::Load) {
            const MemoryOperator& row = kOperators.memory[node.code];
            if (row.isSigned || row.bytes == (isLong ? 4 : 8)) {
                TestBranch(condition, SizeOfBytes(row.bytes),
                           Address(node.a, node.value, row.bytes), label);
                return;
            }
        }
        TestBranch(condition, size, InRegister(InVariable(first)), label);
        return;
    }
    const Node a = trees[first];
    const Node b = trees[second];
    const bool bothPositive = isLong && a.low >= 0 && b.low >= 0;
    if ((isLong && isSigned && DifferenceFits(a, b)) || bothPositive) {
        Operand left = Source(first, size);
        if (left.place == Place::Immediate) {
            left = InRegister(InNewVariable(first));
        }
        const Operand right = Source(second, size);
        Two(TwoOperand::Cmp, size, left, right);
        Branch(condition, label);
        return;
    }
    if (isLong && !isSigned && IsConstant(trees, second) &&
        BranchOnHighBits(first, second, condition, label)) {
        return;
    }
    if (isLong && !isSigned) {
        // The upper halves are clear, so as 64 bits neither is negative.
        Variable left = InVariable(first);
        const Operand right = b.kind == NodeKind::Constant ? Number(static_cast<i64>(b.value))
                                                           : InRegister(InVariable(second));
        Two(TwoOperand::Cmp, OperandSize::Quad, InRegister(left), right);
        Branch(condition, label);
        return;
    }
    if (isLong && IsWidenedOrder(first, second)) {
        const Operand left = Widened(first);
        const Operand right = Widened(second);
        Two(TwoOperand::Cmp, OperandSize::Quad, left, right);
        Branch(condition, label);
        return;
    }
    BranchOnSigns(first, second, size, isSigned, condition, label);
}

// Goes to the label if the comparison holds, or with `sense` false if it does not. False when the
// operator is no comparison.
bool Selector::BranchOnCompare(const Node& node, bool sense, u32 label) {
    const auto plain = static_cast<Plain>(node.code);
    switch (plain) {
        case Plain::I32Eqz: BranchOn(node.a, !sense, label); return true;
        case Plain::I64Eqz: BranchOnZero(node.a, OperandSize::Quad, !sense, label); return true;
        case Plain::I32Eq: BranchOnEqual(node, OperandSize::Long, sense, label); return true;
        case Plain::I32Ne: BranchOnEqual(node, OperandSize::Long, !sense, label); return true;
        case Plain::I64Eq: BranchOnEqual(node, OperandSize::Quad, sense, label); return true;
        case Plain::I64Ne: BranchOnEqual(node, OperandSize::Quad, !sense, label); return true;
        default: break;
    }
    const Order order = OrderOf(plain);
    if (order.isOrder) {
        BranchOnOrder(node.a, node.b, order.size, order.isSigned,
                      sense ? order.condition : Inverse(order.condition), label);
        return true;
    }
    if (node.code >= static_cast<u8>(Plain::F32Eq) && node.code <= static_cast<u8>(Plain::F64Ge)) {
        BranchOnFloat(node, sense, label);
        return true;
    }
    return false;
}

void Selector::BranchOn(NodeId id, bool sense, u32 label) {
    const Node node = trees[id];
    if (node.kind == NodeKind::Constant) {
        if ((static_cast<u32>(node.value) != 0) == sense) {
            Jump(label);
        }
        return;
    }
    if (node.kind == NodeKind::Plain && BranchOnCompare(node, sense, label)) {
        return;
    }
    BranchOnZero(id, OperandSize::Long, sense, label);
}

// to = 1 where the comparison holds, else 0. AssignPlain comes here when nothing else has taken the
// operator, so it is a comparison.
void Selector::AssignCondition(Variable to, NodeId id) {
    const Node node = trees[id];
    if (IsPlain(trees, id, Plain::I32LtS) && IsConstant(trees, node.b, 0)) {
        // x < 0 is the sign bit.
        Assign(to, node.a);
        Two(TwoOperand::Lsr, OperandSize::Long, InRegister(to), Number(31));
        return;
    }
    const Variable result = ReadsVariable(trees, id, to) ? NewVariable() : to;
    const u32 skip = NewLabel();
    Put(result, ValueType::I32, Number(1));
    BranchOn(id, true, skip);
    Put(result, ValueType::I32, Number(0));
    Label(skip);
    if (result != to) {
        Put(to, ValueType::I32, InRegister(result));
    }
}

}  // namespace moxi
