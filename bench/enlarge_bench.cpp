// What it costs to enlarge a picture of 1280 x 800 on a screen of 3840 x 2160 without a graphics
// processor, in processor time.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#include "desktop/sdl/window/enlarge.h"

namespace moxi {

namespace {

constexpr i32 kScreenWidth = 3840;
constexpr i32 kScreenHeight = 2160;

void EnlargePicture(benchmark::State& state, i32 width, i32 height, bool smooth) {
    std::vector<u8> source(std::size_t{1280} * 800 * 4);
    for (std::size_t i = 0; i < source.size(); ++i) {
        source[i] = static_cast<u8>(i * 7);
    }
    std::vector<u8> screen(std::size_t{kScreenWidth} * kScreenHeight * 4);
    const TargetPicture target = {screen.data(), kScreenWidth, kScreenHeight, kScreenWidth * 4,
                                  true};
    const ScreenArea place = {(kScreenWidth - width) / 2, (kScreenHeight - height) / 2, width,
                              height};
    for (auto _ : state) {
        benchmark::DoNotOptimize(Enlarge({source.data(), 1280, 800, 1280 * 4}, target, place,
                                         {0, 0, 1280, 800}, smooth));
        benchmark::ClobberMemory();
    }
}

BENCHMARK_CAPTURE(EnlargePicture, by_2_sharp, 2560, 1600, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(EnlargePicture, by_2_7_sharp, 3456, 2160, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(EnlargePicture, by_2_7_smooth, 3456, 2160, true)->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace moxi

BENCHMARK_MAIN();
