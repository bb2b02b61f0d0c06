#pragma once
// Writes the processor's instructions that lead into translated code and out of it. x86-64.

#include <vector>

#include "translate/translation.h"

namespace moxi {

// What shared code goes on in, or calls.
struct HostRoutines {
    const void* leave = nullptr;        // the handler in which runs go on that leave
    const void* leaveReturn = nullptr;  // and of those that leave at the newest block's RETURN
    const void* arrive = nullptr;       // and of those that arrive
    const void* moveBlock = nullptr;    // of the type of MoveBlock
};

// Writes the shared code for the address `base`.
std::vector<u8> EmitSharedCode(u8* base, const HostRoutines& host, SharedCode& shared);

}  // namespace moxi
