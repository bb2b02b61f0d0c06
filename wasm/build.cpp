#include "wasm/build.h"

#include "wasm/body_builder.h"
#include "wasm/skip_operands.h"

namespace moxi {

// Pushes a local's value. A leaf's parameter may stand for the tree of its argument, which is
// pushed in its place.
void BodyBuilder::PushLocal(u32 number) {
    if (scope.bound[number] != 0) {
        stack.push_back(scope.bound[number] - 1);
        return;
    }
    PushVariable(scope.types[number], scope.locals[number]);
    const Fact& fact = scope.facts[number];
    if (fact.epoch != epoch) {
        return;
    }
    Node& node = select.trees.nodes[stack.back()];
    node.isNonNegative = fact.isNonNegative;
    node.low = fact.low;
    node.high = fact.high;
}

// Trees that wait and read the local are settled first: they mean its value of before.
void BodyBuilder::SetLocal(u32 number, NodeId value) {
    SettleTrapsBefore(value);
    SettleReaders(scope.locals[number]);
    const Node& node = select.trees[value];
    scope.facts[number] = {epoch, node.isNonNegative, node.low, node.high};
    select.Assign(scope.locals[number], value);
}

// A global is a cell in memory. Adding a constant or variable to it takes one instruction. Any
// other value that reads globals is computed completely before the cell is written.
void BodyBuilder::SetGlobal(u32 number, NodeId value) {
    SettleTrapsBefore(value);
    SettleWhere([](const Node& node) { return node.readsGlobals; });
    const OperandSize size = SizeOf(module.globals[number].type);
    const Operand cell = AtAddress(Base::Data, plan.globalCells[number]);
    const Node node = select.trees[value];
    const auto plain = static_cast<Plain>(node.code);
    const bool isSum =
        node.kind == NodeKind::Plain && (plain == Plain::I32Add || plain == Plain::I64Add);
    if (isSum) {
        const Node& first = select.trees[node.a];
        if (first.kind == NodeKind::Global && first.value == number &&
            IsLeaf(select.trees, node.b)) {
            select.Two(TwoOperand::Add, size, cell, select.Source(node.b, size));
            return;
        }
    }
    if (node.readsGlobals && !IsLeaf(select.trees, value)) {
        const Variable held = select.InVariable(value);
        select.Two(TwoOperand::Move, size, cell, InRegister(held));
        return;
    }
    select.AssignMemory(cell, size, value);
}

// The instructions on locals and globals.
void BodyBuilder::Variables(u8 opcode) {
    const u32 number = cursor.Unsigned32();
    switch (static_cast<Opcode>(opcode)) {
        case Opcode::LocalGet: PushLocal(number); break;
        case Opcode::LocalSet: SetLocal(number, Pop()); break;
        case Opcode::LocalTee:
            SetLocal(number, Pop());
            PushLocal(number);
            break;
        case Opcode::GlobalGet: {
            const Global& global = module.globals[number];
            if (global.isImported) {  // the address of linear memory
                const Variable result = select.NewVariable();
                select.Put(result, ValueType::I32, Number(0, Base::Memory));
                PushVariable(ValueType::I32, result);
            } else if (!global.isMutable &&
                       global.initial.kind == ConstantExpression::Kind::Value) {
                stack.push_back(MakeConstant(select.trees, global.type, global.initial.value));
            } else {
                Push(MakeGlobal(select.trees, global.type, number));
            }
            break;
        }
        default: SetGlobal(number, Pop()); break;
    }
}

// Loads and stores.
void BodyBuilder::Memory(const MemoryOperator& row, u8 opcode) {
    cursor.Unsigned32();  // the alignment, which is only a hint
    const u32 offset = cursor.Unsigned32();
    if (!row.isStore) {
        const NodeId address = Pop();
        Push(MakeLoad(select.trees, opcode, address, offset));
        return;
    }
    const NodeId value = Pop();
    NodeId address = Pop();
    SettleWhere([](const Node& node) { return node.readsMemory || node.traps; });
    SettleBefore(address, value);
    select.Store(row, address, offset, value);
}

// The instructions behind the prefix 0xFC: conversions that saturate, and those on whole pieces of
// memory and of the table.
void BodyBuilder::Prefixed() {
    const u32 number = cursor.Unsigned32();
    const u32 saturating = kFirstSaturating + number;
    if (saturating <= kLastSaturating) {
        const NodeId value = Pop();
        Push(MakePlain(select.trees, static_cast<u8>(saturating), value, value));
        return;
    }
    const auto operation = static_cast<enum Prefixed>(number);
    u32 segment = 0;
    if (operation == Prefixed::MemoryInit || operation == Prefixed::DataDrop ||
        operation == Prefixed::TableInit || operation == Prefixed::ElemDrop) {
        segment = cursor.Unsigned32();
    }
    if (operation == Prefixed::DataDrop || operation == Prefixed::ElemDrop) {
        // A dropped segment is one with nothing left.
        const u32 cells = operation == Prefixed::DataDrop ? plan.dataCells : plan.elementCells;
        select.Two(TwoOperand::Move, OperandSize::Long,
                   AtAddress(Base::Data, cells + 8 * segment + 4), Number(0));
        return;
    }
    // The indices of the memory or the tables, which are all 0.
    cursor.Unsigned32();
    if (operation == Prefixed::MemoryCopy || operation == Prefixed::TableCopy) {
        cursor.Unsigned32();
    }
    const NodeId count = Pop();
    const NodeId second = Pop();
    const NodeId first = Pop();
    SettleWhere([](const Node& node) { return node.readsMemory || node.traps; });
    switch (operation) {
        case Prefixed::MemoryInit: select.MemoryInit(segment, first, second, count); break;
        case Prefixed::MemoryCopy: select.MemoryCopy(first, second, count); break;
        case Prefixed::MemoryFill: select.MemoryFill(first, second, count); break;
        case Prefixed::TableInit:
            select.TableMove(plan.elementCells + 8 * segment, first, second, count);
            break;
        default: select.TableMove(0, first, second, count); break;
    }
}

// Goes over an instruction that is never reached.
void BodyBuilder::Skip(u8 opcode) {
    const auto named = static_cast<Opcode>(opcode);
    if (named == Opcode::Block || named == Opcode::Loop || named == Opcode::If) {
        ++deadDepth;
    }
    SkipOperands(cursor, opcode);
}

// Translates the instruction at the cursor.
void BodyBuilder::Instruction() {
    const auto* const start = reinterpret_cast<const u8*>(module.bytes.data());
    select.origin = static_cast<u32>(cursor.at - start);
    const u8 opcode = cursor.Byte();
    const auto named = static_cast<Opcode>(opcode);
    if (!reachable) {
        // Only the else or end of the block that holds the dead code can make code reachable again.
        const bool isOwn = deadDepth == 0 && (named == Opcode::Else || named == Opcode::End);
        if (!isOwn) {
            if (named == Opcode::End) {
                --deadDepth;
            }
            Skip(opcode);
            return;
        }
    }
    const PlainOperator& plain = kOperators.plain[opcode];
    if (plain.text != nullptr && opcode < kFirstSaturating) {
        const NodeId b = Pop();
        NodeId a = b;
        if (plain.second != ValueType::None) {
            a = Pop();
            SettleBefore(a, b);
        }
        Push(MakePlain(select.trees, opcode, a, b));
        return;
    }
    const MemoryOperator& memory = kOperators.memory[opcode];
    if (memory.text != nullptr) {
        Memory(memory, opcode);
        return;
    }
    switch (named) {
        case Opcode::Unreachable:
            SettleTraps();
            select.Jump(select.TrapLabel(Trap::Unreachable));
            SetUnreachable();
            break;
        case Opcode::Nop: break;
        case Opcode::Block:
        case Opcode::Loop:
        case Opcode::If: Begin(named); break;
        case Opcode::Else: Else(); break;
        case Opcode::End: End(); break;
        case Opcode::Br: {
            const u32 depth = cursor.Unsigned32();
            SettleTraps();
            BranchTo(depth);
            SetUnreachable();
            break;
        }
        case Opcode::BrIf: BranchIf(); break;
        case Opcode::BrTable:
            BranchTable();
            SetUnreachable();
            break;
        case Opcode::Return:
            SettleTraps();
            Return();
            SetUnreachable();
            break;
        case Opcode::Call: Call(cursor.Unsigned32()); break;
        case Opcode::CallIndirect: {
            const u32 type = cursor.Unsigned32();
            cursor.Unsigned32();
            CallIndirect(type);
            break;
        }
        case Opcode::Drop: {
            const NodeId value = Pop();
            SettleTrapsBefore(value);
            select.Discard(value);
            break;
        }
        case Opcode::SelectTyped:
            cursor.Unsigned32();
            cursor.Byte();
            [[fallthrough]];
        case Opcode::Select: {
            const NodeId condition = Pop();
            NodeId second = Pop();
            NodeId first = Pop();
            SettleBefore(first, second);
            SettleBefore(first, condition);
            SettleBefore(second, condition);
            Push(MakeSelect(select.trees, condition, first, second));
            break;
        }
        case Opcode::LocalGet:
        case Opcode::LocalSet:
        case Opcode::LocalTee:
        case Opcode::GlobalGet:
        case Opcode::GlobalSet: Variables(opcode); break;
        case Opcode::MemorySize:
            cursor.Unsigned32();
            Push(MakeMemorySize(select.trees));
            break;
        case Opcode::MemoryGrow: {
            cursor.Unsigned32();
            const NodeId pages = Pop();
            SettleWhere([](const Node& node) { return node.readsMemory || node.traps; });
            PushVariable(ValueType::I32, select.MemoryGrow(pages));
            break;
        }
        case Opcode::I32Const:
            Push(MakeConstant(select.trees, ValueType::I32, static_cast<u32>(cursor.Signed32())));
            break;
        case Opcode::I64Const:
            Push(MakeConstant(select.trees, ValueType::I64, static_cast<u64>(cursor.Signed64())));
            break;
        case Opcode::F32Const:
            Push(MakeConstant(select.trees, ValueType::F32, cursor.Word()));
            break;
        case Opcode::F64Const:
            Push(MakeConstant(select.trees, ValueType::F64, cursor.Quad()));
            break;
        case Opcode::Prefix: Prefixed(); break;
    }
}

// Makes variables for the locals and takes the arguments. Those that are not in registers begin at
// FP+12, behind the caller's FP, the return address and the word with their size.
void BodyBuilder::Declare(const FunctionType& type) {
    scope.types = type.parameters;
    const Function& function = module.functions[select.function];
    for (const Locals& run : function.locals) {
        scope.types.insert(scope.types.end(), run.count, run.type);
    }
    for (u32 i = 0; i < scope.types.size(); ++i) {
        scope.locals.push_back(select.NewVariable());
        MarkLocal(scope.locals.back());
    }
    scope.facts.resize(scope.locals.size());
    scope.bound.resize(scope.locals.size());
    for (u32 i = 0; i < type.parameters.size() && i < kArgumentRegisters; ++i) {
        select.Receive(scope.locals[i], type.parameters[i], InRegister(i));
    }
    for (u32 i = kArgumentRegisters; i < type.parameters.size(); ++i) {
        select.Receive(scope.locals[i], type.parameters[i],
                       InFrame(12 + 8 * i64{i - kArgumentRegisters}));
    }
    // Locals begin as 0. Where one is written before it is read, the instruction is dead, and is
    // removed with the others that are.
    for (u64 i = type.parameters.size(); i < scope.locals.size(); ++i) {
        select.Put(scope.locals[i], ValueType::I64, Number(0));
    }
}

// Notes the locals that a debugger needs to find the variables of the source: all of them where
// some variable lives in a local, and the one with the address of the C frame where some live
// there.
void BodyBuilder::WatchLocals(const Function& function, u32 offset) {
    if (function.isImported) {
        return;
    }
    const DebugFunction* const known = FindDebugFunction(plan.debugFunctions, offset);
    if (known == nullptr) {
        return;
    }
    bool usesFrame = false;
    for (const DebugVariable& variable : known->variables) {
        for (const DebugPlace& place : variable.places) {
            if (place.kind == DebugPlace::Kind::Frame) {
                usesFrame = true;
            }
            if (place.kind == DebugPlace::Kind::Local) {
                code.watched = scope.locals;
            }
        }
    }
    if (!usesFrame || known->frameBase >= scope.locals.size()) {
        return;
    }
    if (scope.types[known->frameBase] == ValueType::I32) {
        code.frameBase = scope.locals[known->frameBase];
    }
}

// Behind the function's end: what calls through the table go to when the entry has another type.
void BodyBuilder::EmitWrongEntries() {
    for (const WrongEntry& wrong : wrongEntries) {
        select.function = wrong.function;
        select.origin = wrong.origin;
        select.Label(wrong.label);
        // The trap tells an empty entry by the number of its type, which is 0.
        select.Two(TwoOperand::Move, OperandSize::Long, InRegister(kServiceBlock),
                   AtIndex(wrong.entry, Base::Data, plan.tableCell + 4));
        select.Jump(select.TrapLabel(Trap::WrongEntry));
    }
}

// An imported function with code of its own, for those who call it by address.
void BodyBuilder::RunImport(u32 index, const FunctionType& type) {
    for (u32 i = 0; i < scope.locals.size(); ++i) {
        PushVariable(scope.types[i], scope.locals[i]);
    }
    code.hasCalls = plan.imports[index].use == ImportUse::Linked;
    CallService(plan.imports[index], type);
    Return();
}

void BodyBuilder::Run(u32 index) {
    const Function& function = module.functions[index];
    const FunctionType& type = module.types[function.type];
    select.function = index;
    const auto* const file = reinterpret_cast<const u8*>(module.bytes.data());
    const u32 beginning = function.isImported ? 0 : static_cast<u32>(function.body - file);
    select.origin = beginning;
    // A place for the check that there is room on the stack; only at the end is it known whether
    // the function needs it.
    select.Emit({});
    Declare(type);
    WatchLocals(function, beginning);
    if (function.isImported) {
        RunImport(index, type);
        select.EmitTraps();
        return;
    }
    cursor = {function.body, function.end, nullptr};
    BlockFrame whole;
    whole.type.results = ListOf(type.results);
    frames.push_back(std::move(whole));
    while (!frames.empty()) {
        Instruction();
    }
    select.depth = 0;
    if (returnLabel != kNoLabel) {
        select.Label(returnLabel);
        moxi::Instruction end;
        end.kind = Kind::Return;
        select.Emit(end);
    }
    select.EmitLateSigns();
    EmitWrongEntries();
    if (code.hasCalls && plan.stackChecks[index]) {
        // [FP], the caller's frame pointer, tells how far the stack has come. The stack's room
        // begins at a multiple of 16 MB and is smaller than 8 MB, so that bit 23 of an address is
        // clear in it and set below it: the sign of the byte at FP + 2.
        moxi::Instruction& check = code.instructions.front();
        check.kind = Kind::TestBranch;
        check.operation = static_cast<u8>(Condition::Lt);
        check.size = OperandSize::Byte;
        check.a = InFrame(2);
        select.function = index;
        select.origin = beginning;
        check.target = select.TrapLabel(Trap::StackOverflow);
    }
    select.EmitTraps();
}

FunctionCode BuildFunction(ModulePlan& plan, u32 index) {
    FunctionCode code;
    BodyBuilder builder{plan, *plan.module, code, Selector{plan, code, {}, 0, 0, 0, {}, {}}};
    builder.select.trees.checkBounds = plan.checkBounds;
    builder.Run(index);
    return code;
}

}  // namespace moxi
