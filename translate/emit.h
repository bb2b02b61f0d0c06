#pragma once
// Writes the processor's instructions for a region. x86-64.

#include <vector>

#include "translate/region.h"
#include "translate/translation.h"

namespace moxi {

// The registers, a bit for each, of which a region writes all 64 bits: they cannot be narrow.
u16 WideRegisters(const Region& region);

// Translates a region for the address `base`. The region is entered while `generation`, which has
// to outlive it, is not below the state's. No code when it cannot be done.
Translation EmitRegion(const Region& region, u8* base, const SharedCode& shared,
                       const u32* generation);

}  // namespace moxi
