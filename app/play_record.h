#pragma once
// What is remembered of a run in a window (host/played.h): when it began, how long it took, and how
// the game looked at its end. A headless run leaves no trace, and neither does one whose data
// folder the user has named.

#include <string>
#include <vector>

#include "app/options.h"

namespace moxi {

// Reads the record of the game that the user has named, as only a process can that has not yet
// restricted itself. Returns the files that the run is going to write.
std::vector<std::string> PreparePlayRecord(const Options& options);

// The game has been found and begins: notes the time.
void RecordPlayBegin();

// The run ends.
void RecordPlayEnd();

}  // namespace moxi
