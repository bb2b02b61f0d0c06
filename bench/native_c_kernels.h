#pragma once
// The kernels in C (bench/kernels/c), compiled natively.

#include <array>

#include "bench/native_kernels.h"

namespace moxi {

extern const std::array<NativeKernel, 4> nativeCKernels;

}  // namespace moxi
