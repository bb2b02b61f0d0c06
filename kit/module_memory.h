#pragma once
// The module's memory as the debugger and the profile reach it: what leaves the image is refused
// and never a fault.

#include <optional>

#include "base/bytes.h"
#include "vm/machine.h"

namespace moxi {

inline bool InImage(u32 address, u64 size) {
    return u64{address} + size <= imageSize;
}

// The T at an address, or nothing where it is not wholly in the image.
template <class T>
std::optional<T> Peek(u32 address) {
    if (!InImage(address, sizeof(T))) {
        return std::nullopt;
    }
    return LoadBytes<T>(image + address);
}

inline u32 HeaderLong(u32 offset) {
    return LoadBytes<u32>(image + offset);
}

// Writes a T; false where it would leave the image.
template <class T>
bool Poke(u32 address, T value) {
    if (!InImage(address, sizeof(T))) {
        return false;
    }
    StoreBytes<T>(image + address, value);
    return true;
}

}  // namespace moxi
