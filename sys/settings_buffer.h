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

namespace moxi {

using Place = std::size_t;
constexpr Place kNoPlace = static_cast<Place>(-1);

// True when there is a block.
bool HasSettingsBuffer();

// Replaces the block by an empty text. Without memory there is no block afterwards.
void MakeEmptySettingsBuffer();

// Replaces the block by one for a text of at most `size` bytes, all zero, and returns where to read
// them to; null, and no block, when there is not enough memory. SetSettingsText tells how many
// arrived.
u8* MakeSettingsBuffer(u64 size);
void SetSettingsText(u64 length);

void FreeSettingsBuffer();

// Keeps the block and empties the text.
void ClearSettingsBuffer();

// The end of what the block holds, and the end of the block's usable room.
Place SettingsTextEnd();
Place SettingsCapacity();

// The block, for reading alone. Behind the capacity lie 32 bytes of zeros.
const u8* SettingsBytes();

// The byte at `place`, NUL beyond the block.
u8 SettingsByte(Place place);

// A header's length word at `place`, which must lie below the capacity.
u32 SettingsWord(Place place);

// Makes sure that a text of `end` bytes fits the block with its NUL, after an insertion of
// `inserted` bytes. False without change when there is not enough memory.
bool ReserveSettings(u64 end, u64 inserted);

// Opens a gap of `count` bytes at `place`; what it holds is undefined. The bytes below the used
// length move up. False without change when there is not enough memory.
bool InsertSettings(Place place, u64 count);

// Takes `count` bytes out at `place`, at most what is there.
void RemoveSettings(Place place, u64 count);

// Writes over what stands at `place` and returns the place after it. Every change of a byte that
// is not an insertion or a removal goes this way: what would pass the capacity makes the block
// larger first. kNoPlace without change when there is not enough memory for that.
Place WriteSettings(Place place, const void* bytes, std::size_t count);

// Exchanges `bytes` with what stands at `place` and leaves the text as long as it is: for changes
// that are taken back at once. At most up to the zeros behind the capacity.
void ExchangeSettings(Place place, u8* bytes, std::size_t count);

}  // namespace moxi
