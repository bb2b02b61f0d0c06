#pragma once
// The walk over a function's body, shared by build.cpp, build_control.cpp and build_calls.cpp.
// Values wait as trees (tree.h) on a stack until something needs them. To settle one of them means
// to compute it now, into a variable of its own, so that nothing that follows can change it.

#include <vector>

#include "wasm/block_type.h"
#include "wasm/cursor.h"
#include "wasm/select.h"

namespace moxi {

constexpr u32 kNoLabel = 0xFFFFFFFF;

// A block that the walk is in. The first frame is the function itself.
struct BlockFrame {
    Opcode opcode = Opcode::Block;
    u32 label = kNoLabel;      // where a branch goes; none for the function itself
    u32 elseLabel = kNoLabel;  // of an if until its else: where it goes when it is false
    bool isUsed = false;       // some branch goes to `label`
    u64 height = 0;            // of the stack below the parameters
    BlockType type;
    std::vector<Variable> variables;  // where a branch leaves its values
    std::vector<NodeId> parameters;   // of an if: what its else begins with, too
};

// For a call through the table: the code behind the function's end that it goes to when the table's
// entry has the wrong type.
struct WrongEntry {
    u32 label = 0;
    Variable entry = 0;  // the index into the table, times 8
    u32 function = 0;
    u32 origin = 0;
};

// What is known of a local's value since its last assignment: the bounds of Node (tree.h). It holds
// while `epoch` is that of BodyBuilder, which changes where control comes together.
struct Fact {
    u32 epoch = 0;
    bool isNonNegative = false;
    i64 low = 0;
    i64 high = 0;
};

// The function whose body is walked: the one that is built, or a leaf in it.
struct Scope {
    ByteCursor cursor{};
    u64 base = 0;                    // the index of its own frame in BodyBuilder::frames
    std::vector<Variable> locals{};  // by number, parameters first
    std::vector<ValueType> types{};
    std::vector<Fact> facts{};  // by local
    // The argument that a leaf's parameter stands for, plus 1; 0 where the local is a variable.
    std::vector<NodeId> bound{};
};

struct BodyBuilder {
    ModulePlan& plan;
    const Module& module;
    FunctionCode& code;
    Selector select;
    std::vector<NodeId> stack{};
    std::vector<BlockFrame> frames{};
    Scope scope{};
    ByteCursor& cursor = scope.cursor;
    u32 epoch = 1;                // see Fact
    std::vector<bool> isLocal{};  // by variable: it may be assigned again while a tree waits
    std::vector<WrongEntry> wrongEntries{};
    bool reachable = true;
    u32 deadDepth = 0;           // blocks begun in code that is never reached
    u32 returnLabel = kNoLabel;  // the RETURN behind the body that conditional branches share

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
    // For an operator's two operands, taken from the stack. Traps have to come in the module's
    // order: where both may trap, what still waits goes first, and then the first operand.
    void SettleBefore(NodeId& first, NodeId second) {
        if (!select.trees[first].traps || !select.trees[second].traps) {
            return;
        }
        SettleTraps();
        Settle(first);
    }
    // The same for a value that is about to be computed.
    void SettleTrapsBefore(NodeId id) {
        if (select.trees[id].traps) {
            SettleTraps();
        }
    }
    bool IsLocalVariable(Variable variable) const {
        return variable < isLocal.size() && isLocal[variable];
    }
    void MarkLocal(Variable variable) {
        if (isLocal.size() <= variable) {
            isLocal.resize(variable + 1);
        }
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
    void EnterResults(BlockFrame& frame);
    void SetUnreachable() { reachable = false; }

    // --- Calls
    void PassArguments(const FunctionType& type, u32& registers, u32& pushed);
    void TakeResults(const FunctionType& type);
    void Call(u32 callee);
    void CallIndirect(u32 typeIndex);
    void CallService(const ImportTarget& target, const FunctionType& type);
    void CallLinked(const ImportTarget& target, const FunctionType& type);
    void CallFunction(u32 number, const FunctionType& type);
    void BuildIn(u32 leaf);
    void BindArguments(const SmallLeaf& leaf, const FunctionType& type, Scope& inner);

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
    void Instruction();
    void Declare(const FunctionType& type);
    void WatchLocals(const Function& function, u32 offset);
    void EmitWrongEntries();
    void Run(u32 index);
    void RunImport(u32 index, const FunctionType& type);
};

// Settles the values on the stack that the test picks. Before one that may trap, everything below
// it that may trap is settled, too, so that traps come in the module's order.
template <class Test>
void BodyBuilder::SettleWhere(Test test) {
    u64 settled = 0;  // below this nothing that may trap waits any more
    for (u64 i = 0; i < stack.size(); ++i) {
        if (!test(select.trees[stack[i]])) {
            continue;
        }
        if (select.trees[stack[i]].traps) {
            for (; settled < i; ++settled) {
                if (select.trees[stack[settled]].traps) {
                    Settle(stack[settled]);
                }
            }
        }
        Settle(stack[i]);
    }
}

}  // namespace moxi
