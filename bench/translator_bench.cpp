// How long translating takes and how large its result is: every piece of code of a module that its
// symbols name is found and translated, without being run.
//
//   translator_bench [--runs N] FOLDER    (with MAIN.MX and MAIN.SYM)

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <unordered_set>
#include <vector>

#include "translate/code_memory.h"
#include "translate/emit.h"
#include "translate/emit_shared.h"
#include "translate/homes.h"
#include "translate/state.h"
#include "vm/guard.h"
#include "vm/machine.h"

namespace moxi {

namespace {

[[noreturn]] void Fail(const std::string& what) {
    std::cerr << "translator_bench: " << what << "\n";
    std::exit(1);
}

double ProcessorSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void LoadImage(const std::string& folder) {
    std::ifstream file(folder + "/MAIN.MX", std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    if (bytes.size() < kHeaderSize) {
        Fail(folder + " has no MAIN.MX");
    }
    if (!AllocateImage(static_cast<u32>(bytes.size() + 65536))) {
        Fail("no memory");
    }
    std::memcpy(image, bytes.data(), bytes.size());
}

std::vector<u32> NamedCode(const std::string& folder) {
    std::ifstream file(folder + "/MAIN.SYM");
    std::vector<u32> places;
    std::string address, kind, name;
    while (file >> address >> kind >> name) {
        if (kind == "code") {
            places.push_back(static_cast<u32>(std::stoul(address, nullptr, 16)));
        }
    }
    if (places.empty()) {
        Fail(folder + " has no symbols of code");
    }
    return places;
}

struct Result {
    u64 instructions = 0;
    u64 moduleBytes = 0;
    u64 codeBytes = 0;
    u64 tableBytes = 0;  // beside the code, for faults and the trace
    double seconds = 0;
};

std::unordered_set<u32> begun;  // blocks that have their translation

Result TranslateAll(const std::vector<u32>& places, const SharedCode& shared) {
    Result result;
    begun.clear();
    u32 generation = 0;
    u8* const base = translatedState.codeMemory + 4096;
    const double start = ProcessorSeconds();
    for (const u32 place : places) {
        if (begun.contains(place)) {
            continue;
        }
        const Region region = FindRegion(place, [](u32 pc) { return begun.contains(pc); });
        if (region.instructions.empty()) {
            continue;
        }
        const Translation made = EmitRegion(region, base, shared, &generation);
        for (const Translation::Entry& entry : made.entries) {
            begun.insert(entry.pc);
        }
        result.instructions += region.instructions.size();
        for (const DecodedInstruction& in : region.instructions) {
            result.moduleBytes += in.length;
        }
        result.codeBytes += made.code.size();
        result.tableBytes += made.places.size() * sizeof(CodePlace) +
                             made.blocks.size() * sizeof(BlockPlace) +
                             made.entries.size() * sizeof(Translation::Entry);
    }
    result.seconds = ProcessorSeconds() - start;
    return result;
}

}  // namespace

int TranslatorBench(int runs, const std::string& folder) {
    LoadImage(folder);
    const std::vector<u32> places = NamedCode(folder);
    if (!MakeCodeMemory() || !MakeTables()) {
        Fail("no memory to execute from");
    }
    RegisterUses uses;
    for (const u32 place : places) {
        CountUses(FindRegion(place), uses);
    }
    const Homes homes = HomesFor(uses);
    hostOf = homes.hosts;
    vectorOf = homes.vectors;
    SharedCode shared;
    EmitSharedCode(translatedState.codeMemory, {}, shared);
    std::vector<double> seconds;
    Result result;
    for (int i = 0; i < runs; ++i) {
        result = TranslateAll(places, shared);
        seconds.push_back(result.seconds);
    }
    std::sort(seconds.begin(), seconds.end());
    const auto instructions = static_cast<double>(result.instructions);
    const auto moduleBytes = static_cast<double>(result.moduleBytes);
    std::printf("instructions                 %10llu\n",
                static_cast<unsigned long long>(result.instructions));
    std::printf("ms for 10,000 of them        %10.2f\n",
                seconds[seconds.size() / 2] * 1e3 * 10000 / instructions);
    std::printf("bytes of code a byte         %10.2f\n",
                static_cast<double>(result.codeBytes) / moduleBytes);
    std::printf("bytes of tables a byte       %10.2f\n",
                static_cast<double>(result.tableBytes) / moduleBytes);
    return 0;
}

}  // namespace moxi

int main(int argc, char** argv) {
    int runs = 7;
    int at = 1;
    if (argc > 3 && std::string(argv[1]) == "--runs") {
        runs = std::max(1, std::atoi(argv[2]));
        at = 3;
    }
    if (argc != at + 1) {
        std::cerr << "usage: translator_bench [--runs N] FOLDER\n";
        return 1;
    }
    return moxi::TranslatorBench(runs, argv[at]);
}
