// Comparisons of floating-point numbers. The machine's own instruction for them has no effect, so
// they are made of integer comparisons: as integers, the bits of two numbers that are not below
// zero have the same order as the numbers, and those of negative ones the opposite order. A NaN
// lies beyond infinity on either side.

#include <utility>

#include "wasm/select.h"

namespace moxi {

namespace {

enum class Relation : u8 { Equal, Less, LessOrEqual, Greater, GreaterOrEqual };

// A comparison operator, taken apart.
struct FloatCompare {
    Relation relation = Relation::Equal;
    bool isInverted = false;  // a ne is the opposite of an eq
    bool isLong = false;      // f32
};

// `plain` is a comparison of floats.
FloatCompare CompareOf(Plain plain) {
    switch (plain) {
        case Plain::F32Eq: return {Relation::Equal, false, true};
        case Plain::F32Ne: return {Relation::Equal, true, true};
        case Plain::F32Lt: return {Relation::Less, false, true};
        case Plain::F32Gt: return {Relation::Greater, false, true};
        case Plain::F32Le: return {Relation::LessOrEqual, false, true};
        case Plain::F32Ge: return {Relation::GreaterOrEqual, false, true};
        case Plain::F64Eq: return {Relation::Equal, false, false};
        case Plain::F64Ne: return {Relation::Equal, true, false};
        case Plain::F64Lt: return {Relation::Less, false, false};
        case Plain::F64Gt: return {Relation::Greater, false, false};
        case Plain::F64Le: return {Relation::LessOrEqual, false, false};
        default: return {Relation::GreaterOrEqual, false, false};
    }
}

// The relation that says the same with the operands exchanged.
Relation Mirror(Relation relation) {
    switch (relation) {
        case Relation::Less: return Relation::Greater;
        case Relation::LessOrEqual: return Relation::GreaterOrEqual;
        case Relation::Greater: return Relation::Less;
        case Relation::GreaterOrEqual: return Relation::LessOrEqual;
        case Relation::Equal: break;
    }
    return relation;
}

// Bits of special values, as the comparison sees them. The upper half of an f32's register is
// clear, so as 64 bits it is never below zero; an f64's sign is that of the integer.
struct Bits {
    OperandSize size;  // at which the sign is seen
    i64 infinity;
    i64 minusInfinity;
    i64 minusZero;
};

Bits BitsOf(bool isLong) {
    if (isLong) {
        return {OperandSize::Long, 0x7F800000, 0xFF800000, 0x80000000};
    }
    return {OperandSize::Quad, 0x7FF0000000000000, static_cast<i64>(0xFFF0000000000000),
            static_cast<i64>(0x8000000000000000)};
}

}  // namespace

// Compares x with the bits of a constant that is not below zero and not a NaN; -0 counts as 0.
// `relationNumber` is a Relation other than Equal; `isNonNegative` says that x has no sign, unless
// it is a NaN. Goes to `yes` or to `no` in any case: the caller puts one of the two labels right
// behind, and the needless jump is removed later.
void Selector::CompareWithConstant(Variable x, bool isNonNegative, bool isLong, u64 constant,
                                   u8 relationNumber, u32 yes, u32 no) {
    const auto relation = static_cast<Relation>(relationNumber);
    const Bits bits = BitsOf(isLong);
    const Operand value = InRegister(x);
    const auto compare = [&](i64 with) {
        Two(TwoOperand::Cmp, OperandSize::Quad, value, Number(with));
    };
    // Where both have the same sign.
    const auto compareAlike = [&](i64 with) {
        Two(TwoOperand::Cmp, bits.size, value, Number(with));
    };
    const bool isZero = (isLong ? static_cast<u32>(constant << 1) : constant << 1) == 0;
    const i64 bound = isZero ? 0 : static_cast<i64>(constant);
    const bool isLess = relation == Relation::Less || relation == Relation::LessOrEqual;
    const bool takesEqual = relation != Relation::Less && relation != Relation::Greater;
    if (!isLess) {
        // bound < x <= infinity, and -0 for >= 0.
        if (!isLong && !isNonNegative) {
            const u32 negative = isZero && takesEqual ? NewLabel() : no;
            TestBranch(Condition::Lt, bits.size, value, negative);
            if (negative != no) {
                const u32 rest = NewLabel();
                Jump(rest);
                Label(negative);
                compare(bits.minusZero);
                Branch(Condition::Eq, yes);
                Jump(no);
                Label(rest);
            }
        }
        if (isLong && isZero && takesEqual) {
            compare(bits.minusZero);
            Branch(Condition::Eq, yes);
        }
        if (!isZero || !takesEqual || isNonNegative) {
            compare(bound);
            Branch(takesEqual ? Condition::Lt : Condition::Le, no);
        }
        compare(bits.infinity);
        Branch(Condition::Le, yes);
        Jump(no);
        return;
    }
    // 0 <= x < bound, or -infinity <= x <= -0, but -0 is not below 0.
    const u32 negative = NewLabel();
    if (isNonNegative && !isLong) {
        compare(bound);
        Branch(takesEqual ? Condition::Gt : Condition::Ge, no);
        TestBranch(Condition::Ge, bits.size, value, yes);
        Jump(no);
        return;
    }
    TestBranch(Condition::Lt, bits.size, value, negative);
    compareAlike(bound);
    Branch(takesEqual ? Condition::Le : Condition::Lt, yes);
    Jump(no);
    Label(negative);
    compareAlike(bits.minusInfinity);
    Branch(Condition::Gt, no);
    if (isZero && !takesEqual) {
        compareAlike(bits.minusZero);
        Branch(Condition::Eq, no);
    }
    Jump(yes);
}

// Goes to `yes` where a = b as numbers, else to `no`. Equal bits mean equal numbers, but for NaN,
// and for the zeros of both signs.
void Selector::CompareEqual(NodeId a, NodeId b, bool isLong, u32 yes, u32 no) {
    const OperandSize size = isLong ? OperandSize::Long : OperandSize::Quad;
    const u64 signOut = isLong ? 0x7FFFFFFF : 0x7FFFFFFFFFFFFFFF;
    const u64 infinity = static_cast<u64>(BitsOf(isLong).infinity);
    if (IsConstant(trees, a)) {
        std::swap(a, b);
    }
    if (IsConstant(trees, b)) {
        const u64 constant = trees[b].value;
        if ((constant & signOut) == 0) {
            // x = 0 or x = -0: without its sign nothing is left.
            const Variable rest = InNewVariable(a);
            Two(TwoOperand::Lsl, size, InRegister(rest), Number(1));
            Branch(Condition::Eq, yes);
            Jump(no);
            return;
        }
        if ((constant & signOut) <= infinity) {
            const Operand left = Source(a, size);
            if (left.place == Place::Immediate) {
                Jump(trees[a].value == constant ? yes : no);
                return;
            }
            Two(TwoOperand::Cmp, size, left, Source(b, size));
            Branch(Condition::Eq, yes);
        } else {
            // A NaN equals nothing, but the other operand may still trap.
            Discard(a);
        }
        Jump(no);
        return;
    }
    const Variable left = InVariable(a);
    const Variable right = InVariable(b);
    const u32 same = NewLabel();
    const Variable rest = NewVariable();
    Put(rest, ValueType::I64, InRegister(left));
    Two(TwoOperand::Cmp, size, InRegister(left), InRegister(right));
    Branch(Condition::Eq, same);
    // Different bits are equal numbers if both are zeros.
    Two(TwoOperand::Or, size, InRegister(rest), InRegister(right));
    Two(TwoOperand::Lsl, size, InRegister(rest), Number(1));
    Branch(Condition::Eq, yes);
    Jump(no);
    // The same bits are equal numbers if they are numbers.
    Label(same);
    Two(TwoOperand::And, size, InRegister(rest), Number(static_cast<i64>(signOut)));
    Two(TwoOperand::Cmp, size, InRegister(rest), Number(static_cast<i64>(infinity)));
    Branch(Condition::Le, yes);
    Jump(no);
}

// Goes to `yes` where a < b, else to `no`: by the sign of a - b, which is a NaN where one of them
// is, and where both are the same infinity; a NaN with a sign is beyond -infinity and counts as
// "no".
void Selector::CompareLess(NodeId a, NodeId b, bool isLong, u32 yes, u32 no) {
    const Bits bits = BitsOf(isLong);
    const Variable difference = NewVariable();
    Binary(difference, TwoOperand::Fsub, bits.size, a, b, false);
    TestBranch(Condition::Ge, bits.size, InRegister(difference), no);
    Two(TwoOperand::Cmp, bits.size, InRegister(difference), Number(bits.minusInfinity));
    Branch(Condition::Gt, no);
    Two(TwoOperand::Cmp, bits.size, InRegister(difference), Number(bits.minusZero));
    Branch(Condition::Ne, yes);
    Jump(no);
}

// Goes to the label if the comparison holds, or with `sense` false if it does not.
void Selector::BranchOnFloat(const Node& node, bool sense, u32 label) {
    const FloatCompare compare = CompareOf(static_cast<Plain>(node.code));
    if (compare.isInverted) {
        sense = !sense;
    }
    NodeId a = node.a;
    NodeId b = node.b;
    Relation relation = compare.relation;
    const u32 end = NewLabel();
    const u32 yes = sense ? label : end;
    const u32 no = sense ? end : label;
    if (relation == Relation::Equal) {
        CompareEqual(a, b, compare.isLong, yes, no);
        Label(end);
        return;
    }
    const Bits bits = BitsOf(compare.isLong);
    if (IsConstant(trees, a) && !IsConstant(trees, b)) {
        std::swap(a, b);
        relation = Mirror(relation);
    }
    // The constants that CompareWithConstant takes: not below zero, or -0, and not a NaN.
    const bool isZero = IsConstant(trees, b) && trees[b].value == static_cast<u64>(bits.minusZero);
    if (IsConstant(trees, b) && !IsConstant(trees, a) &&
        (isZero || trees[b].value <= static_cast<u64>(bits.infinity))) {
        const bool isNonNegative = trees[a].isNonNegative;
        CompareWithConstant(InVariable(a), isNonNegative, compare.isLong, trees[b].value,
                            static_cast<u8>(relation), yes, no);
        Label(end);
        return;
    }
    const bool isMirrored = relation == Relation::Greater || relation == Relation::GreaterOrEqual;
    if (isMirrored) {
        std::swap(a, b);
    }
    const bool isStrict = relation == Relation::Less || relation == Relation::Greater;
    // In a loop the code is made longer to be faster; elsewhere a call of a routine is shorter.
    if (isStrict && depth > 0) {
        CompareLess(a, b, compare.isLong, yes, no);
        Label(end);
        return;
    }
    const char* const routine =
        compare.isLong ? (isStrict ? "f32_lt" : "f32_le") : (isStrict ? "f64_lt" : "f64_le");
    CallRoutine(routine, a, &b);
    TestBranch(sense ? Condition::Ne : Condition::Eq, OperandSize::Long,
               InRegister(kResultRegister), label);
    Label(end);
}

}  // namespace moxi
