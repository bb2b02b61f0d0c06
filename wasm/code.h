#pragma once
// The code of one function on its way to the machine: a list of machine instructions whose register
// operands are variables, of which there are as many as one likes. The machine's own registers are
// the variables 0..15. Allocation (allocate.h) gives every other variable a register or a place in
// the frame, which the machine takes as an operand just as well; encoding (encode.h) makes words.

#include <vector>

#include "base/types.h"
#include "vm/opcodes.h"

namespace moxi {

using Variable = u32;
constexpr Variable kFirstVariable = 16;  // below are the machine's registers
constexpr u32 kArgumentRegisters = 4;    // R0..R3 pass the first arguments
constexpr u32 kLastCallerSaved = 5;      // a call may change R0..R5
constexpr Variable kResultRegister = 0;  // of a call's first result
constexpr Variable kServiceResult = 14;  // where SYS leaves its result
constexpr Variable kServiceBlock = 15;   // where SYS takes the address of its parameters

enum class Place : u8 {
    None,
    Register,   // the variable itself
    Indexed,    // memory at variable + value
    Absolute,   // memory at value
    Frame,      // memory at FP + value
    Immediate,  // value
};

// What is added to a value when all addresses are known.
enum class Base : u8 {
    None,
    Memory,     // the image address of linear memory's first byte
    Cartridge,  // the same of the module that is linked to this one
    Data,       // the image address of the translator's own data
    Function,  // value is the number of a function in the whole image, which stands for its address
};

struct Operand {
    Place place = Place::None;
    Base base = Base::None;
    Variable variable = 0;
    i64 value = 0;
    bool operator==(const Operand&) const = default;
};

inline Operand InRegister(Variable variable) {
    return {Place::Register, Base::None, variable, 0};
}
inline Operand AtIndex(Variable variable, Base base, i64 value) {
    return {Place::Indexed, base, variable, value};
}
inline Operand AtAddress(Base base, i64 value) {
    return {Place::Absolute, base, 0, value};
}
inline Operand Number(i64 value, Base base = Base::None) {
    return {Place::Immediate, base, 0, value};
}
inline Operand InFrame(i64 offset) {
    return {Place::Frame, Base::None, 0, offset};
}
inline bool IsMemory(const Operand& operand) {
    return operand.place == Place::Indexed || operand.place == Place::Absolute ||
           operand.place == Place::Frame;
}

enum class Kind : u8 {
    Nothing,     // an instruction that was removed
    Two,         // a TwoOperand of `size` on a and b
    One,         // a OneOperand of `size` on a
    Branch,      // on flags, to label `target`
    TestBranch,  // tests a at `size`, to label `target`
    Jump,        // to label `target`
    Label,       // `target` stands here
    Call,  // function `target` of the image; `arguments` registers are passed, `pushed` bytes on
           // the stack
    CallRoutine,   // routine `target` of the runtime
    CallRegister,  // through the variable a
    TableJump,     // through table `target` of the function, a is the index times 4
    JumpRoutine,   // to a routine of the runtime that does not come back, with the number `pushed`
    Service,       // SYS
    Stop,
    Return,
};

struct Instruction {
    Kind kind = Kind::Nothing;
    u8 operation = 0;  // TwoOperand or OneOperand, or Condition
    OperandSize size = OperandSize::Long;
    u8 arguments = 0;  // registers that a call reads, or that a return hands over
    bool isSetjmp = false;
    bool isLate = false;  // stands behind the function's end, far from the source it comes from
    bool isLow =
        false;  // of a copy or a push: nobody looks at the upper half of what it hands over
    u32 target = 0;
    u32 pushed = 0;
    u32 origin = 0;  // offset in the module's file of what it comes from, for source lines
    Operand a;
    Operand b;
};

struct FunctionCode {
    std::vector<Instruction> instructions;
    std::vector<u8> depths;                // of loops, one for each instruction
    std::vector<std::vector<u32>> tables;  // labels of jump tables
    u32 variables = kFirstVariable;        // how many there are, with the machine's registers
    u32 labels = 0;                        // how many there are; they are numbered from 0
    Variable frameBase = 0;  // keeps the C frame's address throughout, for a debugger; 0 for none
    std::vector<Variable> watched;  // the locals, where a debugger wants to know of them
    bool callsSetjmp = false;
    bool hasCalls = false;
};

// What an instruction does with its register operands.
struct Roles {
    bool readsA = false;
    bool writesA = false;
    bool readsB = false;  // b may also be the base of an indexed operand, which is always read
};

Roles RolesOf(const Instruction& instruction);

// Whether it leaves flags that a branch can use, so that others before it do not matter any more.
bool SetsFlags(const Instruction& instruction);

// Whether the instruction does nothing but write its variable and the flags, so that it may be
// removed where nobody reads those.
bool IsPure(const Instruction& instruction);

}  // namespace moxi
