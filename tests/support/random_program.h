#pragma once
// Random module images for the comparison of the two executors: instruction streams with operands
// that mostly make sense, from a seed.

#include <vector>

#include "base/types.h"

namespace moxi {

// The same number sequence with every compiler and library.
class Random {
  public:
    explicit Random(u64 seed);
    u64 Next();
    u32 Below(u32 limit);            // 0 .. limit - 1
    u32 Between(u32 low, u32 high);  // both included
    bool OneIn(u32 n) { return Below(n) == 0; }

  private:
    u64 state;
};

// What a program does more often than others.
enum class ProgramKind {
    Any,
    Services,      // SYS everywhere
    SelfChanging,  // stores into its own code
    Faulting,      // operands near both ends of the image, and stacks near the lower one
    Watched,       // code on pages of its own, with data in front of it, and stores into both
};

// An image of a few thousand bytes: a message frame on the stack, code from 512 on, pointers and
// numbers in the registers, random data.
std::vector<u8> RandomProgram(u64 seed, ProgramKind kind = ProgramKind::Any);

// Where the code of a program of this kind begins: a watched one has a jump there at 512.
u32 CodeOfRandomProgram(const std::vector<u8>& program, ProgramKind kind);

}  // namespace moxi
