// Control flow of a function's body. Values that wait on the stack are settled where control parts,
// and lie in the same variables on all ways where it meets again.

#include "wasm/body_builder.h"

namespace moxi {

namespace {

constexpr u8 kMaxTreeDepth = 48;  // recursion over trees must not exhaust the stack
constexpr u32 kFewCases = 3;      // so many are compared one by one; a table takes 3 instructions

}  // namespace

// --- The stack

// Pushes a tree; one that has become too deep is settled.
void BodyBuilder::Push(NodeId id) {
    stack.push_back(id);
    if (select.trees[id].depth <= kMaxTreeDepth) {
        return;
    }
    SettleTrapsBefore(id);
    Settle(stack.back());
}

// Computes a waiting value now, so that nothing that comes can change it. Constants, and variables
// that nobody assigns again, stay as they are.
void BodyBuilder::Settle(NodeId& id) {
    const Node node = select.trees[id];
    if (node.kind == NodeKind::Constant) {
        return;
    }
    if (node.kind == NodeKind::Local && !IsLocalVariable(static_cast<Variable>(node.value))) {
        return;
    }
    const Variable variable = select.InNewVariable(id);
    id = MakeVariable(select.trees, node.type, variable);
    select.trees.nodes[id].low = node.low;
    select.trees.nodes[id].high = node.high;
    select.trees.nodes[id].isNonNegative = node.isNonNegative;
}

void BodyBuilder::SettleAll() {
    for (NodeId& id : stack) {
        Settle(id);
    }
}

// Settles what waits and reads a variable that is about to change.
void BodyBuilder::SettleReaders(Variable variable) {
    for (u64 i = 0; i < stack.size(); ++i) {
        if (!ReadsVariable(select.trees, stack[i], variable)) {
            continue;
        }
        if (select.trees[stack[i]].traps) {
            SettleTraps();
        }
        Settle(stack[i]);
    }
}

// Settles what a call may change, and what may trap.
void BodyBuilder::SettleForCall() {
    SettleWhere(
        [](const Node& node) { return node.readsMemory || node.readsGlobals || node.traps; });
}

// --- Control

// The topmost values become variables or constants, so that they may be used twice.
void BodyBuilder::SettleTop(u64 count) {
    for (u64 i = stack.size() - count; i < stack.size(); ++i) {
        Settle(stack[i]);
    }
}

// Assigns the topmost values to variables as if all at once: what reads one of them is copied
// first. The stack stays.
void BodyBuilder::MoveTo(const std::vector<Variable>& variables) {
    const u64 count = variables.size();
    if (count == 1) {
        select.Assign(variables[0], stack.back());
        return;
    }
    std::vector<NodeId> values(stack.end() - static_cast<i64>(count), stack.end());
    for (u64 i = 0; i < count; ++i) {
        bool isRead = false;
        for (const Variable variable : variables) {
            isRead |= ReadsVariable(select.trees, values[i], variable);
        }
        if (isRead || !IsLeaf(select.trees, values[i])) {
            const ValueType type = select.trees[values[i]].type;
            values[i] = MakeVariable(select.trees, type, select.InNewVariable(values[i]));
        }
    }
    for (u64 i = 0; i < count; ++i) {
        select.Assign(variables[i], values[i]);
    }
}

// Returns with the topmost values: from the function, or to the end of a leaf that is built in. The
// stack stays.
void BodyBuilder::Return() {
    const bool isBuiltIn = !frames.empty() && frames[scope.base].label != kNoLabel;
    if (isBuiltIn) {
        BranchTo(frames.size() - 1 - scope.base);
        return;
    }
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
        select.Hand(kResultRegister, results[0], InRegister(values[0]));
    } else if (count == 1) {
        const NodeId id = stack.back();
        if (IsConstant(select.trees, id)) {
            select.Assign(kResultRegister, id);
        } else {
            select.Hand(kResultRegister, results[0], InRegister(select.InVariable(id)));
        }
    }
    moxi::Instruction instruction;
    instruction.kind = Kind::Return;
    instruction.arguments = count > 0 ? 1 : 0;
    select.Emit(instruction);
}

