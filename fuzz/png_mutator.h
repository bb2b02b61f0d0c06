#pragma once
// The mutator of fuzzers that read PNGs: what the check sums cover is looked at only where they are
// right, and no mutation would hit upon that.

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "fuzz/check_sum.h"

namespace moxi {

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
            const u32 sum =
                CheckSum({reinterpret_cast<const char*>(at) + 4, std::size_t{4} + length});
            u8* const place = at + 8 + length;
            for (int i = 0; i < 4; ++i) {
                place[i] = static_cast<u8>(sum >> (24 - 8 * i));
            }
            at += kAround + length;
        }
    }
}

extern "C" std::size_t LLVMFuzzerMutate(u8* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(u8* data, std::size_t size, std::size_t most,
                                               unsigned seed) {
    size = LLVMFuzzerMutate(data, size, most);
    if (seed % 8 != 0) {
        MendPngSums(data, size);
    }
    return size;
}

}  // namespace moxi
