#pragma once
// The end of the process: dumps, trace and recording are completed, then the process exits.

#include "app/options.h"

namespace moxi {

// What the end has to write; kept from the command line.
void PrepareFinish(const Options& options);

// Writes the dumps when a module has been loaded, shuts the desktop down and exits. Called on
// every path that ends a run; does not return.
void Finish(int status);

// Writes profile and dumps while the module is still busy and the process is ended from another
// thread.
void WriteDumpsOfForcedEnd();

}  // namespace moxi
