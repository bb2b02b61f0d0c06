#pragma once
// Values that have not been computed yet. WebAssembly's stack holds trees of operators while a
// function is read; they become instructions when something needs them, with the place known where
// the result has to go.

#include <vector>

#include "base/types.h"
#include "wasm/code.h"
#include "wasm/module.h"
#include "wasm/operators.h"

namespace moxi {

using NodeId = u32;

enum class NodeKind : u8 {
    Constant,    // value: the bits
    Local,       // value: the variable
    Global,      // value: the global
    Load,        // code: the row of the memory operators; a the address, value the offset
    Plain,       // code: the operator; a, b
    Select,      // c ? a : b
    MemorySize,  // in pages
};

struct Node {
    NodeKind kind = NodeKind::Constant;
    u8 code = 0;
    ValueType type = ValueType::I32;
    bool readsMemory = false;
    bool readsGlobals = false;
    bool traps = false;          // may trap, so it must be computed even if nobody wants the value
    bool isNonNegative = false;  // a float whose sign is clear, unless it is a NaN
    u8 depth = 0;                // levels below; the caller keeps it small
    NodeId a = 0;
    NodeId b = 0;
    NodeId c = 0;
    u64 value = 0;
    u64 reads = 0;  // a bit for each variable modulo 64 that the tree reads
    // What an i32 can be, as a signed number. Anything for other types.
    i64 low = -2147483648LL;
    i64 high = 2147483647LL;
};

// All trees of a function. A reference to a node is only good until the next one is added.
struct Trees {
    std::vector<Node> nodes;
    bool checkBounds = false;  // then a load may trap

    const Node& operator[](NodeId id) const { return nodes[id]; }
    NodeId Add(const Node& node) {
        nodes.push_back(node);
        return static_cast<NodeId>(nodes.size() - 1);
    }
};

// Each of these adds a node, or finds one that has the same value, changes no other one, and
// returns its number, which stays valid as long as `trees`. `bits` of 32-bit types have their upper
// half clear; `variable` must not be written while the tree waits.
NodeId MakeConstant(Trees& trees, ValueType type, u64 bits);
NodeId MakeVariable(Trees& trees, ValueType type, Variable variable);
NodeId MakeGlobal(Trees& trees, ValueType type, u32 global);
NodeId MakeLoad(Trees& trees, u8 code, NodeId address, u32 offset);
// An operator (a row of kOperators.plain), simplified where its operands allow it. `b` is not
// looked at for unary ones.
NodeId MakePlain(Trees& trees, u8 code, NodeId a, NodeId b);
NodeId MakeSelect(Trees& trees, NodeId condition, NodeId a, NodeId b);
NodeId MakeMemorySize(Trees& trees);

// Whether the value of the tree depends on the variable.
bool ReadsVariable(const Trees& trees, NodeId id, Variable variable);
// Whether two trees are made of the same operators on the same leaves, so that they have the same
// value where nothing has been written between them.
bool SameTree(const Trees& trees, NodeId a, NodeId b);

inline bool IsConstant(const Trees& trees, NodeId id) {
    return trees[id].kind == NodeKind::Constant;
}
inline bool IsConstant(const Trees& trees, NodeId id, u64 bits) {
    return trees[id].kind == NodeKind::Constant && trees[id].value == bits;
}
inline bool IsVariable(const Trees& trees, NodeId id) {
    return trees[id].kind == NodeKind::Local;
}
inline bool IsLeaf(const Trees& trees, NodeId id) {
    return IsConstant(trees, id) || IsVariable(trees, id);
}
inline bool IsPlain(const Trees& trees, NodeId id, Plain code) {
    return trees[id].kind == NodeKind::Plain && trees[id].code == static_cast<u8>(code);
}

}  // namespace moxi
