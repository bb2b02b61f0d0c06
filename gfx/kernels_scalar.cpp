// The inner loops in plain C++: what every processor can run, and what the others are held to.

#include "gfx/kernels.h"
#include "gfx/pixel.h"

namespace {

void Fill(u8* row, std::size_t count, u32 colour) {
    if (AlphaOf(colour) == 255) {
        for (std::size_t i = 0; i < count; ++i) StoreBytes<u32>(row + 4 * i, colour);
        return;
    }
    const BlendColour blend = PrepareBlend(colour);
    for (std::size_t i = 0; i < count; ++i) BlendPixelAt(row + 4 * i, blend);
}

}  // namespace

const Kernels scalarKernels = {
    .name = "scalar",
    .fill = Fill,
};

constinit const Kernels* kernels = &scalarKernels;
