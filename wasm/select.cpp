#include "wasm/select.h"

#include <algorithm>

namespace moxi {

namespace {

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

u64 MaskOf(OperandSize size) {
    switch (size) {
        case OperandSize::Byte: return 0xFF;
        case OperandSize::Word: return 0xFFFF;
        case OperandSize::Long: return 0xFFFFFFFF;
        case OperandSize::Quad: break;
    }
    return ~u64{0};
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
    // Each source line has code of its own for its traps, so that a debugger can tell which line it
    // was.
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
    // A constant whose upper half is clear is shorter in an instruction of 32 bits, which clears
    // that half. Those up to 7 are in the instruction's word anyway.
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

// An operation that has memory as its destination saves the way through a register, where both
// operands are at hand.
void Selector::AssignMemory(const Operand& to, OperandSize size, NodeId id) {
    const Node node = trees[id];
    TwoOperand op = TwoOperand::Add;
    const bool isSum = size == OperandSize::Long && IsPlain(trees, id, Plain::I32Add) &&
                       IsConstant(trees, node.b) && !IsConstant(trees, node.a);
    if (isSum) {
        // LEA stores an address: any register plus a constant.
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
