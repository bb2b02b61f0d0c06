#pragma once
// The walk over a function's body, shared by build.cpp, build_control.cpp and build_calls.cpp.
// Values wait as trees (tree.h) on a stack until something needs them.

#include <vector>

#include "wasm/block_type.h"
#include "wasm/cursor.h"
#include "wasm/select.h"

namespace moxi {

constexpr u32 kNoLabel = 0xFFFFFFFF;

struct BlockFrame {
    Opcode opcode = Opcode::Block;
    u32 label = kNoLabel;  // where a branch goes; none for the function itself
    u32 elseLabel = kNoLabel;
    bool isUsed = false;  // by a branch
    u64 height = 0;       // of the stack below the parameters
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

// What is known of a local's value since its last assignment, until control comes together.
struct Fact {
    u32 epoch = 0;
    bool isNonNegative = false;
    i64 low = 0;
    i64 high = 0;
};

// The function whose body is walked: the one that is built, or a leaf in it.
struct Scope {
    ByteCursor cursor{};
    u64 base = 0;  // its own frame in BodyBuilder::frames
    std::vector<Variable> locals{};
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
        if (!select.trees[first].traps || !select.trees[second].traps) {
            return;
        }
        SettleTraps();
        Settle(first);
    }
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

// Settles the waiting values that the test picks; of those that may trap the lower ones as well.
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
