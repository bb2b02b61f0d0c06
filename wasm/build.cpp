#include "wasm/build.h"

#include <algorithm>

#include "wasm/block_type.h"
#include "wasm/cursor.h"

namespace moxi {

namespace {

constexpr u8 kMaxTreeDepth = 48;
constexpr u32 kNoLabel = 0xFFFFFFFF;
constexpr u32 kFewCases = 3;  // a jump table takes three instructions

struct Frame {
    Opcode opcode = Opcode::Block;
    u32 label = kNoLabel;  // where a branch goes; none for the function itself
    u32 elseLabel = kNoLabel;
    bool isUsed = false;  // by a branch
    bool wasReachable = true;
    u64 height = 0;  // of the stack below the parameters
    BlockType type;
    std::vector<Variable> variables;  // what a branch assigns
    std::vector<NodeId> parameters;   // of an if, for its else
};

// A call through the table whose entry has the wrong type.
struct WrongEntry {
    u32 label = 0;
    Variable entry = 0;
    u32 function = 0;
    u32 origin = 0;
};

struct Builder {
    ModulePlan& plan;
    const Module& module;
    FunctionCode& code;
    Selector select;
    ByteCursor cursor{};
    std::vector<NodeId> stack{};
    std::vector<Frame> frames{};
    std::vector<Variable> locals{};
    std::vector<ValueType> localTypes{};
    // What is known of a local's value since its last assignment, until control comes together.
    struct Fact {
        u32 epoch = 0;
        bool isNonNegative = false;
        i64 low = 0;
        i64 high = 0;
    };
    std::vector<Fact> facts{};  // by local
    u32 epoch = 1;
    std::vector<bool> isLocal{};  // by variable: may be assigned again while a tree waits
    std::vector<WrongEntry> wrongEntries{};
    bool reachable = true;
    u32 deadDepth = 0;  // blocks begun in code that is never reached
    u32 returnLabel = kNoLabel;

    // --- The stack
    void Push(NodeId id);
    NodeId Pop() {
        const NodeId id = stack.back();
        stack.pop_back();
        return id;
    }
    void PushVariable(ValueType type, Variable variable) {
        stack.push_back(MakeVariable(select.trees, type, variable));
    }
    void Settle(NodeId& id);
    template <class Test>
    void SettleWhere(Test test);
    void SettleAll();
    void SettleReaders(Variable variable);
    void SettleForCall();
    void SettleTraps() {
        SettleWhere([](const Node& node) { return node.traps; });
    }
    // Traps come in the order of the module: what waits goes before a value that may trap.
    void SettleBefore(NodeId& first, NodeId second) {
        if (!select.trees[first].traps || !select.trees[second].traps) return;
        SettleTraps();
        Settle(first);
    }
    void SettleTrapsBefore(NodeId id) {
        if (select.trees[id].traps) SettleTraps();
    }
    bool IsLocalVariable(Variable variable) const {
        return variable < isLocal.size() && isLocal[variable];
    }
    void MarkLocal(Variable variable) {
        if (isLocal.size() <= variable) isLocal.resize(variable + 1);
        isLocal[variable] = true;
    }

    // --- Control
    void MoveTo(const std::vector<Variable>& variables);
    void SettleTop(u64 count);
    void BranchTo(u64 depth);
    void Return();
    void BranchIf();
    void BranchTable();
    void Begin(Opcode opcode);
    void Else();
    void End();
    void EnterResults(Frame& frame);
    void SetUnreachable() { reachable = false; }

    // --- Calls
    void PassArguments(const FunctionType& type, u32& registers, u32& pushed);
    void TakeResults(const FunctionType& type);
    void Call(u32 callee);
    void CallIndirect(u32 typeIndex);
    void CallService(const ImportTarget& target, const FunctionType& type);
    void CallFunction(u32 number, const FunctionType& type);

