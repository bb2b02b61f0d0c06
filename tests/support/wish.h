#pragma once
// How much of a long test is wished for.

#include <cstdlib>

#include "base/types.h"

namespace moxi {

// The decimal number in a variable of the environment, or the standard where it is not set.
inline u64 Wish(const char* name, u64 standard) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : standard;
}

}  // namespace moxi
