#pragma once
// The fatal message box and the debug log.

#include <string>
#include <string_view>

#include "base/log.h"
#include "base/types.h"

namespace moxi {

constexpr u32 kMessageBufferSize = 1024;

// Shows `text` (8-bit Mac Roman, cut to 1,023 bytes) in the modal fatal message box and as
// "fatal: TEXT" on standard error. Returns when the box is dismissed; it does not end the process,
// each caller decides what follows. Called on a thread other than the main one, it has the main
// thread show the box and never returns.
void ShowFatalMessage(std::string_view text);

// The module gets its next message, or is done with it. From the third box of one message on a box
// offers the end of the program: without that a module that shows boxes for ever could not be ended
// from its window.
void CountBoxesAnew();

// Appends the bytes to debug.log in the data folder. A file that cannot be opened or made drops
// them.
void AppendDebugLog(std::string_view bytes);

// The status of a run that the user had to end because the module did not answer.
constexpr int kForcedEnd = 1;

// Ends the process through vmSlots.endProcess.
[[noreturn]] void EndProcess(int status);

}  // namespace moxi
