#pragma once
// Counts where a module's instructions go: by function, by call stack, by service and by message.
// Exact counts, from every executed instruction; functions by the module's symbols where there are
// any, else by the addresses that calls lead to; by source line where MAIN.LIN tells of them.

#include <string>

namespace moxi {

// Starts counting; from now on every instruction is executed the plain, slow way. The tables go to
// `path`, the call stacks to `path`.folded. A trace that has been started goes on; the profile
// takes its place before each instruction and calls it. Returns "" or the file that cannot be
// written.
std::string StartProfile(const std::string& path);

// The file of the call stacks.
std::string FoldedProfile(const std::string& path);

// Reads the symbols of the game in `folders`.
void NameProfile();

// Writes the files and stops counting; nothing when no profile is made.
void CloseProfile();

// The same from another thread, while the module is busy: at its next instruction, or not at all
// when none comes within a second.
void CloseProfileOfBusyModule();

}  // namespace moxi
