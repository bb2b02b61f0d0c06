// What every kernel in C begins with. A kernel answers three messages, as those in MX do: 1 sets up
// n of whatever it works on, 2 runs, 3 gives the byte p2 of the checksum. The same file is compiled
// for the machine, for Node.js and natively. It may be included more than once, each time in a
// namespace of its own.
#include <stdint.h>

static void Setup(uint32_t n);
static void Run(uint32_t n);
static uint32_t Checksum(uint32_t n);

static inline uint32_t NextRandom(uint32_t x) {
    return x * 1664525u + 1013904223u;
}

#ifdef __wasm__
__attribute__((export_name("moxi_message"))) int moxi_message(int message, int p1, int p2, int p3) {
    (void)p3;
    if (message == 1) {
        Setup((uint32_t)p1);
    }
    if (message == 2) {
        Run((uint32_t)p1);
    }
    return message == 3 ? (int)(Checksum((uint32_t)p1) >> p2 * 8 & 255) : 0;
}
#endif
