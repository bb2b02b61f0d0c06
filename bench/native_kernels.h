#pragma once
// The benchmark kernels in C++, what the machine is compared with. The same work as
// bench/kernels/*.mxs and *.lua, with the same checksums.

#include <array>

#include "base/types.h"

namespace moxi {

struct NativeKernel {
    const char* name;  // also the name of the MX and the Lua source
    u32 size;          // n of the benchmark
    void (*setup)(u32 n);
    void (*run)(u32 n);
    u32 (*checksum)(u32 n);
};

// In the order in which they are reported. `n` may be smaller than `size`, with the restrictions
// that the MX sources state.
extern const std::array<NativeKernel, 6> nativeKernels;

}  // namespace moxi
