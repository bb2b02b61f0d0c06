#pragma once
// The memory of the settings file in use: one block of text with room to grow. It knows nothing of
// sections and keys; it inserts, removes and keeps every access inside the block.
//
// All places are offsets from the block's start. Everything from textEnd on is zero, so a scan that
// stops at a NUL always stops. Normally the used length is the text and its NUL; text written past
// a gap that was made too small (AppendString) stands beyond the used length, and the moves of
// later insertions do not take it along.

#include <cstddef>

#include "base/types.h"

using Place = std::size_t;
constexpr Place kNoPlace = static_cast<Place>(-1);

// True when there is a block.
bool HasSettingsBuffer();

// Replaces the block by an empty text. Without memory there is no block afterwards.
void MakeEmptySettingsBuffer();

// Replaces the block by one with room for `size` bytes, all zero; false, and no block, when there
// is not enough memory. SettingsBytes() is where to read them to; SetSettingsText tells how many
// arrived.
bool MakeSettingsBuffer(u64 size);
u8* SettingsBytes();
void SetSettingsText(u64 length);

void FreeSettingsBuffer();

// Keeps the block and empties the text.
void ClearSettingsBuffer();

// The end of what the block holds, and the end of the block's usable room.
Place SettingsTextEnd();
Place SettingsCapacity();

// The byte at `place`, NUL beyond the block.
u8 SettingsByte(Place place);

// A header's length word at `place`, which must lie below the capacity.
u32 SettingsWord(Place place);
void SetSettingsWord(Place place, u32 value);

// Makes sure that `end` bytes fit the block. False without change when there is not enough memory.
bool ReserveSettings(u64 end, u64 inserted);

// Opens a gap of `count` bytes at `place`; what it holds is undefined. The bytes below the used
// length move up. False without change when there is not enough memory.
bool InsertSettings(Place place, u64 count);

// Takes `count` bytes out at `place`, at most what is there.
void RemoveSettings(Place place, u64 count);

// Writes over what stands at `place` and returns the place after it. The room must have been
// inserted or reserved.
Place WriteSettings(Place place, const void* bytes, std::size_t count);
