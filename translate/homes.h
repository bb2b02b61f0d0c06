#pragma once
// Which of the module's registers live in the processor's.

#include <array>

#include "translate/region.h"

namespace moxi {

// How often each register is used, uses in loops weighing more: as a whole number or an address,
// and as a floating-point number.
struct RegisterUses {
    std::array<u64, 16> whole = {};
    std::array<u64, 16> floating = {};
};

void CountUses(const Region& region, RegisterUses& uses);

// As hostOf and vectorOf (translate/state.h).
struct Homes {
    std::array<i32, 16> hosts;
    std::array<i32, 16> vectors;
    bool operator==(const Homes&) const = default;
};
Homes HomesFor(const RegisterUses& uses);

// How many of the uses these homes serve.
u64 UsesServed(const RegisterUses& uses, const Homes& homes);

}  // namespace moxi
