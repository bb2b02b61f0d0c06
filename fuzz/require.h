#pragma once
// What has to hold for every input: the fuzzer reports an abort with the input that led to it.

#include <cstdlib>

namespace moxi {

inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace moxi
