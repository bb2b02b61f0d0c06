#include "sys/settings_buffer.h"

#include <algorithm>
#include <cstring>

#include "base/bytes.h"
#include "sys/system_calls.h"

namespace moxi {

namespace {

constexpr u64 kEmptyCapacity = 2048;
constexpr u64 kGrowth = 2048;
// A larger file is no settings file: it counts as one that there is no memory for.
constexpr u64 kMaximalCapacity = u64{256} << 20;
// Zero bytes behind the capacity: a section header that is cut off there is still inside the block.
constexpr u64 kSlack = 32;

constinit u8* block = nullptr;
constinit u64 capacity = 0;
constinit u64 usedLength = 0;  // with the NUL
constinit u64 textEnd = 0;

u8* AllocateZeroed(u64 size) {
    if (size > kMaximalCapacity) {
        return nullptr;
    }
    void* const bytes = systemCalls.allocate(size + kSlack);
    if (bytes != nullptr) {
        std::memset(bytes, 0, size + kSlack);
    }
    return static_cast<u8*>(bytes);
}

}  // namespace

bool HasSettingsBuffer() {
    return block != nullptr;
}

void MakeEmptySettingsBuffer() {
    if (MakeSettingsBuffer(kEmptyCapacity - 1) != nullptr) {
        SetSettingsText(0);
    }
}

u8* MakeSettingsBuffer(u64 size) {
    FreeSettingsBuffer();
    block = AllocateZeroed(size + 1);
    if (block == nullptr) {
        return nullptr;
    }
    capacity = size + 1;
    usedLength = 1;
    return block;
}

const u8* SettingsBytes() {
    return block;
}

void SetSettingsText(u64 length) {
    textEnd = length < capacity ? length : capacity - 1;
    length = textEnd;
    usedLength = length + 1;
}

void FreeSettingsBuffer() {
    if (block != nullptr) {
        systemCalls.release(block);
    }
    block = nullptr;
    capacity = usedLength = textEnd = 0;
}

void ClearSettingsBuffer() {
    if (block == nullptr) {
        return;
    }
    std::memset(block, 0, textEnd);
    SetSettingsText(0);
}

Place SettingsTextEnd() {
    return textEnd;
}

Place SettingsCapacity() {
    return capacity;
}

u8 SettingsByte(Place place) {
    return place < capacity + kSlack ? block[place] : u8{0};
}

u32 SettingsWord(Place place) {
    return LoadBytes<u32>(block + place);
}

bool ReserveSettings(u64 end, u64 inserted) {
    if (end < capacity) {
        return true;
    }
    u64 size = capacity + inserted + kGrowth;
    if (size <= end) {
        size = end + 1;
    }
    u8* const grown = AllocateZeroed(size);
    if (grown == nullptr) {
        return false;
    }
    std::memcpy(grown, block, capacity);
    systemCalls.release(block);
    block = grown;
    capacity = size;
    return true;
}

bool InsertSettings(Place place, u64 count) {
    const u64 start = place > usedLength ? place : usedLength;
    if (!ReserveSettings(start + count, count)) {
        return false;
    }
    const bool pastUsed = textEnd >= usedLength;
    if (place < usedLength) {
        std::memmove(block + place + count, block + place, usedLength - place);
    }
    usedLength += count;
    // In the usual case the last byte that moved is the NUL.
    const u64 moved = pastUsed ? usedLength : usedLength - 1;
    if (moved > textEnd) {
        textEnd = moved;
    }
    return true;
}

void RemoveSettings(Place place, u64 count) {
    if (place >= textEnd) {
        return;
    }
    if (count > textEnd - place) {
        count = textEnd - place;
    }
    std::memmove(block + place, block + place + count, textEnd - place - count);
    textEnd -= count;
    std::memset(block + textEnd, 0, count);
    const u64 below = place + 1 < usedLength ? usedLength - 1 - place : 0;
    usedLength -= count < below ? count : below;
}

Place WriteSettings(Place place, const void* bytes, std::size_t count) {
    if (place == kNoPlace || !ReserveSettings(place + count, 0)) {
        return kNoPlace;
    }
    if (count != 0) {
        std::memcpy(block + place, bytes, count);
    }
    if (place + count > textEnd) {
        textEnd = place + count;
    }
    return place + count;
}

void ExchangeSettings(Place place, u8* bytes, std::size_t count) {
    if (place > capacity || count > kSlack) {
        return;
    }
    std::swap_ranges(bytes, bytes + count, block + place);
}

}  // namespace moxi
