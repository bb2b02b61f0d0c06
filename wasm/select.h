#pragma once
// Turns trees (tree.h) into instructions (code.h). One record for one function that is being
// translated; the walk over its body is build.h's.

#include <string>
#include <vector>

#include "wasm/code.h"
#include "wasm/debug_info.h"
#include "wasm/layout.h"
#include "wasm/leaves.h"
#include "wasm/source_lines.h"
#include "wasm/tree.h"

namespace moxi {

// What an imported function stands for.
enum class ImportUse : u8 {
    None,  // nothing: an error
    Sys,   // the machine's services
    Setjmp,
    Longjmp,
    Stop,
    MemoryBase,     // the image address of linear memory
    CartridgeBase,  // the same of the cartridge's memory
    Linked,         // a function of the module that is linked to this one
    Empty           // nothing is done: the cartridge lacks the function
};

struct ImportTarget {
    ImportUse use = ImportUse::None;
    u32 function = 0;  // of a Linked one: its number in the whole image
    // Of a Linked one whose type is not what the import says: what it takes and gives.
    const FunctionType* type = nullptr;
};

// Where the name of a function that may trap is kept.
struct TrapName {
    u32 module = 0;
    u32 cell = 0;  // in the translator's own data of that module
};

// What the translations of a module's functions share.
struct ModulePlan {
    const Module* module = nullptr;
    u32 number = 0;        // 0, or 1 of a module that is linked to another one
    u32 functionBase = 0;  // what the number of a function counts from in the whole image
    std::vector<ImportTarget> imports;  // of the imported functions
    bool checkBounds = false;
    bool canGrow = false;          // the module changes its memory's size
    std::vector<u32> globalCells;  // where each global lies in the translator's own data
    std::vector<u32> typeNumbers;  // a number for each type, equal for equal types
    u32 tableCell = 0;             // 8 bytes an entry: address, number of the type
    u32 tableSize = 0;
    u32 dataCells = 0;           // 8 bytes for each data segment: address, size left
    u32 elementCells = 0;        // likewise for each element segment
    std::vector<u32> nameCells;  // names of functions, by their number; 0 where none is needed yet
    std::vector<TrapName>* trapNames = nullptr;  // of the image; the traps' calls name them from 1
    std::vector<u32> trapNumbers;  // by function: its name's place among them; 0 for none yet
    std::vector<std::string>* routines =
        nullptr;                    // of the runtime, by number, as they came to be needed
    std::vector<u8> ownData;        // without what needs addresses
    std::vector<u32> elementItems;  // where the entries of each passive element segment lie
    SourceLines sources;            // of the module; empty without debug information
    std::vector<DebugFunction> debugFunctions;
    std::vector<SmallLeaf> leaves;  // by function
    std::vector<bool> stackChecks;  // by function: whether it looks for room on the stack
};

// The number of a routine of the runtime. The first call for a name adds it to those that are
// needed.
u32 RoutineNumber(ModulePlan& plan, const std::string& name);
// Where a function's name lies in the translator's own data. The first call puts it there.
u32 NameCell(ModulePlan& plan, u32 function);
// The place of a function's name in the list of those that trap, from 1. The first call adds it.
u32 TrapNumber(ModulePlan& plan, u32 function);

// The code of one trap, which stands behind the function's end.
struct TrapPlace {
    Trap trap = Trap::Unreachable;
    u32 function = 0;
    const SourceLine* line = nullptr;  // the line that traps; null where none is known
    u32 origin = 0;
    u32 label = 0;
};

// What BranchOnSigns leaves for behind the function's end: a comparison's way where the first
// operand is negative.
struct LateSigns {
    u32 isNegative = 0;  // label: where it stands
    u32 compare = 0;     // label: to go to where both signs are the same
    u32 target = 0;      // label: to go to where they differ
    Variable second = 0;
    OperandSize size = OperandSize::Long;
    u32 origin = 0;
};

struct Selector {
    ModulePlan& plan;
    FunctionCode& code;
    Trees trees;
    u32 function = 0;  // whose body is walked; a leaf's while it is built in
    u8 depth = 0;      // of loops
    u32 origin = 0;
    std::vector<TrapPlace> traps;
    std::vector<LateSigns> lateSigns;

    // --- Instructions (select.cpp)
    Variable NewVariable() { return code.variables++; }
    u32 NewLabel() { return code.labels++; }
    Instruction& Emit(const Instruction& instruction);
    void Two(TwoOperand op, OperandSize size, const Operand& a, const Operand& b);
    void One(OneOperand op, OperandSize size, const Operand& a);
    void Branch(Condition condition, u32 label);
    void TestBranch(Condition condition, OperandSize size, const Operand& a, u32 label);
    void Jump(u32 label);
    void Label(u32 label);
    // Where to go for a trap in the instruction that is being translated.
    u32 TrapLabel(Trap trap);
    // The code behind the function's end that reports its traps.
    void EmitTraps();

    // --- Values (select.cpp)

