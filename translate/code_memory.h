#pragma once
// The memory that translated code lies in, never writable and executable at once, and the tables by
// address of the module's code. translatedState says where they lie.

#include <vector>

#include "base/types.h"

namespace moxi {

constexpr size_t kCodeMemory = size_t{16} << 20;

// The code memory, once for all images. False when the system does not give it.
bool MakeCodeMemory();

// Empty tables for the present image. False when there is no memory.
bool MakeTables();

// Puts bytes into the code memory, which is not executable meanwhile where they come to lie.
void WriteCode(u8* to, const std::vector<u8>& bytes);

// Where in the code memory the translation of the code at an address is entered; 0 when there is
// none.
void SetEntry(u32 pc, u32 offset);
u32 EntryAt(u32 pc);

// Translated code is made of the words from an address on, so many bytes; and of none any more.
void Cover(u32 pc, u32 bytes);
void UncoverEverything();

// Whether translated code was made of any of the 8 bytes at an address, or they are the header's.
bool IsCovered(u32 address);

// The same for so many bytes.
bool AreCovered(u32 address, u64 bytes);

}  // namespace moxi
