// Loads, stores, and operators that move or fill whole blocks of memory or of the table.

#include "vm/machine.h"
#include "wasm/select.h"

namespace moxi {

namespace {

// Whether the operator may work in place on a value of that many bytes in memory; then `op` becomes
// the machine's operation. Shifts to the right bring in bits from above, so they need all bytes of
// their type.
bool InPlaceOperation(Plain plain, u32 bytes, TwoOperand& op) {
    if (IsLowBytes(plain, op)) {
        return true;
    }
    switch (plain) {
        case Plain::I32Shl: op = TwoOperand::Lsl; return true;
        case Plain::I32ShrU: op = TwoOperand::Lsr; return bytes == 4;
        case Plain::I32ShrS: op = TwoOperand::Asr; return bytes == 4;
        case Plain::I64Shl: op = TwoOperand::Lsl; return bytes == 8;
        case Plain::I64ShrU: op = TwoOperand::Lsr; return bytes == 8;
        case Plain::I64ShrS: op = TwoOperand::Asr; return bytes == 8;
        case Plain::F32Add: op = TwoOperand::Fadd; return true;
        case Plain::F32Sub: op = TwoOperand::Fsub; return true;
        case Plain::F32Mul: op = TwoOperand::Fmul; return true;
        case Plain::F32Div: op = TwoOperand::Fdiv; return true;
        case Plain::F64Add: op = TwoOperand::Fadd; return true;
        case Plain::F64Sub: op = TwoOperand::Fsub; return true;
        case Plain::F64Mul: op = TwoOperand::Fmul; return true;
        case Plain::F64Div: op = TwoOperand::Fdiv; return true;
        default: return false;
    }
}

// The LONG from which BLOCKMOVE takes how much it moves, in units of its size.
Operand BlockCount() {
    return AtAddress(Base::None, kHeaderBlockCount);
}

bool CommutesInPlace(TwoOperand op) {
    return op == TwoOperand::Add || op == TwoOperand::Mul || op == TwoOperand::And ||
           op == TwoOperand::Or || op == TwoOperand::Xor || op == TwoOperand::Fadd ||
           op == TwoOperand::Fmul;
}

}  // namespace

Operand Selector::Address(NodeId address, u64 offset, u32 bytes) {
    if (plan.checkBounds) {
        const Variable start = InVariable(address);
        const Variable end = NewVariable();
        Put(end, ValueType::I64, InRegister(start));
        Two(TwoOperand::Add, OperandSize::Quad, InRegister(end),
            Number(static_cast<i64>(offset + bytes)));
        Two(TwoOperand::Cmp, OperandSize::Quad, InRegister(end), AtAddress(Base::Data, kLimitCell));
        Branch(Condition::Gt, TrapLabel(Trap::OutOfBounds));
        return AtIndex(start, Base::Memory, static_cast<i64>(offset));
    }
    // Without checks an address may wrap at 4 GiB: constants in it can be added up beforehand.
    u64 sum = offset;
    while (IsPlain(trees, address, Plain::I32Add) && IsConstant(trees, trees[address].b)) {
        sum += trees[trees[address].b].value;
        address = trees[address].a;
    }
    if (IsConstant(trees, address)) {
        return AtAddress(Base::Memory, static_cast<u32>(sum + trees[address].value));
    }
    return AtIndex(InVariable(address), Base::Memory, static_cast<u32>(sum));
}

void Selector::AssignLoad(Variable to, const Node& node) {
    const MemoryOperator& row = kOperators.memory[node.code];
    const Operand from = Address(node.a, node.value, row.bytes);
    Two(TwoOperand::Movez, SizeOfBytes(row.bytes), InRegister(to), from);
    if (!row.isSigned) {
        return;
    }
    One(OneOperand::Exts, SizeOfBytes(row.bytes), InRegister(to));
    if (row.type == ValueType::I32) {
        ClearUpper(to);
    }
}

// Stores the low bytes of a value. `x = x op y` becomes one operation on memory.
void Selector::Store(const MemoryOperator& row, NodeId address, u32 offset, NodeId value) {
    const OperandSize size = SizeOfBytes(row.bytes);
    const Node node = trees[value];
    TwoOperand op = TwoOperand::Add;
    if (node.kind == NodeKind::Plain &&
        InPlaceOperation(static_cast<Plain>(node.code), row.bytes, op)) {
        NodeId a = node.a;
        NodeId b = node.b;
        const auto isPlace = [&](NodeId id) {
            const Node& load = trees[id];
            return load.kind == NodeKind::Load && load.value == offset &&
                   kOperators.memory[load.code].bytes == row.bytes &&
                   SameTree(trees, load.a, address);
        };
        if (!isPlace(a) && CommutesInPlace(op)) {
            std::swap(a, b);
        }
        if (isPlace(a)) {
            const Operand by = NarrowSource(b, size);
            const Operand to = Address(address, offset, row.bytes);
            Two(op, size, to, by);
            return;
        }
    }
    // What the value needs is computed before the address, whose check may trap.
    if (plan.checkBounds && !IsLeaf(trees, value)) {
        const Variable held = InVariable(value);
        const Operand to = Address(address, offset, row.bytes);
        Two(TwoOperand::Move, size, to, InRegister(held));
        return;
    }
    const Operand to = Address(address, offset, row.bytes);
    AssignMemory(to, size, value);
}

// Traps where the `count` bytes from `start` on do not all lie in memory, if bounds are to be
// checked.
void Selector::CheckRange(Variable start, Variable count) {
    if (!plan.checkBounds) {
        return;
    }
    const Variable end = NewVariable();
    Put(end, ValueType::I64, InRegister(start));
    Two(TwoOperand::Add, OperandSize::Quad, InRegister(end), InRegister(count));
    Two(TwoOperand::Cmp, OperandSize::Quad, InRegister(end), AtAddress(Base::Data, kLimitCell));
    Branch(Condition::Gt, TrapLabel(Trap::OutOfBounds));
}

// memory.copy: a block move of the machine, or one move for 1, 2, 4 or 8 bytes.
void Selector::MemoryCopy(NodeId to, NodeId from, NodeId count) {
    const Variable target = InVariable(to);
    const Variable source = InVariable(from);
    if (plan.checkBounds || !IsConstant(trees, count)) {
        const Variable bytes = InVariable(count);
        CheckRange(source, bytes);
        CheckRange(target, bytes);
        Two(TwoOperand::Move, OperandSize::Long, BlockCount(), InRegister(bytes));
    } else {
        const u64 bytes = trees[count].value;
        if (bytes == 0) {
            return;
        }
        if (bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8) {
            Two(TwoOperand::Move, SizeOfBytes(static_cast<u32>(bytes)),
                AtIndex(target, Base::Memory, 0), AtIndex(source, Base::Memory, 0));
            return;
        }
        Two(TwoOperand::Move, OperandSize::Long, BlockCount(), Number(static_cast<i64>(bytes)));
    }
    Two(TwoOperand::Blockmove, OperandSize::Byte, AtIndex(target, Base::Memory, 0),
        AtIndex(source, Base::Memory, 0));
}

// memory.fill, by the service that fills bytes: the machine has no faster way.
void Selector::MemoryFill(NodeId to, NodeId value, NodeId count) {
    constexpr i64 kFillBytes = 0x030C;
    const Variable target = InVariable(to);
    const Operand byte = Source(value, OperandSize::Long);
    const Variable bytes = InVariable(count);
    CheckRange(target, bytes);
    const auto word = [](u32 number) { return AtAddress(Base::Data, kBlockCell + 4 * number); };
    Two(TwoOperand::Move, OperandSize::Long, word(0), Number(kFillBytes));
    Two(TwoOperand::Lea, OperandSize::Byte, word(1), AtIndex(target, Base::Memory, 0));
    Two(TwoOperand::Move, OperandSize::Long, word(2), byte);
    Two(TwoOperand::Move, OperandSize::Long, word(3), InRegister(bytes));
    Two(TwoOperand::Move, OperandSize::Long, InRegister(kServiceBlock),
        Number(kBlockCell, Base::Data));
    Instruction service;
    service.kind = Kind::Service;
    Emit(service);
}

// memory.init: copies from a passive segment, whose own bounds are always checked.
void Selector::MemoryInit(u32 segment, NodeId to, NodeId from, NodeId count) {
    const Variable target = InVariable(to);
    const Variable source = InVariable(from);
    const Variable bytes = InVariable(count);
    const u32 cell = plan.dataCells + 8 * segment;
    const Variable end = NewVariable();
    Put(end, ValueType::I64, InRegister(source));
    Two(TwoOperand::Add, OperandSize::Quad, InRegister(end), InRegister(bytes));
    const Variable size = NewVariable();
    Put(size, ValueType::I32, AtAddress(Base::Data, cell + 4));
    Two(TwoOperand::Cmp, OperandSize::Quad, InRegister(end), InRegister(size));
    Branch(Condition::Gt, TrapLabel(Trap::OutOfBounds));
    CheckRange(target, bytes);
    const Variable place = NewVariable();
    Put(place, ValueType::I32, AtAddress(Base::Data, cell));
    Two(TwoOperand::Add, OperandSize::Long, InRegister(place), InRegister(source));
    Two(TwoOperand::Move, OperandSize::Long, BlockCount(), InRegister(bytes));
    Two(TwoOperand::Blockmove, OperandSize::Byte, AtIndex(target, Base::Memory, 0),
        AtIndex(place, Base::None, 0));
}

// table.init and table.copy: copies entries into the table, and traps where they do not lie in it
// or in their segment. `cell` is where the segment's address and size are kept; 0 stands for the
// table itself.
void Selector::TableMove(u32 cell, NodeId to, NodeId from, NodeId count) {
    const Variable target = InVariable(to);
    const Variable source = InVariable(from);
    const Variable entries = InVariable(count);
    const auto check = [&](Variable start, const Operand& limit) {
        const Variable end = NewVariable();
        Put(end, ValueType::I64, InRegister(start));
        Two(TwoOperand::Add, OperandSize::Quad, InRegister(end), InRegister(entries));
        Two(TwoOperand::Cmp, OperandSize::Quad, InRegister(end), limit);
        Branch(Condition::Gt, TrapLabel(Trap::UndefinedElement));
    };
    const bool isCopy = cell == 0;
    const Variable start = NewVariable();
    if (isCopy) {
        check(source, Number(plan.tableSize));
        Put(start, ValueType::I32, Number(plan.tableCell, Base::Data));
    } else {
        const Variable size = NewVariable();
        Put(size, ValueType::I32, AtAddress(Base::Data, cell + 4));
        check(source, InRegister(size));
        Put(start, ValueType::I32, AtAddress(Base::Data, cell));
    }
    check(target, Number(plan.tableSize));
    // An entry has 8 bytes.
    const Variable place = NewVariable();
    Put(place, ValueType::I32, InRegister(source));
    Two(TwoOperand::Lsl, OperandSize::Long, InRegister(place), Number(3));
    Two(TwoOperand::Add, OperandSize::Long, InRegister(place), InRegister(start));
    const Variable goal = NewVariable();
    Put(goal, ValueType::I32, InRegister(target));
    Two(TwoOperand::Lsl, OperandSize::Long, InRegister(goal), Number(3));
    Two(TwoOperand::Move, OperandSize::Long, BlockCount(), InRegister(entries));
    Two(TwoOperand::Blockmove, OperandSize::Quad, AtIndex(goal, Base::Data, plan.tableCell),
        AtIndex(place, Base::None, 0));
}

// memory.grow: a variable with the old size in pages, or with all bits set where memory cannot
// grow.
Variable Selector::MemoryGrow(NodeId pages) {
    if (!plan.canGrow) {
        // This memory never grows, but growing by 0 pages must still tell its size.
        const Variable size = NewVariable();
        const Variable wanted = InVariable(pages);
        const u32 done = NewLabel();
        Put(size, ValueType::I32, AtAddress(Base::Data, kPagesCell));
        TestBranch(Condition::Eq, OperandSize::Long, InRegister(wanted), done);
        Put(size, ValueType::I32, Number(0xFFFFFFFF));
        Label(done);
        return size;
    }
    CallRoutine("memory_grow", pages, nullptr);
    const Variable result = NewVariable();
    Put(result, ValueType::I32, InRegister(kResultRegister));
    return result;
}

}  // namespace moxi
