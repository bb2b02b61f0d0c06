// Expressions in the machine and in wabt's interpreter: every operator with every other one as each
// of its operands, and random trees. MOXI_WASM_PAIRS says how many times all pairs are gone
// through, each time with other operands beside them, MOXI_WASM_TREES how many modules of trees
// there are, and MOXI_WASM_SEED from which number on; scripts/wasm-differential runs many.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "tests/support/vm_fixture.h"
#include "tests/support/wish.h"
#include "tests/wasm/calls.h"
#include "tests/wasm/expressions.h"
#include "vm/guard.h"

namespace moxi {
namespace {

constexpr u32 kFunctions = 200;  // of a module

bool IsDivisionTrap(const std::string& line) {
    return line == "Trap: integer divide by zero" || line == "Trap: integer overflow";
}

void Keep(u64 seed, const RandomModule& module) {
    const char* const folder = std::getenv("MOXI_WASM_KEEP");
    if (folder != nullptr) {
        std::ofstream(std::string(folder) + "/" + std::to_string(seed) + ".wasm", std::ios::binary)
            << module.bytes;
    }
}

struct WasmExpressionsTest : VmTest {
    StandardError quiet{true};  // the fatal messages
    u32 wrong = 0;

    // A trap ends the program here, so what comes behind it is a run of its own.
    void Compare(u64 seed, const RandomModule& module, const std::vector<std::string>& wanted) {
        TranslateOptions options = CallOptions();
        options.checkBounds = module.anyAddress;
        const TranslatedModule translation = Translate(module.bytes, options);
        ASSERT_TRUE(translation.ok) << "module " << seed;
        for (size_t done = 0; done < wanted.size();) {
            const CallsRun run = RunTranslated(
                translation,
                CallText({module.calls.begin() + static_cast<i64>(done), module.calls.end()}));
            std::vector<std::string> seen;
            for (const std::string& line : run.lines) {
                seen.push_back(WithoutFunction(line));
            }
            if (!run.fatals.empty() && run.fatals[0].starts_with("Division error")) {
                seen.push_back(IsDivisionTrap(wanted[done + seen.size()])
                                   ? wanted[done + seen.size()]
                                   : "Division error");
            }
            ASSERT_FALSE(seen.empty()) << "module " << seed;
            for (const std::string& line : seen) {
                if (line != wanted[done]) {
                    ADD_FAILURE() << "module " << seed
                                  << (module.anyAddress ? ", with checks of bounds" : "")
                                  << "\n  here  " << line << "\n  there " << wanted[done]
                                  << "\n  call  " << CallText({module.calls[done]});
                    Keep(seed, module);
                    ++wrong;
                    return;
                }
                ++done;
            }
        }
    }
    void CompareAll(u64 seed, const std::vector<RandomModule>& modules) {
        const std::vector<std::vector<std::string>> wanted = WabtLines(modules, false);
        ASSERT_EQ(wanted.size(), modules.size()) << "from " << seed << " on";
        for (size_t i = 0; i < modules.size(); ++i) {
            Compare(seed + i, modules[i], wanted[i]);
        }
    }
};

TEST_F(WasmExpressionsTest, EveryOperatorTakesWhatEveryOtherOneGives) {
    const u64 rounds = Wish("MOXI_WASM_PAIRS", 1);
    const u64 seed = Wish("MOXI_WASM_SEED", 1);
    const u64 modulesOfRound = (PairCount() + kFunctions - 1) / kFunctions;
    for (u64 round = 0; round < rounds && wrong < 20; ++round) {
        std::vector<RandomModule> modules;
        // The sanitizers see in a part of them what they would see in all.
        for (u64 i = 0; i < modulesOfRound; i += kCheckedAccess ? 8 : 1) {
            const u32 first = static_cast<u32>(i) * kFunctions;
            modules.push_back(MakePairsModule(first, std::min(kFunctions, PairCount() - first),
                                              (seed + round) * modulesOfRound + i));
        }
        CompareAll((seed + round) * modulesOfRound, modules);
    }
}

TEST_F(WasmExpressionsTest, RandomTreesGiveWhatWabtsInterpreterGives) {
    const u64 count = Wish("MOXI_WASM_TREES", kCheckedAccess ? 5 : 40);
    const u64 seed = Wish("MOXI_WASM_SEED", 1);
    constexpr u64 kBatch = 50;
    for (u64 start = seed; start < seed + count && wrong < 20; start += kBatch) {
        std::vector<RandomModule> modules;
        for (u64 i = start; i < std::min(start + kBatch, seed + count); ++i) {
            modules.push_back(MakeTreesModule(kFunctions, i));
        }
        CompareAll(start, modules);
    }
}

}  // namespace
}  // namespace moxi
