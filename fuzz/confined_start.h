#pragma once
// The start of a fuzzer that needs nothing but to be confined.

#include "fuzz/confine.h"

namespace moxi {

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    confine::Confine(*argc, *argv);
    return 0;
}

}  // namespace moxi
