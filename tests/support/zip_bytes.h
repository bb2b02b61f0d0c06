#pragma once
// Archives put together byte by byte, also such as no program would make.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

struct ZipEntry {
    std::string name;
    std::string content;
    u32 attributes = 0;         // the upper half is a Unix mode
    u16 flags = 0;              // 1: encrypted
    u16 method = 0;             // 0: stored
    std::string unpacked = {};  // with a method: what the content stands for
};

// The bytes of an archive with these entries in this order.
std::string ZipOf(const std::vector<ZipEntry>& entries);

// One entry, packed, of so many zero bytes.
ZipEntry PackedZeros(const std::string& name, u64 size);

}  // namespace moxi
