#pragma once

namespace moxi {

// Fills every function slot: how the rooms meet, on one page.

void WireRooms();

}  // namespace moxi
