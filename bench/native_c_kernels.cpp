#include "bench/native_c_kernels.h"

#include <cstdint>

#define KERNEL(name, size) \
    { #name, size, name##_kernel::Setup, name##_kernel::Run, name##_kernel::Checksum }

namespace moxi {

// The very files that are compiled for the machine. Each brings its own names.
namespace list_kernel {
#include "bench/kernels/c/list.c"
}
namespace matrix_kernel {
#include "bench/kernels/c/matrix.c"
}
namespace state_kernel {
#include "bench/kernels/c/state.c"
}
namespace crc32_kernel {
#include "bench/kernels/c/crc32.c"
}

const std::array<NativeKernel, 4> nativeCKernels = {
    {KERNEL(list, 20000), KERNEL(matrix, 256), KERNEL(state, 1048576), KERNEL(crc32, 1048576)}};

}  // namespace moxi