    // --- The rest
    void Variables(u8 opcode);
    void SetLocal(u32 number, NodeId value);
    void PushLocal(u32 number);
    void Join(u32 label) {
        select.Label(label);
        ++epoch;  // what is known need not hold on the other ways to here
    }
    void SetGlobal(u32 number, NodeId value);
    void Memory(const MemoryOperator& row, u8 opcode);
    void Prefixed();
    void Skip(u8 opcode);
    void SkipPrefixed();
    void Instruction();
    void Declare(const FunctionType& type);
    void KeepFrameBase(const Function& function, u32 offset);
    void EmitWrongEntries();
    void Run(u32 index);
    void RunImport(u32 index, const FunctionType& type);
};

OperandSize SizeOfNode(const Trees& trees, NodeId id) {
    return SizeOf(trees[id].type);
}

// --- The stack

void Builder::Push(NodeId id) {
    stack.push_back(id);
    if (select.trees[id].depth <= kMaxTreeDepth) return;
    SettleTrapsBefore(id);
    Settle(stack.back());
}

// Computes a waiting value now, so that nothing that comes can change it.
void Builder::Settle(NodeId& id) {
    const Node node = select.trees[id];
    if (node.kind == NodeKind::Constant) return;
    if (node.kind == NodeKind::Local && !IsLocalVariable(static_cast<Variable>(node.value))) return;
    const Variable variable = select.InNewVariable(id);
    id = MakeVariable(select.trees, node.type, variable);
    select.trees.nodes[id].low = node.low;
    select.trees.nodes[id].high = node.high;
    select.trees.nodes[id].isNonNegative = node.isNonNegative;
}

// Settles the waiting values that the test picks; of those that may trap the lower ones as well.
template <class Test>
void Builder::SettleWhere(Test test) {
    u64 settled = 0;  // below this nothing that may trap waits any more
    for (u64 i = 0; i < stack.size(); ++i) {
        if (!test(select.trees[stack[i]])) continue;
        if (select.trees[stack[i]].traps) {
            for (; settled < i; ++settled) {
                if (select.trees[stack[settled]].traps) Settle(stack[settled]);
            }
        }
        Settle(stack[i]);
    }
}

void Builder::SettleAll() {
    for (NodeId& id : stack) Settle(id);
}

void Builder::SettleReaders(Variable variable) {
    for (u64 i = 0; i < stack.size(); ++i) {
        if (!ReadsVariable(select.trees, stack[i], variable)) continue;
        if (select.trees[stack[i]].traps) SettleTraps();
        Settle(stack[i]);
    }
}

void Builder::SettleForCall() {
    SettleWhere(
        [](const Node& node) { return node.readsMemory || node.readsGlobals || node.traps; });
}

// --- Control

// The topmost values become variables or constants, so that they may be used twice.
void Builder::SettleTop(u64 count) {
    for (u64 i = stack.size() - count; i < stack.size(); ++i) Settle(stack[i]);
}

// Assigns the topmost values to variables, all at once. The stack stays.
void Builder::MoveTo(const std::vector<Variable>& variables) {
    const u64 count = variables.size();
    if (count == 1) {
        select.Assign(variables[0], stack.back());
        return;
    }
    std::vector<NodeId> values(stack.end() - static_cast<i64>(count), stack.end());
    for (u64 i = 0; i < count; ++i) {
        bool isRead = false;
        for (const Variable variable : variables)
            isRead |= ReadsVariable(select.trees, values[i], variable);
        if (isRead || !IsLeaf(select.trees, values[i])) {
            const ValueType type = select.trees[values[i]].type;
            values[i] = MakeVariable(select.trees, type, select.InNewVariable(values[i]));
        }
    }
    for (u64 i = 0; i < count; ++i) select.Assign(variables[i], values[i]);
}

void Builder::Return() {
    const std::vector<ValueType>& results =
        module.types[module.functions[select.function].type].results;
    const u64 count = results.size();
    std::vector<Variable> values;
    if (count > 1) {
        for (u64 i = stack.size() - count; i < stack.size(); ++i) {
            values.push_back(select.InVariable(stack[i]));
        }
        for (u32 i = 1; i < count; ++i) {
            select.Two(TwoOperand::Move, OperandSize::Quad,
                       AtAddress(Base::Data, kResultCells + 8 * (i - 1)), InRegister(values[i]));
        }
        select.Put(kResultRegister, ValueType::I64, InRegister(values[0]));
    } else if (count == 1) {
        const NodeId id = stack.back();
        if (IsConstant(select.trees, id)) {
            select.Assign(kResultRegister, id);
        } else {
            select.Put(kResultRegister, ValueType::I64, InRegister(select.InVariable(id)));
        }
    }
    moxi::Instruction instruction;
    instruction.kind = Kind::Return;
    instruction.arguments = count > 0 ? 1 : 0;
    select.Emit(instruction);
}

// Goes to a frame with the topmost values. The stack stays.
void Builder::BranchTo(u64 depth) {
    Frame& frame = frames[frames.size() - 1 - depth];
    if (frame.label == kNoLabel) {
        Return();
        return;
    }
    if (!frame.variables.empty()) MoveTo(frame.variables);
    frame.isUsed = true;
    select.Jump(frame.label);
}

void Builder::BranchIf() {
    const u64 depth = cursor.Unsigned32();
    const NodeId condition = Pop();
    Frame& frame = frames[frames.size() - 1 - depth];
    const bool isReturn = frame.label == kNoLabel;
    SettleTraps();
    const bool isPlain = isReturn ? frame.type.results.count == 0 : frame.variables.empty();
    if (isPlain) {
        if (isReturn && returnLabel == kNoLabel) returnLabel = select.NewLabel();
        frame.isUsed = true;
        select.BranchOn(condition, true, isReturn ? returnLabel : frame.label);
        return;
    }
    SettleTop(isReturn ? frame.type.results.count : frame.variables.size());
    const u32 skip = select.NewLabel();
    select.BranchOn(condition, false, skip);
    BranchTo(depth);
    select.Label(skip);
}

void Builder::BranchTable() {
    const u32 count = cursor.Unsigned32();
    std::vector<u32> depths(count);
    for (u32& depth : depths) depth = cursor.Unsigned32();
    const u32 fallback = cursor.Unsigned32();
    const NodeId index = Pop();
    SettleTraps();
    const Frame& target = frames[frames.size() - 1 - fallback];
    SettleTop(target.label == kNoLabel ? target.type.results.count : target.variables.size());
    // A label for each depth, behind which its values are moved.
    std::vector<std::pair<u32, u32>> labels;
    const auto labelOf = [&](u32 depth) {
        for (const auto& [known, label] : labels) {
            if (known == depth) return label;
        }
        Frame& frame = frames[frames.size() - 1 - depth];
        const bool isDirect = frame.label != kNoLabel && frame.variables.empty();
        if (isDirect) frame.isUsed = true;
        labels.emplace_back(depth, isDirect ? frame.label : select.NewLabel());
        return labels.back().second;
    };
    const Variable value = select.InVariable(index);
    if (count <= kFewCases) {
        for (u32 i = 0; i < count; ++i) {
            select.Two(TwoOperand::Cmp, OperandSize::Long, InRegister(value), Number(i));
            select.Branch(Condition::Eq, labelOf(depths[i]));
        }
        select.Jump(labelOf(fallback));
    } else {
        const Node& node = select.trees[index];
        if (node.low < 0 || node.high >= count) {
            select.Two(TwoOperand::Cmp, OperandSize::Quad, InRegister(value), Number(count));
            select.Branch(Condition::Ge, labelOf(fallback));
        }
        std::vector<u32> table;
        table.reserve(depths.size());
        for (const u32 depth : depths) table.push_back(labelOf(depth));
        code.tables.push_back(std::move(table));
        const Variable scaled = select.NewVariable();
        select.Put(scaled, ValueType::I32, InRegister(value));
        select.Two(TwoOperand::Lsl, OperandSize::Long, InRegister(scaled), Number(2));
        moxi::Instruction jump;
        jump.kind = Kind::TableJump;
        jump.a = InRegister(scaled);
        jump.target = static_cast<u32>(code.tables.size() - 1);
        select.Emit(jump);
    }
    for (u64 i = 0; i < labels.size(); ++i) {
        const auto [depth, label] = labels[i];
        if (label == frames[frames.size() - 1 - depth].label) continue;
        select.Label(label);
        BranchTo(depth);
    }
}

void Builder::Begin(Opcode opcode) {
    Frame frame;
    frame.opcode = opcode;
    ReadBlockType(module, cursor, frame.type);
    NodeId condition = 0;
    if (opcode == Opcode::If) condition = Pop();
    SettleAll();
    frame.label = select.NewLabel();
    const u64 parameters = frame.type.parameters.count;
    frame.height = stack.size() - parameters;
    if (opcode == Opcode::Loop) {
        for (u64 i = 0; i < parameters; ++i) {
            frame.variables.push_back(select.NewVariable());
            MarkLocal(frame.variables.back());
        }
        if (parameters > 0) MoveTo(frame.variables);
        stack.resize(frame.height);
        for (u32 i = 0; i < parameters; ++i) {
            PushVariable(frame.type.parameters.items[i], frame.variables[i]);
        }
        ++select.depth;
        Join(frame.label);
    } else {
        for (u32 i = 0; i < frame.type.results.count; ++i) {
            frame.variables.push_back(select.NewVariable());
        }
    }
    if (opcode == Opcode::If) {
        frame.elseLabel = select.NewLabel();
        frame.parameters.assign(stack.begin() + static_cast<i64>(frame.height), stack.end());
        select.BranchOn(condition, false, frame.elseLabel);
    }
    frames.push_back(std::move(frame));
}

void Builder::Else() {
    Frame& frame = frames.back();
    if (reachable) {
        if (!frame.variables.empty()) MoveTo(frame.variables);
        frame.isUsed = true;
        select.Jump(frame.label);
    }
    Join(frame.elseLabel);
    frame.elseLabel = kNoLabel;
    stack.resize(frame.height);
    stack.insert(stack.end(), frame.parameters.begin(), frame.parameters.end());
    reachable = true;
}

// The results of a block are on the stack from here on.
void Builder::EnterResults(Frame& frame) {
    stack.resize(frame.height);
    for (u32 i = 0; i < frame.type.results.count; ++i) {
        PushVariable(frame.type.results.items[i], frame.variables[i]);
    }
}

void Builder::End() {
    Frame frame = std::move(frames.back());
    if (frames.size() == 1) {
        if (reachable) Return();
        frames.pop_back();
        return;
    }
    if (frame.opcode == Opcode::Loop) {
        --select.depth;
        frames.pop_back();
        return;  // what it leaves is on the stack already
    }
    const bool isOpenIf = frame.elseLabel != kNoLabel;
    if (!isOpenIf && !frame.isUsed) {
        // Nothing joins here: the values go on as they are, or there are none.
        frames.pop_back();
        return;
    }
    if (reachable && !frame.variables.empty()) MoveTo(frame.variables);
    if (isOpenIf) {
        // Without an else the parameters are the results.
        const bool moves = !frame.variables.empty();
        if (moves) {
            if (reachable) select.Jump(frame.label);
            Join(frame.elseLabel);
            stack.resize(frame.height);
            stack.insert(stack.end(), frame.parameters.begin(), frame.parameters.end());
            MoveTo(frame.variables);
        } else {
            Join(frame.elseLabel);
        }
    }
    Join(frame.label);
    reachable = true;
    frames.pop_back();
    EnterResults(frame);
}

// --- Calls

// Takes the arguments from the stack: the first ones to the registers, the rest is pushed.
void Builder::PassArguments(const FunctionType& type, u32& registers, u32& pushed) {
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
    }
    for (u32 i = 0; i < registers; ++i) select.Put(i, type.parameters[i], values[i]);
}

void Builder::TakeResults(const FunctionType& type) {
    for (u32 i = 0; i < type.results.size(); ++i) {
        const Variable result = select.NewVariable();
        const Operand from = i == 0 ? InRegister(kResultRegister)
                                    : AtAddress(Base::Data, kResultCells + 8 * (i - 1));
        select.Put(result, ValueType::I64, from);
        PushVariable(type.results[i], result);
    }
}

void Builder::CallService(const ImportTarget& target, const FunctionType& type) {
    moxi::Instruction instruction;
    instruction.kind = Kind::CallRoutine;
    const auto argument = [&](NodeId id) { return InRegister(select.InVariable(id)); };
    switch (target.service) {
        case Service::None: break;
        case Service::Linked: CallFunction(target.function, type); return;
        case Service::Empty:
            for (u64 i = 0; i < type.parameters.size(); ++i) select.Discard(Pop());
            return;
        case Service::Sys: {
            const Operand block = argument(Pop());
            // LEA adds where linear memory lies.
            select.Two(TwoOperand::Lea, OperandSize::Byte, InRegister(kServiceBlock),
                       AtIndex(block.variable, Base::Memory, 0));
            instruction.kind = Kind::Service;
            select.Emit(instruction);
            const Variable result = select.NewVariable();
            select.Put(result, ValueType::I64, InRegister(kServiceResult));
            PushVariable(ValueType::I64, result);
            return;
        }
        case Service::Setjmp: {
            select.CallRoutine("moxi_setjmp", Pop(), nullptr);
            code.instructions.back().isSetjmp = true;
            code.callsSetjmp = true;
            ++epoch;  // control comes back here with what locals have become since
            const Variable result = select.NewVariable();
            select.Put(result, ValueType::I64, InRegister(kResultRegister));
            PushVariable(ValueType::I32, result);
            return;
        }
        case Service::Longjmp: {
            const NodeId value = Pop();
            const NodeId buffer = Pop();
            select.CallRoutine("moxi_longjmp", buffer, &value);
            return;
        }
        case Service::Stop:
            instruction.target = RoutineNumber(plan, "moxi_stop");
            select.Emit(instruction);
            return;
        case Service::MemoryBase:
        case Service::CartridgeBase: {
            const bool isOwn = target.service == Service::MemoryBase;
            const Variable result = select.NewVariable();
            select.Put(result, ValueType::I32, Number(0, isOwn ? Base::Memory : Base::Cartridge));
            PushVariable(ValueType::I32, result);
            return;
        }
    }
}

void Builder::CallFunction(u32 number, const FunctionType& type) {
    moxi::Instruction call;
    call.kind = Kind::Call;
    u32 registers = 0;
    PassArguments(type, registers, call.pushed);
    call.arguments = static_cast<u8>(registers);
    call.target = number;
    select.Emit(call);
    TakeResults(type);
}

void Builder::Call(u32 callee) {
    const Function& function = module.functions[callee];
    const FunctionType& type = module.types[function.type];
    SettleForCall();
    code.hasCalls = true;
    if (function.isImported) {
        CallService(plan.imports[callee], type);
    } else {
        CallFunction(plan.functionBase + callee, type);
    }
}

void Builder::CallIndirect(u32 typeIndex) {
    const FunctionType& type = module.types[typeIndex];
    const NodeId index = Pop();
    SettleForCall();
    code.hasCalls = true;
    // The arguments come first: what they do goes before a trap of the call.
    for (u64 i = stack.size() - type.parameters.size(); i < stack.size(); ++i) {
        if (select.trees[stack[i]].traps) Settle(stack[i]);
    }
    const Variable number = select.InVariable(index);
    select.Two(TwoOperand::Cmp, OperandSize::Quad, InRegister(number), Number(plan.tableSize));
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

// --- The rest

void Builder::PushLocal(u32 number) {
    PushVariable(localTypes[number], locals[number]);
    const Fact& fact = facts[number];
    if (fact.epoch != epoch) return;
    Node& node = select.trees.nodes[stack.back()];
    node.isNonNegative = fact.isNonNegative;
    node.low = fact.low;
    node.high = fact.high;
}

void Builder::SetLocal(u32 number, NodeId value) {
    SettleTrapsBefore(value);
    SettleReaders(locals[number]);
    const Node& node = select.trees[value];
    facts[number] = {epoch, node.isNonNegative, node.low, node.high};
    select.Assign(locals[number], value);
}

void Builder::SetGlobal(u32 number, NodeId value) {
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

void Builder::Variables(u8 opcode) {
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

void Builder::Memory(const MemoryOperator& row, u8 opcode) {
    cursor.Unsigned32();
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

void Builder::Prefixed() {
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
        const u32 cells = operation == Prefixed::DataDrop ? plan.dataCells : plan.elementCells;
        select.Two(TwoOperand::Move, OperandSize::Long,
                   AtAddress(Base::Data, cells + 8 * segment + 4), Number(0));
        return;
    }
    // The indices of the memory or the tables, which are all 0.
    cursor.Unsigned32();
    if (operation == Prefixed::MemoryCopy || operation == Prefixed::TableCopy) cursor.Unsigned32();
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

void Builder::SkipPrefixed() {
    const u32 number = cursor.Unsigned32();
    switch (static_cast<enum Prefixed>(number)) {
        case Prefixed::MemoryInit:
        case Prefixed::MemoryCopy:
        case Prefixed::TableInit:
        case Prefixed::TableCopy:
            cursor.Unsigned32();
            cursor.Unsigned32();
            break;
        case Prefixed::DataDrop:
        case Prefixed::MemoryFill:
        case Prefixed::ElemDrop: cursor.Unsigned32(); break;
    }
}

// Goes over an instruction that is never reached.
void Builder::Skip(u8 opcode) {
    if (kOperators.memory[opcode].text != nullptr) {
        cursor.Unsigned32();
        cursor.Unsigned32();
        return;
    }
    switch (static_cast<Opcode>(opcode)) {
        case Opcode::Block:
        case Opcode::Loop:
        case Opcode::If:
            cursor.Signed33();
            ++deadDepth;
            break;
        case Opcode::Br:
        case Opcode::BrIf:
        case Opcode::Call:
        case Opcode::LocalGet:
        case Opcode::LocalSet:
        case Opcode::LocalTee:
        case Opcode::GlobalGet:
        case Opcode::GlobalSet:
        case Opcode::MemorySize:
        case Opcode::MemoryGrow: cursor.Unsigned32(); break;
        case Opcode::BrTable: {
            const u32 count = cursor.Unsigned32();
            for (u64 i = 0; i <= count; ++i) cursor.Unsigned32();
            break;
        }
        case Opcode::CallIndirect:
        case Opcode::SelectTyped:
            cursor.Unsigned32();
            cursor.Unsigned32();
            break;
        case Opcode::I32Const:
        case Opcode::I64Const: cursor.Signed64(); break;
        case Opcode::F32Const: cursor.Word(); break;
        case Opcode::F64Const: cursor.Quad(); break;
        case Opcode::Prefix: SkipPrefixed(); break;
        default: break;
    }
}

void Builder::Instruction() {
    const auto* const start = reinterpret_cast<const u8*>(module.bytes.data());
    select.origin = static_cast<u32>(cursor.at - start);
    const u8 opcode = cursor.Byte();
    const auto named = static_cast<Opcode>(opcode);
    if (!reachable) {
        const bool isOwn = deadDepth == 0 && (named == Opcode::Else || named == Opcode::End);
        if (!isOwn) {
            if (named == Opcode::End) --deadDepth;
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

// Makes the locals and takes the arguments.
void Builder::Declare(const FunctionType& type) {
    localTypes = type.parameters;
    const Function& function = module.functions[select.function];
    for (const Locals& run : function.locals)
        localTypes.insert(localTypes.end(), run.count, run.type);
    for (u32 i = 0; i < localTypes.size(); ++i) {
        locals.push_back(select.NewVariable());
        MarkLocal(locals.back());
    }
    facts.resize(locals.size());
    for (u32 i = 0; i < type.parameters.size() && i < kArgumentRegisters; ++i) {
        select.Put(locals[i], ValueType::I64, InRegister(i));
    }
    for (u32 i = kArgumentRegisters; i < type.parameters.size(); ++i) {
        select.Put(locals[i], ValueType::I64, InFrame(12 + 8 * i64{i - kArgumentRegisters}));
    }
    // Those that are written before they are read lose this again.
    for (u64 i = type.parameters.size(); i < locals.size(); ++i) {
        select.Put(locals[i], ValueType::I64, Number(0));
    }
}

// Where the function's arguments lie in memory is of use only together with this local.
void Builder::KeepFrameBase(const Function& function, u32 offset) {
    if (function.isImported) return;
    const DebugFunction* const known = FindDebugFunction(plan.debugFunctions, offset);
    if (known == nullptr || known->frameBase >= locals.size()) return;
    if (localTypes[known->frameBase] == ValueType::I32) code.frameBase = locals[known->frameBase];
}

void Builder::EmitWrongEntries() {
    for (const WrongEntry& wrong : wrongEntries) {
        select.function = wrong.function;
        select.origin = wrong.origin;
        select.Label(wrong.label);
        select.Two(TwoOperand::Cmp, OperandSize::Long,
                   AtIndex(wrong.entry, Base::Data, plan.tableCell + 4), Number(0));
        select.Branch(Condition::Eq, select.TrapLabel(Trap::UninitializedElement));
        select.Jump(select.TrapLabel(Trap::TypeMismatch));
    }
}

// An imported function with code of its own, for those who call it by address.
void Builder::RunImport(u32 index, const FunctionType& type) {
    for (u32 i = 0; i < locals.size(); ++i) PushVariable(localTypes[i], locals[i]);
    code.hasCalls = plan.imports[index].service == Service::Linked;
    CallService(plan.imports[index], type);
    Return();
}

void Builder::Run(u32 index) {
    const Function& function = module.functions[index];
    const FunctionType& type = module.types[function.type];
    select.function = index;
    const auto* const file = reinterpret_cast<const u8*>(module.bytes.data());
    const u32 beginning = function.isImported ? 0 : static_cast<u32>(function.body - file);
    select.origin = beginning;
    // The check for room on the stack, if the function calls others.
    select.Emit({});
    Declare(type);
    KeepFrameBase(function, beginning);
    if (function.isImported) {
        RunImport(index, type);
        select.EmitTraps();
        return;
    }
    cursor = {function.body, function.end, nullptr};
    Frame whole;
    whole.type.results = ListOf(type.results);
    frames.push_back(std::move(whole));
    while (!frames.empty()) Instruction();
    select.depth = 0;
    if (returnLabel != kNoLabel) {
        select.Label(returnLabel);
        moxi::Instruction end;
        end.kind = Kind::Return;
        select.Emit(end);
    }
    EmitWrongEntries();
    if (code.hasCalls) {
        // The caller's frame pointer, which lies at the own one, tells how far the stack has come:
        // its room begins at a multiple of 16 MB, so that below it bit 23 of an address is set.
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

}  // namespace

FunctionCode BuildFunction(ModulePlan& plan, u32 index) {
    FunctionCode code;
    Builder builder{plan, *plan.module, code, Selector{plan, code, {}, 0, 0, 0, {}}};
    builder.select.trees.checkBounds = plan.checkBounds;
    builder.Run(index);
    return code;
}

}  // namespace moxi
