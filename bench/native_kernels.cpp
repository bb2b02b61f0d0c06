#include "bench/native_kernels.h"

#include <cstring>
#include <utility>

namespace moxi {

namespace {

void NoSetup(u32) {}

// Fills with the linear congruential sequence that all three languages use.
void FillRandom(u32* words, u32 count, u32 seed) {
    u32 x = seed;
    for (u32 i = 0; i < count; ++i) {
        x = x * 1664525 + 1013904223;
        words[i] = x;
    }
}

// --- Sieve of Eratosthenes over n byte flags

constexpr u32 kMaxFlags = 1000000;
u8 flags[kMaxFlags];
u32 primeCount;

void RunSieve(u32 n) {
    std::memset(flags, 1, n);
    flags[0] = 0;
    flags[1] = 0;
    for (u32 i = 2; i * i < n; ++i) {
        if (flags[i] == 0) {
            continue;
        }
        for (u32 k = i * i; k < n; k += i) {
            flags[k] = 0;
        }
    }
    u32 count = 0;
    for (u32 i = 0; i < n; ++i) {
        count += flags[i];
    }
    primeCount = count;
}

u32 ChecksumSieve(u32 n) {
    u32 sum = primeCount;
    for (u32 i = 0; i < n; ++i) {
        if (flags[i] != 0) {
            sum += i;
        }
    }
    return sum;
}

// --- Fibonacci numbers by two recursive calls

u32 fibResult;

// Not inlined into itself, which would leave a fraction of the calls that are to be timed.
[[gnu::noinline]] u32 Fib(u32 n) {
    return n < 2 ? n : Fib(n - 1) + Fib(n - 2);
}

void RunFib(u32 n) {
    fibResult = Fib(n);
}

u32 ChecksumFib(u32) {
    return fibResult;
}

// --- CRC-32 of n bytes, by a table that every run makes anew

constexpr u32 kMaxBytes = 1048576;
u32 crcData[kMaxBytes / 4];
u32 crcTable[256];
u32 crcResult;

void SetupCrc(u32 n) {
    FillRandom(crcData, n / 4, 12345);
}

void RunCrc(u32 n) {
    for (u32 i = 0; i < 256; ++i) {
        u32 entry = i;
        for (int bit = 0; bit < 8; ++bit) {
            entry = (entry & 1) != 0 ? (entry >> 1) ^ 0xEDB88320 : entry >> 1;
        }
        crcTable[i] = entry;
    }
    const u8* bytes = reinterpret_cast<const u8*>(crcData);
    u32 crc = 0xFFFFFFFF;
    for (u32 i = 0; i < n; ++i) {
        crc = (crc >> 8) ^ crcTable[(crc ^ bytes[i]) & 255];
    }
    crcResult = ~crc;
}

u32 ChecksumCrc(u32) {
    return crcResult;
}

// --- The Mandelbrot set on n x n points, at most 256 iterations each

constexpr u32 kMaxPoints = 256;
constexpr u32 kMaxIterations = 256;
u32 iterations[kMaxPoints * kMaxPoints];

u32 Iterate(double cr, double ci) {
    double zr = 0.0;
    double zi = 0.0;
    for (u32 i = 0; i < kMaxIterations; ++i) {
        const double zr2 = zr * zr;
        const double zi2 = zi * zi;
        if (zr2 + zi2 > 4.0) {
            return i;
        }
        const double product = zi * zr;
        zr = (zr2 - zi2) + cr;
        zi = (product + product) + ci;
    }
    return kMaxIterations;
}

void RunMandelbrot(u32 n) {
    const double step = 3.0 / n;
    u32* next = iterations;
    for (u32 row = 0; row < n; ++row) {
        const double ci = row * step - 1.5;
        for (u32 column = 0; column < n; ++column) {
            *next++ = Iterate(column * step - 2.0, ci);
        }
    }
}

u32 Fold(u32 hash, const u32* words, u32 count) {
    for (u32 i = 0; i < count; ++i) {
        hash = hash * 31 + words[i];
    }
    return hash;
}

u32 ChecksumMandelbrot(u32 n) {
    return Fold(0, iterations, n * n);
}

// --- Product of two n x n matrices of 32-bit integers

constexpr u32 kMaxSide = 256;
struct Matrices {
    u32 a[kMaxSide][kMaxSide];
    u32 b[kMaxSide][kMaxSide];
    u32 c[kMaxSide][kMaxSide];
};
Matrices m;

void SetupMatrix(u32) {
    FillRandom(&m.a[0][0], kMaxSide * kMaxSide, 1);
    FillRandom(&m.b[0][0], kMaxSide * kMaxSide, m.a[kMaxSide - 1][kMaxSide - 1]);
}

void RunMatrix(u32 n) {
    for (u32 i = 0; i < n; ++i) {
        for (u32 j = 0; j < n; ++j) {
            u32 sum = 0;
            for (u32 k = 0; k < n; ++k) {
                sum += m.a[i][k] * m.b[k][j];
            }
            m.c[i][j] = sum;
        }
    }
}

u32 ChecksumMatrix(u32 n) {
    u32 hash = 0;
    for (u32 i = 0; i < n; ++i) {
        hash = Fold(hash, m.c[i], n);
    }
    return hash;
}

// --- Quicksort of n unsigned words, the middle word as pivot

constexpr u32 kMaxWords = 1000000;
u32 words[kMaxWords];

// Sorts the words from `first` to `last`, both included: the shorter part by a call, the longer
// one by going round again.
void Sort(u32* first, u32* last) {
    while (first < last) {
        const u32 pivot = first[(last - first) / 2];
        u32* left = first - 1;
        u32* right = last + 1;
        for (;;) {
            do {
                ++left;
            } while (*left < pivot);
            do {
                --right;
            } while (*right > pivot);
            if (left >= right) {
                break;
            }
            std::swap(*left, *right);
        }
        if (right - first <= last - right) {
            Sort(first, right);
            first = right + 1;
        } else {
            Sort(right + 1, last);
            last = right;
        }
    }
}

void SetupQuicksort(u32 n) {
    FillRandom(words, n, 99);
}

void RunQuicksort(u32 n) {
    Sort(words, words + n - 1);
}

u32 ChecksumQuicksort(u32 n) {
    return Fold(0, words, n);
}

}  // namespace

const std::array<NativeKernel, 6> nativeKernels = {{
    {"sieve", kMaxFlags, NoSetup, RunSieve, ChecksumSieve},
    {"fib", 32, NoSetup, RunFib, ChecksumFib},
    {"crc32", kMaxBytes, SetupCrc, RunCrc, ChecksumCrc},
    {"mandelbrot", kMaxPoints, NoSetup, RunMandelbrot, ChecksumMandelbrot},
    {"matrix", kMaxSide, SetupMatrix, RunMatrix, ChecksumMatrix},
    {"quicksort", kMaxWords, SetupQuicksort, RunQuicksort, ChecksumQuicksort},
}};

}  // namespace moxi
