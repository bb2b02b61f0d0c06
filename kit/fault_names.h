#pragma once
// Names the routines of a fatal message in debug.log, for players' reports: the message itself
// knows addresses alone.

#include <string_view>

namespace moxi {

// A line of debug.log for a fatal message that comes while the module runs: the routine that it
// ran, and those that had called it. Nothing without a MAIN.SYM beside the module. On the main
// thread.
void NameFaultInDebugLog(std::string_view message);

}  // namespace moxi
