// Compaction of a large heap, against a memmove of the same bytes, and a message with nothing to
// do. The heap has 60,000 blocks, 64 MiB in all.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/bytes.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

constexpr u32 kBlocks = 60000;
constexpr u32 kHeapBytes = 64 << 20;
constexpr u32 kStack = 4096;
// Sizes between 600 and 1,600 bytes, 1,100 in the mean; a fixed generator, the same every time.
u32 NextSize() {
    static u32 state = 1;
    state = state * 1664525 + 1013904223;
    return 600 + (state >> 16) % 1000;
}

// An image whose module returns at once from every message.
void MakeMachine() {
    const u32 heap = kEntryPoint + 64 + kStack;
    if (!AllocateImage(heap + kHeapBytes + (4 << 20))) {
        std::abort();
    }
    heapStart = heap;
    heapSize = imageSize - heap;
    Store<u32>(kHeaderSP, heapStart);
    Store<u32>(kHeaderStackTop, heapStart);
    Store<u32>(kHeaderStackLimit, heapStart - kStack);
    Store<u32>(kEntryPoint, 340);      // LINK 0, 0
    Store<u32>(kEntryPoint + 4, 596);  // RETURN 0
    InitHeapTable();
    AllocHeap(4);
}

std::vector<u32> FillHeap() {
    std::vector<u32> handles(kBlocks);
    for (u32& handle : handles) {
        const u32 size = NextSize();
        handle = AllocHeap(size);
        std::memset(image + heapPtrs[handle].offset, static_cast<int>(handle), size);
    }
    return handles;
}

void CompactionWithEveryTenthBlockFreed(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        MakeMachine();
        const std::vector<u32> handles = FillHeap();
        for (u32 i = 0; i < kBlocks; i += 10) {
            FreeHeap(handles[i]);
        }
        state.ResumeTiming();
        CompactHeap();
    }
}
BENCHMARK(CompactionWithEveryTenthBlockFreed)->Unit(benchmark::kMillisecond)->Iterations(9);

void MemmoveOfTheSameBytes(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        MakeMachine();
        FillHeap();
        state.ResumeTiming();
        // A tenth of the blocks is freed, so that nine tenths of the bytes move down, by a
        // twentieth of the heap in the mean.
        const u32 live = (heapFree - heapStart) / 10 * 9;
        std::memmove(image + heapStart, image + heapStart + live / 20, live);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(MemmoveOfTheSameBytes)->Unit(benchmark::kMillisecond)->Iterations(9);

void CompactionWithNothingFreed(benchmark::State& state) {
    MakeMachine();
    FillHeap();
    for (auto _ : state) {
        CompactHeap();
    }
}
BENCHMARK(CompactionWithNothingFreed)->Unit(benchmark::kMicrosecond);

void MessageWithNothingToDo(benchmark::State& state) {
    MakeMachine();
    FillHeap();
    for (auto _ : state) {
        MXmsg(2, 0, 0, 0);
    }
}
BENCHMARK(MessageWithNothingToDo)->Unit(benchmark::kNanosecond);

}  // namespace

}  // namespace moxi

BENCHMARK_MAIN();
