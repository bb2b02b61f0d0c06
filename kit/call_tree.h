#pragma once
// Who called whom, as a tree: a node stands for a function together with the chain of calls that
// led to it.

#include <cstdio>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct CallNode {
    u32 parent;  // kNoNode for the root of a way
    u32 function;
    u32 depth;
    u64 own;  // instructions executed here
};

constexpr u32 kNoNode = 0xFFFFFFFF;

struct ProfiledFunction {
    std::string name;
    u64 calls = 0;
    u64 own = 0;
    u64 inclusive = 0;  // with everything that was called from it, recursion counted once
};

extern std::vector<CallNode> callNodes;
extern std::vector<ProfiledFunction> profiledFunctions;

// The function with this entry address, by its symbol or by the address.
u32 FunctionAt(u32 address);

// The node of a function that is called from `parent` (kNoNode for none). In a long chain a
// function that is in it already gets no further node, so that a deep recursion stays readable.
u32 CallNodeFor(u32 parent, u32 function);

// Adds up the nodes for each function.
void SumCallTree();

// One line for each chain of calls that has instructions of its own: "start;on_tick;draw 1234".
void WriteFoldedStacks(std::FILE* file);

void ResetCallTree();

}  // namespace moxi
