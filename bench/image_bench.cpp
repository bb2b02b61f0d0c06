// Load Image and Save Image of 1024 x 768 pixels against plain libspng, and against plain copies of
// as many bytes.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spng.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "desktop/folders.h"
#include "gfx/bitmap.h"
#include "gfx/image_files.h"
#include "gfx/kernels.h"
#include "sys/files.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kWidth = 1024;
constexpr u32 kHeight = 768;
constexpr std::size_t kBytes = std::size_t{kWidth} * kHeight * 4;
constexpr u32 kImageSize = 32 << 20;

std::string folder;
u32 picture = 0;

u8* PixelsOf(u32 handle) {
    return image + GetHeapAdr(Load<u32>(GetHeapAdr(handle) + kRecordPixels));
}

// A picture like a game's: flat parts, gradients and noise.
void Start() {
    if (picture != 0) {
        return;
    }
    folder = (std::filesystem::temp_directory_path() / "moxi-bench-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        std::abort();
    }
    folders.resources = folder;
    folders.dataOverride = folder;
    InitFolders();
    AllocateImage(kImageSize);
    heapStart = 4096;
    heapSize = kImageSize - heapStart;
    InitHeapTable();
    AllocHeap(4);
    ChooseKernels();
    picture = CreateBitmap(kWidth, kHeight);
    u32 noise = 1;
    for (u32 y = 0; y < kHeight; ++y) {
        for (u32 x = 0; x < kWidth; ++x) {
            noise = noise * 1664525 + 1013904223;
            const u32 part = (x / 128 + y / 128) % 3;
            const u32 value = part == 0   ? 0xFF804020
                              : part == 1 ? 0xFF000000 | (x / 4) << 16 | (y / 3) << 8 | (x + y) / 7
                                          : 0xFF000000 | (noise >> 8 & 0x0F0F0F) | 0x304050;
            StoreBytes<u32>(PixelsOf(picture) + (std::size_t{y} * kWidth + x) * 4, value);
        }
    }
    SaveImage(picture, "A.png", kFormatPng);
    SaveImage(picture, "A.bmp", kFormatBmp);
}

std::vector<u8> ReadWhole(const std::string& path) {
    std::vector<u8> bytes(std::filesystem::file_size(path));
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    if (file == nullptr || std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) {
        std::abort();
    }
    std::fclose(file);
    return bytes;
}

void LoadBench(benchmark::State& state, const char* name) {
    Start();
    for (auto _ : state) {
        const u32 handle = LoadImage(name);
        if (handle == 0) {
            std::abort();
        }
        FreeBitmap(handle);
        CompactHeap();
    }
}

void SaveBench(benchmark::State& state, const char* name, u32 format) {
    Start();
    for (auto _ : state) {
        benchmark::DoNotOptimize(SaveImage(picture, name, format));
    }
}

// Open, decode into memory, close.
void PlainPngLoad(benchmark::State& state) {
    Start();
    const std::string path = folder + "/A.png";
    for (auto _ : state) {
        std::FILE* const file = std::fopen(path.c_str(), "rb");
        spng_ctx* const decoder = spng_ctx_new(0);
        spng_set_crc_action(decoder, SPNG_CRC_USE, SPNG_CRC_USE);
        spng_set_png_file(decoder, file);
        std::size_t size = 0;
        spng_decoded_image_size(decoder, SPNG_FMT_RGBA8, &size);
        u8* const pixels = static_cast<u8*>(std::malloc(size));
        spng_decode_image(decoder, pixels, size, SPNG_FMT_RGBA8, 0);
        benchmark::DoNotOptimize(pixels[0]);
        spng_ctx_free(decoder);
        std::free(pixels);
        std::fclose(file);
    }
}

void PlainPngSave(benchmark::State& state) {
    Start();
    const std::string path = folder + "/plain.png";
    for (auto _ : state) {
        spng_ctx* const encoder = spng_ctx_new(SPNG_CTX_ENCODER);
        spng_set_option(encoder, SPNG_ENCODE_TO_BUFFER, 1);
        spng_ihdr header = {};
        header.width = kWidth;
        header.height = kHeight;
        header.bit_depth = 8;
        header.color_type = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
        spng_set_ihdr(encoder, &header);
        spng_encode_image(encoder, PixelsOf(picture), kBytes, SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
        std::size_t size = 0;
        int error = 0;
        void* const bytes = spng_get_png_buffer(encoder, &size, &error);
        std::FILE* const file = std::fopen(path.c_str(), "wb");
        std::fwrite(bytes, 1, size, file);
        std::fclose(file);
        std::free(bytes);
        spng_ctx_free(encoder);
    }
}

// The file's bytes into fresh memory and from there to other memory, nothing else.
void PlainBmpLoad(benchmark::State& state) {
    Start();
    const std::string path = folder + "/A.bmp";
    for (auto _ : state) {
        const std::vector<u8> bytes = ReadWhole(path);
        std::memcpy(PixelsOf(picture), bytes.data() + 54, kBytes);
    }
}

void PlainBmpSave(benchmark::State& state) {
    Start();
    const std::string path = folder + "/plain.bmp";
    for (auto _ : state) {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (write(file, PixelsOf(picture), kBytes) != static_cast<ssize_t>(kBytes)) {
            std::abort();
        }
        close(file);
    }
}

BENCHMARK(PlainPngLoad)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LoadBench, png, "A.png")->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainPngSave)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SaveBench, png, "B.png", kFormatPng)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LoadBench, bmp, "A.bmp")->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainBmpLoad)->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainBmpSave)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SaveBench, bmp, "B.bmp", kFormatBmp)->Unit(benchmark::kMicrosecond);

int Main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (!folder.empty()) {
        std::filesystem::remove_all(folder);
    }
    return 0;
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
