#pragma once
// Bytes that are no code, as directives: texts, room, words and bytes.

#include <span>
#include <string>

#include "base/types.h"

namespace moxi {

struct DataItem {
    std::string text;  // directive and values
    u32 length = 0;    // bytes that it stands for
};

// The directive for the start of `bytes`, which must not be empty; `address` decides about words.
// At most `wordsPerLine` words go into one.
DataItem DescribeData(std::span<const u8> bytes, u32 address, u32 wordsPerLine);

}  // namespace moxi
