#pragma once
// What the translation of a region is.

#include <vector>

#include "base/types.h"

namespace moxi {

// Where in translated code an instruction of the module begins.
struct CodePlace {
    u32 offset = 0;  // in the translation
    u32 pc = 0;
    u32 slot = 0;  // what its block has put into the immediate slot so far, itself included,
    bool fillsSlot = false;  // if it has; the image may not have it yet
    u16 index = 0;           // in its block
};

// Where a block begins.
struct BlockPlace {
    u32 offset = 0;
    u32 firstPlace = 0;  // of its instructions
    u16 count = 0;
    // Of the block before it in the log no more than so many instructions were executed.
    u16 executedBefore = kAllExecuted;
    static constexpr u16 kAllExecuted = 0xFFFF;
};

// Code behind that of the blocks, for what is rare.
struct Aside {
    u32 offset = 0;
    u32 place = 0;              // the number of the place that it belongs to, or kBetween
    bool isBehindNote = false;  // the log names the block that comes next already
    // On the way to the instruction whose address is in eax.
    static constexpr u32 kBetween = ~u32{0};
};

struct Translation {
    std::vector<u8> code;
    std::vector<CodePlace> places;   // by rising offset
    std::vector<BlockPlace> blocks;  // likewise
    std::vector<Aside> asides;       // likewise, behind all places
    struct Entry {
        u32 pc = 0;
        u32 offset = 0;
    };
    std::vector<Entry> entries;
    // Addresses at which it stores up to 8 bytes without a check, because no code was translated
    // there.
    std::vector<u32> writes;
};

// The code that all regions share, and where it lies.
struct SharedCode {
    u8* enter = nullptr;  // a handler of the interpreter: goes on in translatedState.entered
    u8* leave = nullptr;  // PC in eax, the number of executed instructions of the block in edx:
                          // goes on in the interpreter
    u8* leaveAfter = nullptr;  // the same when all of the block was executed
    u8* arrive = nullptr;      // the same for want of a comparison with the module's code
    u8* emptyStack = nullptr;  // forgets where calls go on
    // A RETURN has come to a CALL other than its own, or with another FP than was foretold: finds
    // where it belongs. strayFrame first drops the FP that the CALL left on the processor's stack.
    u8* strayReturn = nullptr;
    u8* strayFrame = nullptr;
    u8* jump = nullptr;       // PC in eax: goes on in its translation, or in the interpreter
    u8* moveBlock = nullptr;  // called with what MoveBlock gets in edx, ecx, eax: "zero" when the
                              // interpreter has to do it
};

}  // namespace moxi
