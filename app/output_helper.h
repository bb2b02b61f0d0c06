#pragma once
// A helper process that opens the files which the user asked for, once this process may write only
// below the game's data folder. It is told beforehand which files these may be.

#include "app/output_requests.h"

namespace moxi {

// Starts the helper and points `outputFiles` at it; nothing without places. The helper is a copy of
// this process with the rights of the moment, so it is made before the sandbox and before threads.
// False when there can be no helper.
bool StartOutputHelper(const OutputPlaces& places);

// Ends the helper; `outputFiles` opens by itself again.
void StopOutputHelper();

}  // namespace moxi
