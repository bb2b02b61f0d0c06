#pragma once
// What translated code keeps to itself is brought to where others look: where it is left, where it
// faults, and where another thread looks.

#include "base/types.h"

namespace moxi {

// How many of the newest entries of the PC trace are complete, and where the code lies in which the
// run is on its way to the address in eax. In the shared code behind it the header has the module's
// registers, and the processor's hold something else.
struct Settling {
    u32 traceDepth = 16;
    const u8* jump = nullptr;
    const u8* jumpEnd = nullptr;
};
extern Settling settling;

// For how many instructions of the newest block were executed.
constexpr u32 kAllExecuted = ~u32{0};

// The last instruction of the newest block, where the run has come to a place of the log.
struct LastPlace {
    u32 pc = 0;
    u32 executedBefore = 0;  // of the block's instructions
};
LastPlace LastOfNewest(u32 place);

// Brings the PC trace up to date, and the immediate slot, where the run has come to a place of the
// log and has executed so many instructions of the newest block.
void WriteTrace(u32 place, u32 executed);

// Translated code has reached outside the image: for beforeFault (vm/guard.h).
void OnFaultInCode(void* context);

// The present thread is the one that SettleModuleThread has bring its registers into the header.
void InstallSettling();
void SettleModuleThread();

}  // namespace moxi
