#include "wasm/tree.h"

#include <algorithm>
#include <bit>

#include "wasm/fold.h"

namespace moxi {

namespace {

// What holds for an operand holds for the node that uses it.
void TakeFrom(Node& node, const Node& child) {
    node.readsMemory |= child.readsMemory;
    node.readsGlobals |= child.readsGlobals;
    node.traps |= child.traps;
    node.reads |= child.reads;
    node.depth = static_cast<u8>(std::max<u32>(node.depth, child.depth + 1u));
}

bool CanTrap(Plain code) {
    switch (code) {
        case Plain::I32DivS:
        case Plain::I32DivU:
        case Plain::I32RemS:
        case Plain::I32RemU:
        case Plain::I64DivS:
        case Plain::I64DivU:
        case Plain::I64RemS:
        case Plain::I64RemU:
        case Plain::I32TruncF32S:
        case Plain::I32TruncF32U:
        case Plain::I32TruncF64S:
        case Plain::I32TruncF64U:
        case Plain::I64TruncF32S:
        case Plain::I64TruncF32U:
        case Plain::I64TruncF64S:
        case Plain::I64TruncF64U: return true;
        default: return false;
    }
}

bool IsCommutative(Plain code) {
    switch (code) {
        case Plain::I32Add:
        case Plain::I32Mul:
        case Plain::I32And:
        case Plain::I32Or:
        case Plain::I32Xor:
        case Plain::I32Eq:
        case Plain::I32Ne:
        case Plain::I64Add:
        case Plain::I64Mul:
        case Plain::I64And:
        case Plain::I64Or:
        case Plain::I64Xor:
        case Plain::I64Eq:
        case Plain::I64Ne: return true;
        default: return false;
    }
}

constexpr i64 kLowest = -2147483648LL;
constexpr i64 kHighest = 2147483647LL;

// Notes what an i32 can be, if no value of it can wrap.
void SetRange(Node& node, i64 low, i64 high) {
    if (low < kLowest || high > kHighest) {
        return;
    }
    node.low = low;
    node.high = high;
}

// The smallest number of the form 2^n - 1 that is not below `value`, which is not negative.
i64 MaskAbove(i64 value) {
    return static_cast<i64>(std::bit_ceil(static_cast<u64>(value) + 1) - 1);
}

void RangeOfAnd(Node& node, const Node& a, const Node& b) {
    if (a.low >= 0 && b.low >= 0) {
        SetRange(node, 0, std::min(a.high, b.high));
    } else if (a.low >= 0) {
        SetRange(node, 0, a.high);
    } else if (b.low >= 0) {
        SetRange(node, 0, b.high);
    }
}

void RangeOfShift(Node& node, Plain code, const Node& a, const Node& b) {
    if (b.kind != NodeKind::Constant) {
        if (code == Plain::I32ShrS) {
            SetRange(node, std::min<i64>(a.low, 0), std::max<i64>(a.high, 0));
        }
        if (code == Plain::I32ShrU && a.low >= 0) {
            SetRange(node, 0, a.high);
        }
        return;
    }
    const u32 count = b.value & 31;
    if (code == Plain::I32Shl) {
        SetRange(node, a.low * (i64{1} << count), a.high * (i64{1} << count));
    } else if (code == Plain::I32ShrS || a.low >= 0) {
        SetRange(node, a.low >> count, a.high >> count);
    } else if (count > 0) {
        SetRange(node, 0, static_cast<i64>(0xFFFFFFFFu >> count));
    }
}

void RangeOfProduct(Node& node, const Node& a, const Node& b) {
    const i64 corners[] = {a.low * b.low, a.low * b.high, a.high * b.low, a.high * b.high};
    SetRange(node, *std::min_element(corners, corners + 4),
             *std::max_element(corners, corners + 4));
}

void SetPlainRange(const Trees& trees, Node& node) {
    const auto code = static_cast<Plain>(node.code);
    const Node& a = trees[node.a];
    const Node& b = trees[node.b];
    switch (code) {
        case Plain::I32Add: SetRange(node, a.low + b.low, a.high + b.high); return;
        case Plain::I32Sub: SetRange(node, a.low - b.high, a.high - b.low); return;
        case Plain::I32Mul: RangeOfProduct(node, a, b); return;
        case Plain::I32And: RangeOfAnd(node, a, b); return;
        case Plain::I32Or:
        case Plain::I32Xor:
            if (a.low >= 0 && b.low >= 0) {
                SetRange(node, 0, MaskAbove(std::max(a.high, b.high)));
            }
            return;
        case Plain::I32Shl:
        case Plain::I32ShrS:
        case Plain::I32ShrU: RangeOfShift(node, code, a, b); return;
        case Plain::I32DivU:
            if (a.low >= 0 && b.low >= 0) {
                SetRange(node, 0, a.high);
            }
            return;
        case Plain::I32RemU:
            if (b.low > 0) {
                SetRange(node, 0, b.high - 1);
            }
            return;
        case Plain::I32Clz:
        case Plain::I32Ctz:
        case Plain::I32Popcnt: SetRange(node, 0, 32); return;
        case Plain::I32Extend8S: SetRange(node, -128, 127); return;
        case Plain::I32Extend16S: SetRange(node, -32768, 32767); return;
        default: break;
    }
    // The operators from i32.eqz to f64.ge are the comparisons, whose results are 0 and 1.
    if (node.code >= static_cast<u8>(Plain::I32Eqz) && node.code <= static_cast<u8>(Plain::F64Ge)) {
        SetRange(node, 0, 1);
    }
}

// Whether a float's sign is known to be clear, unless it is a NaN.
bool IsNonNegativeFloat(const Trees& trees, const Node& node) {
    switch (static_cast<Plain>(node.code)) {
        case Plain::F32Abs:
        case Plain::F64Abs:
        case Plain::F32ConvertI32U:
        case Plain::F32ConvertI64U:
        case Plain::F64ConvertI32U:
        case Plain::F64ConvertI64U: return true;
        case Plain::F32Mul:
        case Plain::F64Mul:
            if (SameTree(trees, node.a, node.b)) {
                return true;
            }
            [[fallthrough]];
        case Plain::F32Add:
        case Plain::F64Add:
        case Plain::F32Div:
        case Plain::F64Div: return trees[node.a].isNonNegative && trees[node.b].isNonNegative;
        default: return false;
    }
}

// Adds the node of an operator as it is, with all that is known of its value.
NodeId Add(Trees& trees, Plain code, ValueType type, NodeId a, NodeId b) {
    Node node;
    node.kind = NodeKind::Plain;
    node.code = static_cast<u8>(code);
    node.type = type;
    node.a = a;
    node.b = b;
    TakeFrom(node, trees[a]);
    if (kOperators.plain[node.code].second != ValueType::None) {
        TakeFrom(node, trees[b]);
    }
    if (CanTrap(code)) {
        const bool isDivision = kOperators.plain[node.code].second != ValueType::None;
        const bool isSafe = isDivision && IsConstant(trees, b) && trees[b].value != 0 &&
                            trees[b].value != 0xFFFFFFFF && trees[b].value != ~u64{0};
        if (!isSafe) {
            node.traps = true;
        }
    }
    SetPlainRange(trees, node);
    node.isNonNegative = IsNonNegativeFloat(trees, node);
    return trees.Add(node);
}

// (x + c1) + c2 becomes x + (c1 + c2), and so does any operator for which that holds. False when it
// has no such operands.
bool Reassociate(Trees& trees, Plain code, NodeId a, NodeId b, NodeId& result) {
    const Node& left = trees[a];
    if (left.kind != NodeKind::Plain || left.code != static_cast<u8>(code)) {
        return false;
    }
    if (!IsConstant(trees, left.b) || !IsConstant(trees, b)) {
        return false;
    }
    u64 value = 0;
    if (!FoldBinary(static_cast<u8>(code), trees[left.b].value, trees[b].value, value)) {
        return false;
    }
    const NodeId x = left.a;
    const ValueType type = left.type;
    result = MakePlain(trees, static_cast<u8>(code), x, MakeConstant(trees, type, value));
    return true;
}

// Simplifies an operator whose second operand is a constant: it may be needless, or one that is
// simpler does the same. False when neither is so.
bool Simplify(Trees& trees, Plain code, NodeId a, NodeId b, NodeId& result) {
    if (!IsConstant(trees, b)) {
        return false;
    }
    const u64 value = trees[b].value;
    const bool is64 = trees[b].type == ValueType::I64;
    const u64 ones = is64 ? ~u64{0} : 0xFFFFFFFF;
    switch (code) {
        case Plain::I32Add:
        case Plain::I64Add:
            if (value == 0) {
                return result = a, true;
            }
            return Reassociate(trees, code, a, b, result);
        case Plain::I32Sub:
        case Plain::I64Sub: {
            // Sums and differences get one form: the negative number is added.
            const NodeId negative = MakeConstant(trees, trees[b].type, (0 - value) & ones);
            result = MakePlain(trees, static_cast<u8>(is64 ? Plain::I64Add : Plain::I32Add), a,
                               negative);
            return true;
        }
        case Plain::I32Or:
        case Plain::I64Or:
        case Plain::I32Xor:
        case Plain::I64Xor:
            if (value == 0) {
                return result = a, true;
            }
            return false;
        case Plain::I32Shl:
        case Plain::I32ShrS:
        case Plain::I32ShrU:
            if ((value & 31) == 0) {
                return result = a, true;
            }
            return false;
        case Plain::I64Shl:
        case Plain::I64ShrS:
        case Plain::I64ShrU:
            if ((value & 63) == 0) {
                return result = a, true;
            }
            return false;
        case Plain::I32And:
        case Plain::I64And:
            if (value == ones) {
                return result = a, true;
            }
            if (!is64 && trees[a].low >= 0 &&
                (value & static_cast<u64>(MaskAbove(trees[a].high))) ==
                    static_cast<u64>(MaskAbove(trees[a].high))) {
                return result = a, true;
            }
            return Reassociate(trees, code, a, b, result);
        case Plain::I32Mul:
        case Plain::I64Mul:
            if (value == 1) {
                return result = a, true;
            }
            if (std::has_single_bit(value)) {
                const u64 count = static_cast<u64>(std::countr_zero(value));
                result = MakePlain(trees, static_cast<u8>(is64 ? Plain::I64Shl : Plain::I32Shl), a,
                                   MakeConstant(trees, trees[b].type, count));
                return true;
            }
            return false;
        case Plain::I32Ne:
            if (value == 0 && trees[a].low >= 0 && trees[a].high <= 1) {
                return result = a, true;
            }
            return false;
        case Plain::I32Eq:
        case Plain::I64Eq:
            if (value == 0) {
                const u8 eqz = static_cast<u8>(is64 ? Plain::I64Eqz : Plain::I32Eqz);
                result = MakePlain(trees, eqz, a, a);
                return true;
            }
            return false;
        default: return false;
    }
}

// The comparison that holds where this one does not. False when there is none: the orders of floats
// have no opposite, as neither holds for a NaN.
bool Opposite(Plain code, Plain& opposite) {
    constexpr Plain kPairs[][2] = {
        {Plain::I32Eq, Plain::I32Ne},   {Plain::I32LtS, Plain::I32GeS},
        {Plain::I32LtU, Plain::I32GeU}, {Plain::I32GtS, Plain::I32LeS},
        {Plain::I32GtU, Plain::I32LeU}, {Plain::I64Eq, Plain::I64Ne},
        {Plain::I64LtS, Plain::I64GeS}, {Plain::I64LtU, Plain::I64GeU},
        {Plain::I64GtS, Plain::I64LeS}, {Plain::I64GtU, Plain::I64LeU},
        {Plain::F32Eq, Plain::F32Ne},   {Plain::F64Eq, Plain::F64Ne},
    };
    for (const auto& pair : kPairs) {
        if (pair[0] == code) {
            return opposite = pair[1], true;
        }
        if (pair[1] == code) {
            return opposite = pair[0], true;
        }
    }
    return false;
}

}  // namespace

NodeId MakeConstant(Trees& trees, ValueType type, u64 bits) {
    Node node;
    node.kind = NodeKind::Constant;
    node.type = type;
    node.value = bits;
    if (type == ValueType::I32) {
        node.low = node.high = static_cast<i32>(bits);
    }
    if (type == ValueType::F64) {
        node.isNonNegative = bits >> 63 == 0;
    }
    if (type == ValueType::F32) {
        node.isNonNegative = bits >> 31 == 0;
    }
    return trees.Add(node);
}

NodeId MakeVariable(Trees& trees, ValueType type, Variable variable) {
    Node node;
    node.kind = NodeKind::Local;
    node.type = type;
    node.value = variable;
    node.reads = u64{1} << (variable % 64);
    return trees.Add(node);
}

NodeId MakeGlobal(Trees& trees, ValueType type, u32 global) {
    Node node;
    node.kind = NodeKind::Global;
    node.type = type;
    node.value = global;
    node.readsGlobals = true;
    return trees.Add(node);
}

NodeId MakeLoad(Trees& trees, u8 code, NodeId address, u32 offset) {
    const MemoryOperator& row = kOperators.memory[code];
    Node node;
    node.kind = NodeKind::Load;
    node.code = code;
    node.type = row.type;
    node.a = address;
    node.value = offset;
    TakeFrom(node, trees[address]);
    node.readsMemory = true;
    node.traps |= trees.checkBounds;
    if (row.type == ValueType::I32 && row.bytes < 4) {
        const i64 span = i64{1} << (8 * row.bytes);
        SetRange(node, row.isSigned ? -span / 2 : 0, row.isSigned ? span / 2 - 1 : span - 1);
    }
    return trees.Add(node);
}

NodeId MakePlain(Trees& trees, u8 code, NodeId a, NodeId b) {
    const PlainOperator& row = kOperators.plain[code];
    const auto plain = static_cast<Plain>(code);
    u64 value = 0;
    if (row.second == ValueType::None) {
        if (IsConstant(trees, a) && FoldUnary(code, trees[a].value, value)) {
            return MakeConstant(trees, row.result, value);
        }
        if (plain == Plain::I32Eqz && trees[a].kind == NodeKind::Plain) {
            Plain opposite = plain;
            const Node& compared = trees[a];
            if (Opposite(static_cast<Plain>(compared.code), opposite)) {
                return Add(trees, opposite, ValueType::I32, compared.a, compared.b);
            }
        }
        return Add(trees, plain, row.result, a, a);
    }
    if (IsConstant(trees, a) && IsConstant(trees, b) &&
        FoldBinary(code, trees[a].value, trees[b].value, value)) {
        return MakeConstant(trees, row.result, value);
    }
    if (IsConstant(trees, a) && IsCommutative(plain)) {
        std::swap(a, b);
    }
    NodeId simpler = 0;
    if (Simplify(trees, plain, a, b, simpler)) {
        return simpler;
    }
    return Add(trees, plain, row.result, a, b);
}

NodeId MakeSelect(Trees& trees, NodeId condition, NodeId a, NodeId b) {
    if (IsConstant(trees, condition)) {
        const bool first = trees[condition].value != 0;
        // The value that is not taken goes, unless it may trap.
        if (!trees[first ? b : a].traps) {
            return first ? a : b;
        }
    }
    Node node;
    node.kind = NodeKind::Select;
    node.type = trees[a].type;
    node.a = a;
    node.b = b;
    node.c = condition;
    TakeFrom(node, trees[a]);
    TakeFrom(node, trees[b]);
    TakeFrom(node, trees[condition]);
    node.low = std::min(trees[a].low, trees[b].low);
    node.high = std::max(trees[a].high, trees[b].high);
    node.isNonNegative = trees[a].isNonNegative && trees[b].isNonNegative;
    return trees.Add(node);
}

NodeId MakeMemorySize(Trees& trees) {
    Node node;
    node.kind = NodeKind::MemorySize;
    node.readsMemory = true;
    SetRange(node, 0, 65536);
    return trees.Add(node);
}

bool ReadsVariable(const Trees& trees, NodeId id, Variable variable) {
    const Node& node = trees[id];
    if ((node.reads >> (variable % 64) & 1) == 0) {
        return false;
    }
    switch (node.kind) {
        case NodeKind::Local: return node.value == variable;
        case NodeKind::Load: return ReadsVariable(trees, node.a, variable);
        case NodeKind::Plain:
            if (ReadsVariable(trees, node.a, variable)) {
                return true;
            }
            return node.b != node.a && ReadsVariable(trees, node.b, variable);
        case NodeKind::Select:
            return ReadsVariable(trees, node.a, variable) ||
                   ReadsVariable(trees, node.b, variable) || ReadsVariable(trees, node.c, variable);
        default: return false;
    }
}

bool SameTree(const Trees& trees, NodeId a, NodeId b) {
    if (a == b) {
        return true;
    }
    const Node& left = trees[a];
    const Node& right = trees[b];
    if (left.kind != right.kind || left.code != right.code || left.type != right.type ||
        left.value != right.value || left.depth != right.depth || left.reads != right.reads) {
        return false;
    }
    switch (left.kind) {
        case NodeKind::Load: return SameTree(trees, left.a, right.a);
        case NodeKind::Plain:
            if (!SameTree(trees, left.a, right.a)) {
                return false;
            }
            // An operator with one operand names it twice; looking twice on every level would take
            // for ever.
            if (left.a == left.b || right.a == right.b) {
                return left.a == left.b && right.a == right.b;
            }
            return SameTree(trees, left.b, right.b);
        case NodeKind::Select:
            return SameTree(trees, left.a, right.a) && SameTree(trees, left.b, right.b) &&
                   SameTree(trees, left.c, right.c);
        default: return true;
    }
}

}  // namespace moxi
