#pragma once
// Little-endian loads and stores on byte buffers. Addresses need no alignment.
// The machine's memory is little-endian, and so is every host that MOXI is built for.

#include <bit>
#include <cstring>

#include "base/types.h"

namespace moxi {

static_assert(std::endian::native == std::endian::little, "the machine's memory is used in place");

// Reads a T at `bytes`. The caller guarantees sizeof(T) readable bytes.
template <class T>
inline T LoadBytes(const u8* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// Writes `value` at `bytes`. The caller guarantees sizeof(T) writable bytes.
template <class T>
inline void StoreBytes(u8* bytes, T value) {
    std::memcpy(bytes, &value, sizeof value);
}

}  // namespace moxi
