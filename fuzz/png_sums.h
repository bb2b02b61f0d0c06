#pragma once
// Right check sums for changed PNGs, which no mutation would hit upon.

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

#include "base/types.h"

namespace moxi {

inline u32 PngSum(const u8* bytes, std::size_t size) {
    static const std::array<u32, 256> table = [] {
        std::array<u32, 256> sums = {};
        for (u32 byte = 0; byte < 256; ++byte) {
            u32 sum = byte;
            for (int bit = 0; bit < 8; ++bit) {
                sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320u : 0u);
            }
            sums[byte] = sum;
        }
        return sums;
    }();
    u32 sum = 0xFFFFFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        sum = table[(sum ^ bytes[i]) & 255] ^ (sum >> 8);
    }
    return ~sum;
}

// Of every PNG in the bytes, as far as its chunks lie in them.
inline void MendPngSums(u8* data, std::size_t size) {
    constexpr u8 kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    constexpr std::size_t kAround = 12;  // length, type and sum of a chunk
    u8* const end = data + size;
    for (u8* at = std::search(data, end, std::begin(kSignature), std::end(kSignature)); at != end;
         at = std::search(at, end, std::begin(kSignature), std::end(kSignature))) {
        at += std::size(kSignature);
        while (static_cast<std::size_t>(end - at) >= kAround) {
            const u32 length = static_cast<u32>(at[0]) << 24 | static_cast<u32>(at[1]) << 16 |
                               static_cast<u32>(at[2]) << 8 | at[3];
            if (length > static_cast<std::size_t>(end - at) - kAround) {
                break;
            }
            const u32 sum = PngSum(at + 4, std::size_t{4} + length);
            u8* const place = at + 8 + length;
            for (int i = 0; i < 4; ++i) {
                place[i] = static_cast<u8>(sum >> (24 - 8 * i));
            }
            at += kAround + length;
        }
    }
}

}  // namespace moxi
