// Floating point beyond the four operations, and conversions. What the machine has no instruction
// for is a routine of the runtime, in library/moxi/wasm_math.inc.

#include <iterator>
#include <utility>

#include "wasm/select.h"

namespace moxi {

namespace {

constexpr i64 kF64Sign = static_cast<i64>(u64{1} << 63);
constexpr i64 kF64Rest = 0x7FFFFFFFFFFFFFFFLL;
constexpr i64 kF32Sign = 0x80000000LL;
constexpr i64 kF32Rest = 0x7FFFFFFFLL;

// The routine that does what the operator does, with its operands as arguments. Null where there is
// none.
const char* RoutineOf(Plain plain) {
    switch (plain) {
        case Plain::I32Clz: return "i32_clz";
        case Plain::I32Ctz: return "i32_ctz";
        case Plain::I32Popcnt: return "i32_popcnt";
        case Plain::I64Clz: return "i64_clz";
        case Plain::I64Ctz: return "i64_ctz";
        case Plain::I64Popcnt: return "i64_popcnt";
        case Plain::F32Ceil: return "f32_ceil";
        case Plain::F32Floor: return "f32_floor";
        case Plain::F32Trunc: return "f32_trunc";
        case Plain::F32Nearest: return "f32_nearest";
        case Plain::F32Sqrt: return "f32_sqrt";
        case Plain::F32Min: return "f32_min";
        case Plain::F32Max: return "f32_max";
        case Plain::F64Ceil: return "f64_ceil";
        case Plain::F64Floor: return "f64_floor";
        case Plain::F64Trunc: return "f64_trunc";
        case Plain::F64Nearest: return "f64_nearest";
        case Plain::F64Sqrt: return "f64_sqrt";
        case Plain::F64Min: return "f64_min";
        case Plain::F64Max: return "f64_max";
        case Plain::F32DemoteF64: return "f32_demote";
        case Plain::I32TruncSatF32S: return "i32_trunc_sat_s_f32";
        case Plain::I32TruncSatF32U: return "i32_trunc_sat_u_f32";
        case Plain::I32TruncSatF64S: return "i32_trunc_sat_s_f64";
        case Plain::I32TruncSatF64U: return "i32_trunc_sat_u_f64";
        case Plain::I64TruncSatF32S: return "i64_trunc_sat_s_f32";
        case Plain::I64TruncSatF32U: return "i64_trunc_sat_u_f32";
        case Plain::I64TruncSatF64S: return "i64_trunc_sat_s_f64";
        case Plain::I64TruncSatF64U: return "i64_trunc_sat_u_f64";
        default: return nullptr;
    }
}

// The routine of an operator that traps where the result is no integer of its type. Null for
// others.
const char* TruncationOf(Plain plain) {
    switch (plain) {
        case Plain::I32TruncF32S: return "i32_trunc_s_f32";
        case Plain::I32TruncF32U: return "i32_trunc_u_f32";
        case Plain::I32TruncF64S: return "i32_trunc_s_f64";
        case Plain::I32TruncF64U: return "i32_trunc_u_f64";
        case Plain::I64TruncF32S: return "i64_trunc_s_f32";
        case Plain::I64TruncF32U: return "i64_trunc_u_f32";
        case Plain::I64TruncF64S: return "i64_trunc_s_f64";
        case Plain::I64TruncF64U: return "i64_trunc_u_f64";
        default: return nullptr;
    }
}

}  // namespace

// to = op(a), of a machine's operation that works in place.
void Selector::AssignInPlace(Variable to, OneOperand op, OperandSize size, NodeId a) {
    Assign(to, a);
    One(op, size, InRegister(to));
}

// Calls a routine with the argument a, and with b where it is not null. Its result is in
// kResultRegister then. The arguments go to their registers last, when nothing else is computed
// that could disturb them.
void Selector::CallRoutine(const char* name, NodeId a, const NodeId* b) {
    const Operand first =
        IsConstant(trees, a) ? Source(a, SizeOf(trees[a].type)) : InRegister(InVariable(a));
    Operand second;
    if (b != nullptr) {
        second =
            IsConstant(trees, *b) ? Source(*b, SizeOf(trees[*b].type)) : InRegister(InVariable(*b));
    }
    Put(0, trees[a].type, first);
    if (b != nullptr) {
        Put(1, trees[*b].type, second);
    }
    Instruction call;
    call.kind = Kind::CallRoutine;
    call.target = RoutineNumber(plan, name);
    call.arguments = b != nullptr ? 2 : 1;
    Emit(call);
}

// Such a routine returns a status in R1 beside the result: 0, or 1 for a number that is too large,
// or another one for what is not a number.
void Selector::AssignTruncation(Variable to, const Node& node, const char* routine) {
    CallRoutine(routine, node.a, nullptr);
    const Variable result = NewVariable();
    const Variable status = NewVariable();
    Put(result, ValueType::I64, InRegister(0));
    Put(status, ValueType::I64, InRegister(1));
    const u32 good = NewLabel();
    TestBranch(Condition::Eq, OperandSize::Long, InRegister(status), good);
    Two(TwoOperand::Cmp, OperandSize::Long, InRegister(status), Number(1));
    Branch(Condition::Eq, TrapLabel(Trap::Overflow));
    Jump(TrapLabel(Trap::InvalidConversion));
    Label(good);
    Put(to, ValueType::I64, InRegister(result));
}

// to = a with the sign of b, by their bits.
void Selector::AssignCopysign(Variable to, const Node& node) {
    const bool isLong = node.type == ValueType::F32;
    const OperandSize size = SizeOf(node.type);
    const Variable sign = InNewVariable(node.b);
    const Variable rest = InNewVariable(node.a);
    Two(TwoOperand::And, size, InRegister(sign), Number(isLong ? kF32Sign : kF64Sign));
    Two(TwoOperand::And, size, InRegister(rest), Number(isLong ? kF32Rest : kF64Rest));
    Two(TwoOperand::Or, size, InRegister(rest), InRegister(sign));
    Put(to, node.type, InRegister(rest));
}

bool Selector::AssignConversion(Variable to, const Node& node) {
    const auto plain = static_cast<Plain>(node.code);
    constexpr OperandSize kLong = OperandSize::Long;
    constexpr OperandSize kQuad = OperandSize::Quad;
    const Operand result = InRegister(to);
    if (const char* const routine = RoutineOf(plain)) {
        const bool isBinary = kOperators.plain[node.code].second != ValueType::None;
        CallRoutine(routine, node.a, isBinary ? &node.b : nullptr);
        Put(to, ValueType::I64, InRegister(kResultRegister));
        return true;
    }
    if (const char* const routine = TruncationOf(plain)) {
        AssignTruncation(to, node, routine);
        return true;
    }
    switch (plain) {
        case Plain::F32Abs:
            Assign(to, node.a);
            Two(TwoOperand::And, kLong, result, Number(kF32Rest));
            return true;
        case Plain::F64Abs:
            Assign(to, node.a);
            Two(TwoOperand::And, kQuad, result, Number(kF64Rest));
            return true;
        case Plain::F32Neg:
            AssignInPlace(to, OneOperand::Fneg, OperandSize::Byte, node.a);
            return true;
        case Plain::F64Neg:
            Assign(to, node.a);
            Two(TwoOperand::Xor, kQuad, result, Number(kF64Sign));
            return true;
        case Plain::F32Copysign:
        case Plain::F64Copysign: AssignCopysign(to, node); return true;
        case Plain::I32WrapI64:
            Two(TwoOperand::Movez, kLong, result, NarrowSource(node.a, kLong));
            return true;
        case Plain::I64ExtendI32U: Assign(to, node.a); return true;
        case Plain::I64ExtendI32S: AssignInPlace(to, OneOperand::Exts, kLong, node.a); return true;
        case Plain::I64Extend32S:
            Put(to, node.type, NarrowSource(node.a, kQuad));
            One(OneOperand::Exts, kLong, result);
            return true;
        case Plain::I64Extend8S:
            AssignInPlace(to, OneOperand::Exts, OperandSize::Byte, node.a);
            return true;
        case Plain::I64Extend16S:
            AssignInPlace(to, OneOperand::Exts, OperandSize::Word, node.a);
            return true;
        case Plain::I32Extend8S:
            AssignInPlace(to, OneOperand::Exts, OperandSize::Byte, node.a);
            ClearUpper(to);
            return true;
        case Plain::I32Extend16S:
            AssignInPlace(to, OneOperand::Exts, OperandSize::Word, node.a);
            ClearUpper(to);
            return true;
        case Plain::F32ConvertI32S: AssignInPlace(to, OneOperand::Stof, kLong, node.a); return true;
        case Plain::F32ConvertI32U: AssignInPlace(to, OneOperand::Utof, kLong, node.a); return true;
        case Plain::F32ConvertI64S: AssignInPlace(to, OneOperand::Stof, kQuad, node.a); return true;
        case Plain::F32ConvertI64U: AssignInPlace(to, OneOperand::Utof, kQuad, node.a); return true;
        case Plain::F64ConvertI32S: AssignInPlace(to, OneOperand::Stod, kLong, node.a); return true;
        case Plain::F64ConvertI32U: AssignInPlace(to, OneOperand::Utod, kLong, node.a); return true;
        case Plain::F64ConvertI64S: AssignInPlace(to, OneOperand::Stod, kQuad, node.a); return true;
        case Plain::F64ConvertI64U: AssignInPlace(to, OneOperand::Utod, kQuad, node.a); return true;
        case Plain::F64PromoteF32:
            AssignInPlace(to, OneOperand::Ftod, OperandSize::Byte, node.a);
            return true;
        case Plain::I32ReinterpretF32:
        case Plain::F32ReinterpretI32:
        case Plain::I64ReinterpretF64:
        case Plain::F64ReinterpretI64: Assign(to, node.a); return true;
        default: return false;
    }
}

}  // namespace moxi