    // The value as the source operand of an operation of that size: computed first where it is
    // no constant, variable or memory.
    Operand Source(NodeId id, OperandSize size);
    // The variable that holds the value; a new one unless the tree is a variable itself.
    Variable InVariable(NodeId id);
    // A new variable with the value.
    Variable InNewVariable(NodeId id);
    // Computes the value into a variable. The tree may read that variable.
    void Assign(Variable to, NodeId id);
    // The same for a piece of memory of that size.
    void AssignMemory(const Operand& to, OperandSize size, NodeId id);
    // Copies an operand of a type into a variable, all 8 bytes of it; of 32 bits in memory or of a
    // constant the upper half becomes clear.
    void Put(Variable to, ValueType type, const Operand& from);
    // The same for what crosses a call, where of 32 bits only the lower half counts: Hand gives an
    // argument or a result away, Receive takes it.
    void Hand(Variable to, ValueType type, const Operand& from);
    void Receive(Variable to, ValueType type, const Operand& from);
    // A value that nobody wants: computes it only if it may trap.
    void Discard(NodeId id);

    // --- Operators on integers (select_operators.cpp)
    void Binary(Variable to, TwoOperand op, OperandSize size, NodeId a, NodeId b, bool commutes);
    bool BinaryWithShortLoad(Variable to, TwoOperand op, NodeId a, NodeId b);
    void Narrow(Variable to, OperandSize size, NodeId id);
    bool CanNarrow(NodeId id, OperandSize size) const;
    Operand NarrowSource(NodeId id, OperandSize size);
    bool AssignSimple(Variable to, const Node& node);
    bool AssignMask(Variable to, const Node& node);
    void AssignPlain(Variable to, NodeId id);
    void AssignSelect(Variable to, const Node& node);
    void AssignFrom(Variable to, NodeId held, NodeId id);
    void AssignRotate(Variable to, const Node& node, bool left);
    void AssignRemainder(Variable to, const Node& node, OperandSize size);
    void ClearUpper(Variable variable);

    // --- Conditions (select_compare.cpp)

    // Goes to the label if the value, an i32, is not 0, or with `sense` false if it is.
    void BranchOn(NodeId id, bool sense, u32 label);
    void AssignCondition(Variable to, NodeId id);
    bool BranchOnCompare(const Node& node, bool sense, u32 label);
    void BranchOnZero(NodeId id, OperandSize size, bool sense, u32 label);
    void BranchOnEqual(const Node& node, OperandSize size, bool sense, u32 label);
    void BranchOnOrder(NodeId a, NodeId b, OperandSize size, bool isSigned, Condition condition,
                       u32 label);
    void BranchOnSigns(NodeId a, NodeId b, OperandSize size, bool isSigned, Condition condition,
                       u32 label);
    void EmitLateSigns();
    bool KnowsSign(NodeId id, OperandSize size) const;
    bool HasSign(NodeId id, OperandSize size) const;
    u32 CostOfWidening(NodeId id) const;
    Operand Widened(NodeId id);
    bool IsWidenedOrder(NodeId first, NodeId second) const;
    void TightenBound(NodeId& second, bool isSigned, Condition& condition);
    bool BranchOnHighBits(NodeId first, NodeId second, Condition condition, u32 label);

    // --- Comparisons of floating-point numbers (select_float.cpp)

    void BranchOnFloat(const Node& node, bool sense, u32 label);
    void CompareWithConstant(Variable x, bool isNonNegative, bool isLong, u64 constant, u8 relation,
                             u32 yes, u32 no);
    void CompareEqual(NodeId a, NodeId b, bool isLong, u32 yes, u32 no);
    void CompareLess(NodeId a, NodeId b, bool isLong, u32 yes, u32 no);

    // --- Floating point and conversions (select_convert.cpp)

    // Computes what is not integer arithmetic. False when the operator is none of these.
    bool AssignConversion(Variable to, const Node& node);
    void AssignInPlace(Variable to, OneOperand op, OperandSize size, NodeId a);
    void AssignTruncation(Variable to, const Node& node, const char* routine);
    void AssignCopysign(Variable to, const Node& node);
    void CallRoutine(const char* name, NodeId a, const NodeId* b);

    // --- Memory (select_memory.cpp)

    // The operand for `bytes` bytes of linear memory at address + offset. Checks the bounds where
    // that was asked for.
    Operand Address(NodeId address, u64 offset, u32 bytes);
    void AssignLoad(Variable to, const Node& node);
    void Store(const MemoryOperator& row, NodeId address, u32 offset, NodeId value);
    void CheckRange(Variable start, Variable count);
    void MemoryCopy(NodeId to, NodeId from, NodeId count);
    void MemoryFill(NodeId to, NodeId value, NodeId count);
    void MemoryInit(u32 segment, NodeId to, NodeId from, NodeId count);
    void TableMove(u32 cell, NodeId to, NodeId from, NodeId count);
    Variable MemoryGrow(NodeId pages);
};

// Whether the low bytes of the operator's result depend on the low bytes of its operands alone;
// then `op` becomes the machine's operation for it.
bool IsLowBytes(Plain code, TwoOperand& op);
// The bits of a value of that size.
u64 MaskOf(OperandSize size);
// The size of the machine's operations on values of the type, and on 1, 2, 4 or 8 bytes of memory
// (any other number counts as 8).
OperandSize SizeOf(ValueType type);
OperandSize SizeOfBytes(u32 bytes);

}  // namespace moxi
