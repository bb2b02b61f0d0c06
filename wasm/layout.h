#pragma once
// What the translated code and the runtime (library/moxi/wasm_runtime.inc) both know.

#include "base/types.h"

namespace moxi {

// The translator's own data begins with these cells: offsets in bytes. The runtime has the same
// numbers for them.
constexpr u32 kPagesCell = 0;     // u32: the memory's size in pages
constexpr u32 kBaseCell = 4;      // u32: its image address
constexpr u32 kLimitCell = 8;     // u64: the memory's size in bytes
constexpr u32 kBlockCell = 16;    // a service's parameter block of six words
constexpr u32 kNamesCell = 40;    // u32: the address of the list of the names of what traps
constexpr u32 kTableCell = 48;    // u64: how many entries the table has
constexpr u32 kResultCells = 56;  // the second and further results of a call, 8 bytes each

// The routine of a trap reports the name of the function that trapped. The CALL that goes to it has
// the name's number, which counts from 1, in the 16 bits that otherwise say how many bytes of
// arguments there are. A number that is larger than they can hold becomes 0, and R14 holds the
// name's address.
constexpr u32 kMostTrapNumbers = 65535;

// X(enumerator, routine of the runtime, what the log calls it)
#define WASM_TRAPS(X)                                                        \
    X(Unreachable, "trap_unreachable", "unreachable")                        \
    X(DivideByZero, "trap_divide", "integer divide by zero")                 \
    X(Overflow, "trap_overflow", "integer overflow")                         \
    X(InvalidConversion, "trap_conversion", "invalid conversion to integer") \
    X(UndefinedElement, "trap_undefined", "undefined element")               \
    X(WrongEntry, "trap_entry", "indirect call type mismatch")               \
    X(StackOverflow, "trap_stack", "stack overflow")                         \
    X(OutOfBounds, "trap_bounds", "out of bounds memory access")

enum class Trap : u8 {
#define X(name, label, text) name,
    WASM_TRAPS(X)
#undef X
};

inline constexpr const char* kTrapLabels[] = {
#define X(name, label, text) label,
    WASM_TRAPS(X)
#undef X
};
constexpr u32 kTrapCount = sizeof kTrapLabels / sizeof kTrapLabels[0];

}  // namespace moxi
