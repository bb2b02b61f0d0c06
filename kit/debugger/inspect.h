#pragma once
// What the debugger shows of the machine: registers, memory, frames and instructions.

#include <string_view>

#include "base/types.h"

namespace moxi {

constexpr u32 kMostShown = 100'000;  // rows of one answer

// The instruction that is next, after the message if it is the message's first.
void ShowLocation();

void ShowRegisters();
// One of R0..R15, at its place in the header, in every reading.
void ShowRegister(u32 place);

// The frames from the running function outwards, at most `count`.
void ShowFrames(u32 count);

// `count` items of a size (b w l q f d) from an address on, bytes with their characters.
void ShowMemory(u32 address, char size, u32 count);

// The string at an address.
void ShowText(u32 address);

// `count` instructions from an address on.
void ShowInstructions(u32 address, u32 count);

// The newest entries of the PC trace, the newest last.
void ShowTrace(u32 count);

// Bytes of an item of this size; 0 for no size.
u32 BytesOfSize(char size);

}  // namespace moxi
