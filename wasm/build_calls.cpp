// Calls in a function's body: of functions, through the table, and of what is imported.

#include <algorithm>

#include "wasm/body_builder.h"

namespace moxi {

namespace {

OperandSize SizeOfNode(const Trees& trees, NodeId id) {
    return SizeOf(trees[id].type);
}

}  // namespace

// Takes the arguments of a call from the stack: the first ones go to registers, the others are
// pushed, the last one first. Sets how many registers and how many bytes on the stack that makes.
void BodyBuilder::PassArguments(const FunctionType& type, u32& registers, u32& pushed) {
    const u32 count = static_cast<u32>(type.parameters.size());
    const u64 first = stack.size() - count;
    std::vector<Operand> values(count);
    for (u32 i = 0; i < count; ++i) {
        const NodeId id = stack[first + i];
        const bool stays = IsConstant(select.trees, id) && i < kArgumentRegisters;
        values[i] = stays ? select.Source(id, SizeOfNode(select.trees, id))
                          : InRegister(select.InVariable(id));
    }
    stack.resize(first);
    registers = std::min(count, kArgumentRegisters);
    pushed = 8 * (count - registers);
    for (u32 i = count; i > registers; --i) {
        select.One(OneOperand::Push, OperandSize::Quad, values[i - 1]);
        code.instructions.back().isLow = SizeOf(type.parameters[i - 1]) == OperandSize::Long;
    }
    for (u32 i = 0; i < registers; ++i) {
        select.Hand(i, type.parameters[i], values[i]);
    }
}

// Pushes a call's results. The first one comes in a register, the others in cells of the
// translator's own data.
void BodyBuilder::TakeResults(const FunctionType& type) {
    for (u32 i = 0; i < type.results.size(); ++i) {
        const Variable result = select.NewVariable();
        if (i == 0) {
            select.Receive(result, type.results[i], InRegister(kResultRegister));
        } else {
            select.Put(result, ValueType::I64, AtAddress(Base::Data, kResultCells + 8 * (i - 1)));
        }
        PushVariable(type.results[i], result);
    }
}

// Calls an imported function, or does what it stands for.
void BodyBuilder::CallService(const ImportTarget& target, const FunctionType& type) {
    moxi::Instruction instruction;
    instruction.kind = Kind::CallRoutine;
    const auto argument = [&](NodeId id) { return InRegister(select.InVariable(id)); };
    switch (target.use) {
        case ImportUse::None: break;
        case ImportUse::Linked: CallLinked(target, type); return;
        case ImportUse::Empty:
            for (u64 i = 0; i < type.parameters.size(); ++i) {
                select.Discard(Pop());
            }
            return;
        case ImportUse::Sys: {
            const Operand block = argument(Pop());
            // The argument is the parameter block's address in linear memory; LEA makes the image's
            // address of it.
            select.Two(TwoOperand::Lea, OperandSize::Byte, InRegister(kServiceBlock),
                       AtIndex(block.variable, Base::Memory, 0));
            instruction.kind = Kind::Service;
            select.Emit(instruction);
            const Variable result = select.NewVariable();
            select.Put(result, ValueType::I64, InRegister(kServiceResult));
            PushVariable(ValueType::I64, result);
            return;
        }
        case ImportUse::Setjmp: {
            select.CallRoutine("moxi_setjmp", Pop(), nullptr);
            code.instructions.back().isSetjmp = true;
            code.callsSetjmp = true;
            ++epoch;  // control comes back here with what locals have become since
            const Variable result = select.NewVariable();
            select.Put(result, ValueType::I64, InRegister(kResultRegister));
            PushVariable(ValueType::I32, result);
            return;
        }
        case ImportUse::Longjmp: {
            const NodeId value = Pop();
            const NodeId buffer = Pop();
            select.CallRoutine("moxi_longjmp", buffer, &value);
            return;
        }
        case ImportUse::Stop:
            instruction.target = RoutineNumber(plan, "moxi_stop");
            select.Emit(instruction);
            return;
        case ImportUse::MemoryBase:
        case ImportUse::CartridgeBase: {
            const bool isOwn = target.use == ImportUse::MemoryBase;
            const Variable result = select.NewVariable();
            select.Put(result, ValueType::I32, Number(0, isOwn ? Base::Memory : Base::Cartridge));
            PushVariable(ValueType::I32, result);
            return;
        }
    }
}

// Calls a function of the module that this one is linked to. Where its type is not what the import
// says, arguments and results in excess are dropped, and missing ones are 0.
void BodyBuilder::CallLinked(const ImportTarget& target, const FunctionType& type) {
    const FunctionType& own = target.type == nullptr ? type : *target.type;
    for (u64 i = own.parameters.size(); i < type.parameters.size(); ++i) {
        select.Discard(Pop());
    }
    for (u64 i = type.parameters.size(); i < own.parameters.size(); ++i) {
        stack.push_back(MakeConstant(select.trees, own.parameters[i], 0));
    }
    CallFunction(target.function, own);
    for (u64 i = type.results.size(); i < own.results.size(); ++i) {
        select.Discard(Pop());
    }
    for (u64 i = own.results.size(); i < type.results.size(); ++i) {
        stack.push_back(MakeConstant(select.trees, type.results[i], 0));
    }
}

// `number` is the function's in the whole image.
void BodyBuilder::CallFunction(u32 number, const FunctionType& type) {
    moxi::Instruction call;
    call.kind = Kind::Call;
    u32 registers = 0;
    PassArguments(type, registers, call.pushed);
    call.arguments = static_cast<u8>(registers);
    call.target = number;
    select.Emit(call);
    TakeResults(type);
}

void BodyBuilder::Call(u32 callee) {
    const Function& function = module.functions[callee];
    const FunctionType& type = module.types[function.type];
    if (plan.leaves[callee].isOne) {
        BuildIn(callee);
        return;
    }
    SettleForCall();
    code.hasCalls = true;
    if (function.isImported) {
        CallService(plan.imports[callee], type);
    } else {
        CallFunction(plan.functionBase + callee, type);
    }
}

// Takes a leaf's arguments from the stack. An argument that can be computed later just as well, and
// will be read at most once or is a constant or variable, takes the place of its parameter as a
// tree: it may become part of an operand, or never be needed. Any other one is computed into a
// variable.
void BodyBuilder::BindArguments(const SmallLeaf& leaf, const FunctionType& type, Scope& inner) {
    const u64 count = type.parameters.size();
    const u64 first = stack.size() - count;
    for (u64 i = 0; i < count; ++i) {
        const NodeId id = stack[first + i];
        const Node node = select.trees[id];
        const bool canWait =
            !leaf.isWritten[i] && !node.readsMemory && !node.readsGlobals && !node.traps;
        const bool isOnce = leaf.reads[i] == 0 || (leaf.reads[i] == 1 && !leaf.loops);
        if (canWait && (isOnce || IsLeaf(select.trees, id))) {
            inner.bound[i] = id + 1;
            continue;
        }
        inner.locals[i] = select.InNewVariable(id);
        if (leaf.isWritten[i]) {
            MarkLocal(inner.locals[i]);
        }
        inner.facts[i] = {epoch, node.isNonNegative, node.low, node.high};
    }
    stack.resize(first);
}

// Walks over a leaf's body in place of calling it. Its results come out of it as out of a block.
// Traps are reported under the name of the function in whose body they are: those that wait are
// settled before the walk enters the leaf, and those of the leaf before it leaves.
void BodyBuilder::BuildIn(u32 callee) {
    const Function& function = module.functions[callee];
    const FunctionType& type = module.types[function.type];
    const SmallLeaf& leaf = plan.leaves[callee];
    SettleTraps();
    Scope inner;
    inner.types = type.parameters;
    for (const Locals& run : function.locals) {
        inner.types.insert(inner.types.end(), run.count, run.type);
    }
    inner.locals.resize(inner.types.size());
    inner.facts.resize(inner.types.size());
    inner.bound.resize(inner.types.size());
    BindArguments(leaf, type, inner);
    if (leaf.branches) {
        SettleAll();
    }
    for (u64 i = type.parameters.size(); i < inner.types.size(); ++i) {
        if (!leaf.isWritten[i]) {
            inner.bound[i] = MakeConstant(select.trees, inner.types[i], 0) + 1;
            continue;
        }
        inner.locals[i] = select.NewVariable();
        MarkLocal(inner.locals[i]);
        select.Put(inner.locals[i], ValueType::I64, Number(0));
    }
    BlockFrame frame;
    frame.label = select.NewLabel();
    frame.height = stack.size();
    frame.type.results = ListOf(type.results);
    for (u64 i = 0; i < type.results.size(); ++i) {
        frame.variables.push_back(select.NewVariable());
    }
    inner.base = frames.size();
    inner.cursor = {function.body, function.end, nullptr};
    frames.push_back(std::move(frame));
    std::swap(scope, inner);
    const u32 caller = select.function;
    const u32 origin = select.origin;
    select.function = callee;
    while (frames.size() > scope.base) {
        Instruction();
    }
    if (reachable) {
        SettleTraps();
    }
    select.function = caller;
    select.origin = origin;
    std::swap(scope, inner);
}

// A call through the table. It traps where the index is not below the table's size, and where the
// entry has not the type that the call names.
void BodyBuilder::CallIndirect(u32 typeIndex) {
    const FunctionType& type = module.types[typeIndex];
    const NodeId index = Pop();
    SettleForCall();
    code.hasCalls = true;
    // The arguments come first: what they do goes before a trap of the call.
    for (u64 i = stack.size() - type.parameters.size(); i < stack.size(); ++i) {
        if (select.trees[stack[i]].traps) {
            Settle(stack[i]);
        }
    }
    const Variable number = select.InVariable(index);
    constexpr u32 kMostQuick = 7;  // the largest number that an instruction itself has room for
    const Operand size =
        plan.tableSize <= kMostQuick ? Number(plan.tableSize) : AtAddress(Base::Data, kTableCell);
    select.Two(TwoOperand::Cmp, OperandSize::Quad, InRegister(number), size);
    select.Branch(Condition::Ge, select.TrapLabel(Trap::UndefinedElement));
    const Variable entry = select.NewVariable();
    select.Put(entry, ValueType::I32, InRegister(number));
    select.Two(TwoOperand::Lsl, OperandSize::Long, InRegister(entry), Number(3));
    select.Two(TwoOperand::Cmp, OperandSize::Long, AtIndex(entry, Base::Data, plan.tableCell + 4),
               Number(plan.typeNumbers[typeIndex]));
    wrongEntries.push_back({select.NewLabel(), entry, select.function, select.origin});
    select.Branch(Condition::Ne, wrongEntries.back().label);
    const Variable address = select.NewVariable();
    select.Put(address, ValueType::I32, AtIndex(entry, Base::Data, plan.tableCell));
    moxi::Instruction call;
    call.kind = Kind::CallRegister;
    u32 registers = 0;
    PassArguments(type, registers, call.pushed);
    call.arguments = static_cast<u8>(registers);
    call.a = InRegister(address);
    select.Emit(call);
    TakeResults(type);
}

}  // namespace moxi
