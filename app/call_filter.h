#pragma once
// Filters of system calls, and limits of the process. What a filter refuses fails with EPERM;
// builds for debugging tell each such call once in the log.

#include <string>

namespace moxi {

// Everything that a game's process never does once its window is there: starting programs, looking
// into other processes, sockets but those of this machine, mounts, keys, and whatever else changes
// the system. For all threads, and for good. Returns "" or why there is no filter.
std::string FilterGameCalls();

// Nothing but what opening and removing named files takes, the same of opening devices, and of
// passing on addresses. Where there is no filter the helper goes on without one.
void FilterOutputHelperCalls();
void FilterPadHelperCalls();
void FilterUrlHelperCalls();

// No core dumps, and bounds for open files and for the user's processes.
void LimitResources();

}  // namespace moxi
