#pragma once
// What is known where a block begins, so that it need not be compared again: how far below FP and SP the
// module's memory may be written.

#include <limits>
#include <vector>

#include "translate/region.h"

namespace moxi {

// Operands in the frame farther from FP than this are looked at one by one.
constexpr i32 kNearFrame = 65536;

constexpr i32 kNoFrame = std::numeric_limits<i32>::max();
constexpr i32 kNoStack = -1;

struct Facts {
    // Operands in the frame from this offset up to kNearFrame lie above all translated code.
    i32 frame = kNoFrame;
    // So many bytes below SP do, too.
    i32 stack = kNoStack;
    bool operator==(const Facts&) const = default;
};

// The offsets from FP, not farther than kNearFrame, that an instruction uses. None while low > high.
struct FrameRange {
    i32 low = kNearFrame;
    i32 high = -kNearFrame;
    void Add(i32 offset);
    bool IsEmpty() const { return low > high; }
};
FrameRange FrameUse(const Instruction& in);

// The offsets that are used from an instruction of a block on, up to its end or the next LINK.
FrameRange FrameUseFrom(const Region& region, const Block& block, u32 index);

// How many bytes an instruction pushes, or LINK makes room for; 0 when it does nothing of that.
u32 PushedBy(const Instruction& in);

// What holds behind an instruction of a block when `facts` hold before it and what it needs has been
// compared. A CALL leaves what its target finds.
Facts FactsAfter(const Region& region, const Block& block, u32 index, Facts facts);

// What holds where a CALL comes back to, as `facts` hold before it.
Facts FactsReturned(const Facts& facts);

// For each block what holds wherever other blocks of the region go on in it; where it is entered from
// elsewhere this has to be compared.
std::vector<Facts> FindFacts(const Region& region);

}  // namespace moxi