// Branches to the frame `depth` levels up, with the topmost values. The stack stays.
void BodyBuilder::BranchTo(u64 depth) {
    BlockFrame& frame = frames[frames.size() - 1 - depth];
    if (frame.label == kNoLabel) {
        Return();
        return;
    }
    if (!frame.variables.empty()) {
        MoveTo(frame.variables);
    }
    frame.isUsed = true;
    select.Jump(frame.label);
}

// A branch that has values to move, or results to return, does so only when it is taken: then the
// opposite branch skips that.
void BodyBuilder::BranchIf() {
    const u64 depth = cursor.Unsigned32();
    const NodeId condition = Pop();
    BlockFrame& frame = frames[frames.size() - 1 - depth];
    const bool isReturn = frame.label == kNoLabel;
    SettleTraps();
    const bool isPlain = isReturn ? frame.type.results.count == 0 : frame.variables.empty();
    if (isPlain) {
        if (isReturn && returnLabel == kNoLabel) {
            returnLabel = select.NewLabel();
        }
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

// A few cases become comparisons, more of them a jump through a table of addresses.
void BodyBuilder::BranchTable() {
    const u32 count = cursor.Unsigned32();
    std::vector<u32> depths(count);
    for (u32& depth : depths) {
        depth = cursor.Unsigned32();
    }
    const u32 fallback = cursor.Unsigned32();
    const NodeId index = Pop();
    SettleTraps();
    const BlockFrame& target = frames[frames.size() - 1 - fallback];
    SettleTop(target.label == kNoLabel ? target.type.results.count : target.variables.size());
    // Each depth has one label: the frame's own, or, where values have to be moved first, one for
    // the code behind the jump that moves them and branches.
    std::vector<std::pair<u32, u32>> labels;
    const auto labelOf = [&](u32 depth) {
        for (const auto& [known, label] : labels) {
            if (known == depth) {
                return label;
            }
        }
        BlockFrame& frame = frames[frames.size() - 1 - depth];
        const bool isDirect = frame.label != kNoLabel && frame.variables.empty();
        if (isDirect) {
            frame.isUsed = true;
        }
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
        for (const u32 depth : depths) {
            table.push_back(labelOf(depth));
        }
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
        if (label == frames[frames.size() - 1 - depth].label) {
            continue;
        }
        select.Label(label);
        BranchTo(depth);
    }
}

// The beginning of a block, loop or if. A branch to a loop brings its parameters and goes to its
// beginning; a branch to any other block brings its results and goes to its end.
void BodyBuilder::Begin(Opcode opcode) {
    BlockFrame frame;
    frame.opcode = opcode;
    ReadBlockType(module, cursor, frame.type);
    NodeId condition = 0;
    if (opcode == Opcode::If) {
        condition = Pop();
    }
    SettleAll();
    frame.label = select.NewLabel();
    const u64 parameters = frame.type.parameters.count;
    frame.height = stack.size() - parameters;
    if (opcode == Opcode::Loop) {
        for (u64 i = 0; i < parameters; ++i) {
            frame.variables.push_back(select.NewVariable());
            MarkLocal(frame.variables.back());
        }
        if (parameters > 0) {
            MoveTo(frame.variables);
        }
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

void BodyBuilder::Else() {
    BlockFrame& frame = frames.back();
    if (reachable) {
        if (!frame.variables.empty()) {
            MoveTo(frame.variables);
        }
        frame.isUsed = true;
        select.Jump(frame.label);
    }
    Join(frame.elseLabel);
    frame.elseLabel = kNoLabel;
    stack.resize(frame.height);
    stack.insert(stack.end(), frame.parameters.begin(), frame.parameters.end());
    reachable = true;
}

// Behind a block: the stack is as high as before it, with the variables of its results on top.
void BodyBuilder::EnterResults(BlockFrame& frame) {
    stack.resize(frame.height);
    for (u32 i = 0; i < frame.type.results.count; ++i) {
        PushVariable(frame.type.results.items[i], frame.variables[i]);
    }
}

// The end of a block, or of the function whose body is walked.
void BodyBuilder::End() {
    BlockFrame frame = std::move(frames.back());
    if (frames.size() == 1) {
        if (reachable) {
            Return();
        }
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
    if (reachable && !frame.variables.empty()) {
        MoveTo(frame.variables);
    }
    if (isOpenIf) {
        // Without an else the parameters are the results.
        const bool moves = !frame.variables.empty();
        if (moves) {
            if (reachable) {
                select.Jump(frame.label);
            }
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

}  // namespace moxi
