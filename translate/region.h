#pragma once
// A region: the code that is reached from one address by what can be seen in the code itself, as
// far as a limit, cut into blocks. It is what is translated at a time.

#include <vector>

#include "translate/decode.h"

namespace moxi {

// A stretch of instructions that is entered at its first one alone. Branches may leave it anywhere.
struct Block {
    u32 first = 0;  // index of the first instruction
    u32 count = 0;
};

struct Region {
    std::vector<DecodedInstruction> instructions;  // by rising address
    std::vector<Block> blocks;                     // by rising address
    std::vector<u32> starts;                       // the addresses that the blocks begin at
};

constexpr u32 kLargestRegion = 600;  // instructions
constexpr u32 kMostRepeated = 100;

// Branches reach 16 MB; calls and returns may go farther, and are interpreted there. What checks
// operands in the frame relies on it that translated code ends here.
constexpr u64 kMostCode = u64{16} << 20;

// The region around the instruction at `entry`, which is a multiple of 4 of 512 or more. No
// instructions when there is nothing to translate. Of what `isTranslated` says begins a block that
// has its translation already, it has no more than kMostRepeated instructions: a large function
// that is entered at a hundred places is not to be translated a hundred times.
using IsTranslated = bool (*)(u32 pc);
Region FindRegion(u32 entry, IsTranslated isTranslated = nullptr, u32 largest = kLargestRegion);

// The index of the block that begins at `pc`, or -1.
int BlockAt(const Region& region, u32 pc);

}  // namespace moxi
