// The kernels of native_kernels.cpp for other machines that run wasm: by number, in their order.

#include "bench/native_kernels.h"

using namespace moxi;

extern "C" {

[[clang::export_name("setup")]] void SetupKernel(u32 number, u32 n) {
    nativeKernels[number].setup(n);
}

[[clang::export_name("run")]] void RunKernel(u32 number, u32 n) {
    nativeKernels[number].run(n);
}

[[clang::export_name("checksum")]] u32 KernelChecksum(u32 number, u32 n) {
    return nativeKernels[number].checksum(n);
}
}
