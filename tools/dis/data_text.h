#pragma once
// Describes bytes that are not code by directives for texts, room, words and bytes.

#include <span>
#include <string>

#include "base/types.h"

namespace moxi {

struct DataItem {
    std::string text;  // directive and values
    u32 length = 0;    // bytes that it stands for
};

// The directive for the beginning of `bytes`, which must not be empty. `address` is where they lie:
// words are only made at multiples of 4, at most `wordsPerLine` in one directive.
DataItem DescribeData(std::span<const u8> bytes, u32 address, u32 wordsPerLine);

}  // namespace moxi
