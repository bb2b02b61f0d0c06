#pragma once
// The inner loops, one record of functions for each instruction set. All of them give the same
// bytes; StartKernels() picks the fastest that the processor runs.
//
// Rows are `count` pixels of four bytes; addresses need no alignment.

#include <cstddef>

#include "base/types.h"

struct Kernels {
    const char* name;

    // Blends a colour over every pixel of a row.
    void (*fill)(u8* row, std::size_t count, u32 colour);
};

extern const Kernels scalarKernels;

// The ones in use.
extern const Kernels* kernels;
