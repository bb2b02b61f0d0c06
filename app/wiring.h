#pragma once
// Fills every function slot: how the rooms meet, on one page. Nothing else writes one but tests.

#include "app/options.h"
#include "surface/shelf.h"

namespace moxi {

void WireRooms(const Options& options);

// The same for the process that shows the shelf, in which no module runs.
void WireShelf(const ShelfActions& actions, void (*endProcess)(int status));

}  // namespace moxi
