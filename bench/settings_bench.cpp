// Settings files at a size that games do not reach: 2,000 sections of 20 keys, about 1 MB.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "desktop/folders.h"
#include "sys/files.h"
#include "sys/settings.h"

namespace moxi {

namespace {

constexpr u32 kSections = 2000;
constexpr u32 kKeys = 20;
constexpr u32 kAccesses = 10000;

std::string SectionName(u32 section) {
    return "Section" + std::to_string(section);
}

std::string KeyName(u32 key) {
    return "Key" + std::to_string(key);
}

// A folder with the file, for the life of the process.
struct SettingsFolder {
    std::string path = std::filesystem::temp_directory_path() / "moxi-bench-XXXXXX";

    SettingsFolder() {
        if (mkdtemp(path.data()) == nullptr) {
            std::abort();
        }
        folders.dataOverride = path;
        InitFolders();
        std::ofstream file(path + "/BIG.INI", std::ios::binary);
        for (u32 section = 0; section < kSections; ++section) {
            file << "[0x00000000=" << SectionName(section) << "]\n";
            for (u32 key = 0; key < kKeys; ++key) {
                file << KeyName(key) << "= " << section * key << " \"text " << key << "\"\n";
            }
        }
        file.close();
        LoadSettings("BIG.INI");
        SaveSettings("BIG.INI");  // with true checksums
    }
    SettingsFolder(const SettingsFolder&) = delete;
    SettingsFolder& operator=(const SettingsFolder&) = delete;
    ~SettingsFolder() { std::filesystem::remove_all(path); }
};

u32 Random(u32& seed, u32 limit) {
    seed = seed * 1664525 + 1013904223;
    return static_cast<u32>(u64{seed} * limit >> 32);
}

void Load(benchmark::State& state) {
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(LoadSettings("BIG.INI"));
    }
}

void Save(benchmark::State& state) {
    LoadSettings("BIG.INI");
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(SaveSettings("OUT.INI"));
    }
}

// Half of the accesses read a number and a string, half replace a line.
void ReadAndWrite10000Keys(benchmark::State& state) {
    LoadSettings("BIG.INI");
    u32 seed = 1;
    while (state.KeepRunning()) {
        for (u32 access = 0; access < kAccesses; ++access) {
            SelectSection(SectionName(Random(seed, kSections)));
            const std::string key = KeyName(Random(seed, kKeys));
            if (access % 2 == 0) {
                SelectKey(key);
                benchmark::DoNotOptimize(ReadNumber());
                benchmark::DoNotOptimize(ReadString(100));
            } else {
                WriteRawValue(key, " " + std::to_string(Random(seed, 1u << 20)) + " \"new\"");
            }
        }
    }
}

BENCHMARK(Load)->Unit(benchmark::kMillisecond);
BENCHMARK(Save)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadAndWrite10000Keys)->Unit(benchmark::kMillisecond);

int Main(int argc, char** argv) {
    const SettingsFolder folder;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
