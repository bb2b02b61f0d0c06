#pragma once
// Fills every function slot: how the rooms meet, on one page. Nothing else writes one but tests.

#include "app/options.h"

namespace moxi {

void WireRooms(const Options& options);

}  // namespace moxi
