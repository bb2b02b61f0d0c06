// A state machine that reads n bytes of numbers with commas between them, at most 1 MiB, and counts
// in which state each number ends. Checksum: the fold of the counts.
#include "kernel.h"

enum { kMaxBytes = 1048576, kStates = 9, kClasses = 8, kComma = 5 };

// Digit, sign, point, e, anything else; a number's end is no state.
// 0 start, 1 sign, 2 digits, 3 point alone, 4 fraction, 5 e, 6 sign of it, 7 digits of it, 8 wrong
static const uint8_t kNext[kStates * kClasses] = {
    2, 1, 3, 8, 8, 0, 0, 0, 2, 8, 3, 8, 8, 0, 0, 0, 2, 8, 4, 5, 8, 0, 0, 0,
    4, 8, 8, 8, 8, 0, 0, 0, 4, 8, 8, 5, 8, 0, 0, 0, 7, 6, 8, 8, 8, 0, 0, 0,
    7, 8, 8, 8, 8, 0, 0, 0, 7, 8, 8, 8, 8, 0, 0, 0, 8, 8, 8, 8, 8, 0, 0, 0};
static const uint8_t kBytes[16] = {'0', '1', '2', '3', '4', '5', '6', '7',
                                   '8', '9', '+', '-', '.', 'e', ',', ','};

static uint8_t classes[256];
static uint8_t data[kMaxBytes];
static uint32_t counts[kStates];

static void Setup(uint32_t n) {
    for (uint32_t i = 0; i < 256; ++i) {
        classes[i] = i >= '0' && i <= '9' ? 0 : i == '+' || i == '-' ? 1 : i == '.' ? 2 : 4;
    }
    classes['e'] = 3;
    classes[','] = kComma;
    uint32_t x = 7;
    for (uint32_t i = 0; i < n; ++i) {
        x = NextRandom(x);
        data[i] = kBytes[x >> 28];
    }
}

static void Run(uint32_t n) {
    uint32_t state = 0;
    for (uint32_t i = 0; i < kStates; ++i) counts[i] = 0;
    for (uint32_t i = 0; i < n; ++i) {
        const uint32_t kind = classes[data[i]];
        if (kind == kComma) ++counts[state];
        state = kNext[state * kClasses + kind];
    }
}

static uint32_t Checksum(uint32_t n) {
    (void)n;
    uint32_t hash = 0;
    for (uint32_t i = 0; i < kStates; ++i) hash = hash * 31 + counts[i];
    return hash;
}
