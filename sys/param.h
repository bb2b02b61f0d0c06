#pragma once
// How a service reaches its arguments and leaves its result. The module's parameter block is a run
// of 32-bit words: the command word, then the arguments. Handlers get the address of the first
// argument and read only the words that their command has, so a block may end with the image.

#include "base/types.h"
#include "vm/machine.h"

namespace moxi {

constexpr u32 kFailed = 0xFFFFFFFF;

// Argument `index`, counted from 0, of the block whose arguments start at `arguments`.
inline u32 Argument(u32 arguments, u32 index) {
    return Load<u32>(arguments + 4 * index);
}

// The same as the address of NUL-terminated text. Text that does not end in the image is a fault.
inline const char* TextArgument(u32 arguments, u32 index) {
    return CheckedString(Argument(arguments, index));
}

// Leaves a command's result in the low half of R14; the upper half keeps what it held.
inline void SetResult(u32 value) {
    Store<u32>(kHeaderR14, value);
}

// Stores all 64 bits of R14. Only the file time does this.
inline void SetResult64(u64 value) {
    Store<u64>(kHeaderR14, value);
}

}  // namespace moxi
