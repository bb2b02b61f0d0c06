#pragma once
// What is known where a block begins, so that it need not be compared again: how far below FP and
// SP the module's memory may be written, and how far they are from each other.

#include <limits>
#include <vector>

#include "translate/region.h"

namespace moxi {

// Operands in the frame farther from FP than this are looked at one by one.
constexpr i32 kNearFrame = 65536;

constexpr i32 kNoFrame = std::numeric_limits<i32>::max();
constexpr i32 kNoStack = -1;

constexpr i32 kNoDepth = -1;

struct Facts {
    // Operands in the frame from this offset up to kNearFrame lie above all translated code.
    i32 frame = kNoFrame;
    // So many bytes below SP do, too.
    i32 stack = kNoStack;
    // FP is probably so far above SP: it is where no code that has been seen does otherwise.
    // Nothing may rely on it without a look.
    i32 depth = kNoDepth;
    bool operator==(const Facts&) const = default;
};

// The offsets from FP, not farther than kNearFrame, that instructions use. None while low > high.
struct FrameRange {
    i32 low = kNearFrame;
    i32 high = -kNearFrame;
    void Add(i32 offset);
    void Add(const FrameRange& other);
    bool IsEmpty() const { return low > high; }
};

// What an instruction does with frame and stack.
struct StackUse {
    FrameRange frame;
    // The offsets that are used from it on, up to the end of its block or the next LINK.
    FrameRange from;
    u32 pushed = 0;  // bytes, or LINK's room
    u32 popped = 0;
    bool isLink = false;
};

// What holds behind an instruction when `facts` hold before it and what it needs has been compared.
// A CALL leaves what its target finds.
Facts FactsAfter(const StackUse& use, Facts facts);

struct RegionFacts {
    std::vector<StackUse> uses;  // of each instruction
    // For each block what holds wherever other blocks of the region go on in it; where it is
    // entered from elsewhere this has to be compared.
    std::vector<Facts> before;
};
RegionFacts FindFacts(const Region& region);

// A CALL before which FP is so far above SP, if it is, leaves FP out of what it puts on the
// processor's stack: where it comes back it is worked out again, and compared.
constexpr i32 kMostDepth = 32768;
constexpr bool IsNearFrame(const Facts& facts) {
    return facts.depth != kNoDepth && facts.depth <= kMostDepth;
}

}  // namespace moxi
