#pragma once
// Which functions look whether the stack has room left.

#include <vector>

#include "wasm/leaves.h"
#include "wasm/module.h"

namespace moxi {

// By function of a validated module: whether it has to look when it is called. `leaves` are those
// of the module (FindSmallLeaves). A function that does not look is only called directly, from
// within the module, and every ring of calls has a function that looks. Between two that look lie
// so few frames that all of them fit into the reserve below the stack's room (kStackReserve of
// image.cpp), however large they are.
std::vector<bool> FindStackChecks(const Module& module, const std::vector<SmallLeaf>& leaves);

}  // namespace moxi
