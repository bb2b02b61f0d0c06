// The product of two matrices of n by n 32-bit integers, at most 256, row by column. Checksum: the
// fold of the product.
#include "kernel.h"

enum { kMaxSide = 256 };

static uint32_t a[kMaxSide][kMaxSide], b[kMaxSide][kMaxSide], c[kMaxSide][kMaxSide];

static void Setup(uint32_t n) {
    (void)n;
    uint32_t x = 1;
    for (uint32_t i = 0; i < kMaxSide * kMaxSide; ++i)
        a[i / kMaxSide][i % kMaxSide] = x = NextRandom(x);
    for (uint32_t i = 0; i < kMaxSide * kMaxSide; ++i)
        b[i / kMaxSide][i % kMaxSide] = x = NextRandom(x);
}

static void Run(uint32_t n) {
    for (uint32_t i = 0; i < n; ++i) {
        for (uint32_t j = 0; j < n; ++j) {
            uint32_t sum = 0;
            for (uint32_t k = 0; k < n; ++k) sum += a[i][k] * b[k][j];
            c[i][j] = sum;
        }
    }
}

static uint32_t Checksum(uint32_t n) {
    uint32_t hash = 0;
    for (uint32_t i = 0; i < n; ++i) {
        for (uint32_t j = 0; j < n; ++j) hash = hash * 31 + c[i][j];
    }
    return hash;
}
