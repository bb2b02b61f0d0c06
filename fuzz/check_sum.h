#pragma once
// The check sum of PNGs and archives.

#include <array>
#include <cstddef>
#include <string_view>

#include "base/types.h"

namespace moxi {

inline u32 CheckSum(std::string_view bytes) {
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
    for (const char byte : bytes) {
        sum = table[(sum ^ static_cast<u8>(byte)) & 255] ^ (sum >> 8);
    }
    return ~sum;
}

}  // namespace moxi
