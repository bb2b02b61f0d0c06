#pragma once
// Writes each executed instruction as text, for people who debug a module: its address, the
// instruction, and the registers and flags that it changed.

#include <string>

namespace moxi {

// Starts tracing into the file; false when it cannot be written.
bool StartTrace(const std::string& path);

// Completes the file; nothing when no trace is written.
void CloseTrace();

}  // namespace moxi
