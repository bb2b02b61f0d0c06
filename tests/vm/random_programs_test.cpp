// Random programs end with the same image, byte for byte, on the interpreter and on the plain
// executor. MOXI_RANDOM_PROGRAMS sets how many, MOXI_RANDOM_SEED the first seed.

#include <cstdlib>
#include <map>
#include <string>

#include "tests/support/bench_run.h"
#include "tests/support/compare_runs.h"
#include "tests/support/random_program.h"
#include "tests/support/vm_fixture.h"
#include "vm/diagnostics.h"
#include "vm/guard.h"
#include "vm/machine.h"
#include "vm/slots.h"

namespace moxi {

using plain::Outcome;

namespace {

class RandomPrograms : public VmTest {};

constexpr u64 kPrograms = kCheckedAccess ? 12000 : 60000;
constexpr u64 kBudget = 600;

u64 FromEnvironment(const char* name, u64 otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

// The service of these programs: what it sees of the header goes to R14, and what it writes into
// PC, SP, FP and the flags must be lost.
u32 Digest(u32 pc, u32 sp, u32 fp, u8 flags) {
    return pc * 3 + sp * 5 + fp * 7 + flags;
}

void HostService() {
    const u32 digest = Digest(Load<u32>(136), Load<u32>(160), Load<u32>(168), Load<u8>(192));
    Store<u32>(120, digest);
    for (const u32 address : {136u, 160u, 168u}) {
        Store<u32>(address, digest);
    }
    Store<u8>(192, static_cast<u8>(digest));
}

void PlainService(plain::Machine& m) {
    PaperImage picture{std::move(m.memory)};
    const u32 digest =
        Digest(static_cast<u32>(picture.Get(136, 4)), static_cast<u32>(picture.Get(160, 4)),
               static_cast<u32>(picture.Get(168, 4)), static_cast<u8>(picture.Get(192, 1)));
    for (const u32 address : {120u, 136u, 160u, 168u}) {
        picture.Put(address, digest, 4);
    }
    picture.Put(192, digest & 0xFF, 1);
    m.memory = std::move(picture.bytes);
}

}  // namespace

TEST_F(RandomPrograms, EndWithTheSameImageByteForByteOnTheInterpreterAndOnThePlainExecutor) {
    const u64 programs = FromEnvironment("MOXI_RANDOM_PROGRAMS", kPrograms);
    const u64 firstSeed = FromEnvironment("MOXI_RANDOM_SEED", 1);
    vmSlots.sysDispatch = HostService;
    std::map<std::string, u64> outcomes;
    u64 instructions = 0;
    u64 left = 0;
    u64 failures = 0;
    std::string report;
    {
        const StandardError quiet(true);
        for (u64 seed = firstSeed; seed < firstSeed + programs && failures < 5; ++seed) {
            const std::vector<u8> program = RandomProgram(seed);
            RunOptions options{.budget = kBudget, .modalDepth = static_cast<i32>(seed % 3)};
            options.plainSys = PlainService;
            const RunResult wanted = RunOn(Engine::Plain, program, options);
            instructions += wanted.trace.size();
            ++outcomes[plain::OutcomeName(wanted.outcome)];
            if (wanted.nansMet) {
                ++left;
                continue;
            }
            // A program may well end with the very last instruction of the budget.
            if (wanted.outcome != Outcome::BudgetSpent) {
                ++options.budget;
            }
            std::string difference = CompareRuns(RunOn(Engine::Traced, program, options), wanted);
            // Only a program that is known to end runs without a budget.
            if (difference.empty() && wanted.outcome != Outcome::BudgetSpent) {
                difference = CompareRuns(RunOn(Engine::Fast, program, options), wanted);
                if (difference.empty()) {
                    RunResult translated = RunOn(Engine::Translated, program, options);
                    RunResult shortened = wanted;
                    for (RunResult* result : {&translated, &shortened}) {
                        KeepNewest(result->trace);
                    }
                    difference = CompareRuns(translated, shortened);
                    if (!difference.empty()) {
                        difference = "translated:\n" + difference;
                    }
                }
            }
            if (difference.empty()) {
                continue;
            }
            ++failures;
            report += FormatText("seed %llu:\n", static_cast<unsigned long long>(seed));
            report += difference;
        }
    }
    EXPECT_EQ(failures, 0u) << report;
    // Every way to end has been seen, and few programs were left out.
    for (int i = 0; i <= static_cast<int>(Outcome::BudgetSpent); ++i) {
        const char* const name = plain::OutcomeName(static_cast<Outcome>(i));
        RecordProperty(name, std::to_string(outcomes[name]));
        if (programs >= 10000) {
            EXPECT_GT(outcomes[name], 10u) << name;
        }
    }
    EXPECT_LE(left, programs / 20);
    RecordProperty("instructions", std::to_string(instructions));
    if (std::getenv("MOXI_RANDOM_REPORT") != nullptr) {
        for (const auto& [name, count] : outcomes) {
            std::fprintf(stderr, "%s: %llu\n", name.c_str(),
                         static_cast<unsigned long long>(count));
        }
        std::fprintf(stderr, "instructions: %llu\n", static_cast<unsigned long long>(instructions));
    }
}

}  // namespace moxi
