#pragma once
// The debugger: stops the module before an instruction and talks with its author in the terminal.
// The conversation is on standard input and output and nothing else of a run goes there.

#include <atomic>
#include <string_view>

namespace moxi {

// The module stops at its first instruction, at the breakpoints that are set, and before a fatal
// message is shown. Reads MAIN.SYM beside the MAIN.MX that will be loaded.
void StartDebugger();

// Asks the module to stop; a signal handler sets it. The debugger sets it itself while it talks and
// clears it when the module runs on.
inline constinit std::atomic<bool> stopRequest = false;
static_assert(std::atomic<bool>::is_always_lock_free);

// The wiring has it called before each fatal message. Nothing without a debugger.
void StopBeforeFatalMessage(std::string_view text);

// Says that the run ends. Nothing without a debugger.
void CloseDebugger(int status);

}  // namespace moxi
