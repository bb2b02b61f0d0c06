#pragma once
// Memory safety at no cost per access: the image lies in a reserved, inaccessible address range,
// an access beyond the image raises a signal, and the signal ends the run with a message.

#include "vm/fault.h"

namespace moxi {

// Runs `run` with the guard armed: an access outside the image inside it becomes a MemoryFault.
// May be nested.
void RunGuarded(void (*run)());

// Told of an access outside the image before its run is given up, in the signal's handler and with
// the handler's ucontext_t: brings into the header what a run kept in the processor's registers.
extern void (*beforeFault)(void* context);

// Reserves the range, puts a zero-filled image of `size` bytes into it and sets `image` and
// `imageSize` (vm/machine.h). The image starts on a multiple of 64 and ends, but for at most 63
// bytes of padding, where the inaccessible rest of the range begins. False when there is not enough
// memory. A former image is released.
bool AllocateImage(u32 size);

// Releases the image and sets the machine's state to that of a new process. For tests.
void ResetMachine();

}  // namespace moxi
