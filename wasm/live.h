#pragma once
// Where the variables of a function are alive: the usual backward flow of reads and writes over its
// blocks, repeated until nothing changes (Kildall, A unified approach to global program
// optimization, 1973).
//
// Instruction i reads at position 2 i and writes at 2 i + 1, so that what ends in an instruction
// and what begins there may share a register.

#include <vector>

#include "wasm/code.h"

namespace moxi {

struct Range {
    u32 from = 0;
    u32 to = 0;  // not included
};

struct Liveness {
    std::vector<std::vector<Range>> ranges;  // by variable, in order, none touching the next
    std::vector<u32> crossesSetjmp;          // variables alive across a call of setjmp
};

// Instructions whose results nobody reads become Kind::Nothing on the way; every other one keeps
// its index.
Liveness FindLiveness(FunctionCode& code);

// Whether two lists of ranges have a position in common. Both are ascending, as Liveness has them.
bool Overlap(const std::vector<Range>& a, const std::vector<Range>& b);

// Calls f(variable, reads, writes) for each variable that the instruction's operands name. One that
// it writes comes last. What a call or a return does to the machine's registers is not told.
template <class F>
void ForEachVariable(const Instruction& instruction, F f) {
    if (instruction.kind == Kind::Nothing) {
        return;
    }
    const Roles roles = RolesOf(instruction);
    if (instruction.b.place == Place::Register || instruction.b.place == Place::Indexed) {
        f(instruction.b.variable, true, false);
    }
    if (instruction.a.place == Place::Register) {
        if (roles.readsA || roles.writesA) {
            f(instruction.a.variable, roles.readsA, roles.writesA);
        }
    } else if (instruction.a.place == Place::Indexed) {
        f(instruction.a.variable, true, false);
    }
}

}  // namespace moxi
