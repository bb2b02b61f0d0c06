// Random programs of every kind end translated as they do on the plain executor: with services in
// between that change registers and code, with stores into their own code and into watched pages
// around it, with accesses near both ends of the image, with small regions and large ones, with
// locks that a RETURN might have to release, and while another thread looks again and again.
// MOXI_RANDOM_PROGRAMS sets how many, MOXI_RANDOM_SEED the first seed.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/bench_run.h"
#include "tests/support/compare_runs.h"
#include "tests/support/random_program.h"
#include "tests/support/vm_fixture.h"
#include "translate/region.h"
#include "translate/translator.h"
#include "vm/diagnostics.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/page_watch.h"
#include "vm/slots.h"
#include "vm/threaded.h"

namespace moxi {

using plain::Outcome;

namespace {

class RandomKinds : public VmTest {};

constexpr u64 kPrograms = 12000;
constexpr u64 kBudget = 600;
constexpr ProgramKind kKinds[] = {ProgramKind::Any, ProgramKind::Services,
                                  ProgramKind::SelfChanging, ProgramKind::Faulting,
                                  ProgramKind::Watched};

ProgramKind KindOf(u64 seed) {
    return kKinds[seed % std::size(kKinds)];
}

u64 NumberFromEnvironment(const char* name, u64 otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

// Where the code begins that services write into.
u32 disturbedCode = 0;

// What the service of a program does follows from the registers that it finds: it writes over one
// of them, over an instruction's upper half, over the immediate slot, and over what must be lost.
template <class Get, class Put>
void Disturb(Get get, Put put) {
    u64 number = get(136, 4) * 0x9E3779B97F4A7C15 + get(160, 4) + get(168, 4) * 3 + get(192, 1);
    for (u32 r = 0; r < 16; ++r) {
        number = (number ^ get(RegisterAt(r), 8)) * 0xBF58476D1CE4E5B9;
    }
    number ^= number >> 29;
    put(RegisterAt(14), number, 4);
    if (number % 3 == 0) {
        put(RegisterAt(static_cast<u32>(6 + number / 8 % 8)), number * 77, 8);
    }
    if (number % 5 < 2) {
        put(static_cast<u32>(disturbedCode + 2 + 4 * (number / 64 % 150)), number / 8192 % 65536,
            2);
    }
    if (number % 7 == 0) {
        put(256, number, 8);
    }
    for (const u32 address : {136u, 160u, 168u}) {
        put(address, number, 4);
    }
    put(192, number & 255, 1);
}

// A file that holds each number of 16 bits, in order.
int NumbersFile() {
    static const int file = [] {
        const int made = memfd_create("numbers", MFD_CLOEXEC);
        std::vector<u16> numbers(65536);
        std::iota(numbers.begin(), numbers.end(), u16{0});
        const size_t bytes = 2 * numbers.size();
        EXPECT_EQ(write(made, numbers.data(), bytes), static_cast<ssize_t>(bytes));
        return made;
    }();
    return file;
}

// By the system, as a file is read.
void ReadNumber(u8* to, u64 number) {
    LetPagesGo(to, 2);
    EXPECT_EQ(pread(NumbersFile(), to, 2, static_cast<off_t>(2 * number)), 2);
}

// A lock that no RETURN releases, since it was taken above all frames: the program ends as without
// it, but each RETURN has to look. The block is none of the program's.
constexpr u32 kLockedHandle = 0;

void SetLock(bool isLocked) {
    if (isLocked == (heapPtrs[kLockedHandle].lockCount != 0)) {
        return;
    }
    if (isLocked) {
        LockHeap(kLockedHandle);
        heapPtrs[kLockedHandle].lockSP = ~u32{0};
    } else {
        UnlockHeap(kLockedHandle);
    }
}

void HostDisturbs() {
    SetLock(Load<u32>(kHeaderR14) % 5 == 0);
    Disturb(
        [](u32 address, u32 size) {
            return size == 8   ? Load<u64>(address)
                   : size == 4 ? Load<u32>(address)
                               : u64{Load<u8>(address)};
        },
        [](u32 address, u64 value, u32 size) {
            u8* const to = CheckedRange(address, size);
            if (size == 2 && value % 2 == 0) {
                ReadNumber(to, value);
            } else {
                std::memcpy(to, &value, size);
            }
        });
}

void PlainDisturbs(plain::Machine& m) {
    PaperImage picture{std::move(m.memory)};
    Disturb([&picture](u32 address, u32 size) { return picture.Get(address, size); },
            [&picture](u32 address, u64 value, u32 size) {
                picture.Put(address, size == 8 ? value : value & ((u64{1} << 8 * size) - 1), size);
            });
    m.memory = std::move(picture.bytes);
}

struct Case {
    u64 seed = 0;
    std::vector<u8> program;
};

// Images of one size follow each other: a new one takes longer than a program.
std::vector<Case> CasesFrom(u64 seed, u64 count) {
    std::vector<Case> cases;
    for (u64 i = 0; i < count; ++i) {
        cases.push_back({seed + i, RandomProgram(seed + i, KindOf(seed + i))});
    }
    std::stable_sort(cases.begin(), cases.end(), [](const Case& a, const Case& b) {
        return a.program.size() < b.program.size();
    });
    return cases;
}

// What differs; empty when nothing does or the program does not end.
std::string RunCase(const Case& one, std::atomic<u64>& instructions) {
    RunOptions options{.budget = kBudget, .modalDepth = static_cast<i32>(one.seed % 3)};
    options.plainSys = PlainDisturbs;
    options.largestRegion = one.seed % 3 == 0 ? kLargestRegion : 40;
    disturbedCode = CodeOfRandomProgram(one.program, KindOf(one.seed));
    RunResult wanted = RunOn(Engine::Plain, one.program, options);
    instructions += wanted.trace.size();
    if (wanted.nansMet || wanted.outcome == Outcome::BudgetSpent) {
        return {};
    }
    SetLock(one.seed % 7 == 3);
    RunResult got = RunOn(Engine::Translated, one.program, options);
    SetLock(false);
    for (RunResult* result : {&got, &wanted}) {
        KeepNewest(result->trace);
    }
    return CompareRuns(got, wanted);
}

}  // namespace

TEST_F(RandomKinds, EndTranslatedAsOnThePlainExecutor) {
    if (!kThreaded) {
        GTEST_SKIP() << "this build interprets alone";
    }
    const u64 programs = NumberFromEnvironment("MOXI_RANDOM_PROGRAMS", kPrograms);
    const u64 firstSeed = NumberFromEnvironment("MOXI_RANDOM_SEED", 1);
    vmSlots.sysDispatch = HostDisturbs;
    std::string report;
    u64 failures = 0;
    std::atomic<u64> instructions = 0;
    std::atomic<bool> isDone = false;
    const StandardError quiet(true);
    // The first run makes the present thread the one that is looked at, and makes the image,
    // without which nothing can be locked.
    const u64 unlockedSeed = firstSeed / 7 * 7;
    RunCase({unlockedSeed, RandomProgram(unlockedSeed, KindOf(unlockedSeed))}, instructions);
    std::thread looker([&isDone] {
        while (!isDone) {
            SettleTranslatedRun();
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    });
    constexpr u64 kBatch = 20000;
    for (u64 done = 0; done < programs && failures < 5; done += kBatch) {
        for (const Case& one :
             CasesFrom(firstSeed + done, std::min<u64>(kBatch, programs - done))) {
            const std::string difference = RunCase(one, instructions);
            if (difference.empty()) {
                continue;
            }
            ++failures;
            report += FormatText("seed %llu:\n", static_cast<unsigned long long>(one.seed));
            report += difference;
        }
    }
    isDone = true;
    looker.join();
    EXPECT_EQ(failures, 0u) << report;
    EXPECT_GT(instructions, 10 * programs);
    if (std::getenv("MOXI_RANDOM_REPORT") != nullptr) {
        const TranslatorCounts& n = translatorCounts;
        std::fprintf(stdout, "%s",
                     FormatText("executed %llu, regions %llu of %llu instructions, entered %llu "
                                "times, changed %llu times\n",
                                static_cast<unsigned long long>(instructions),
                                static_cast<unsigned long long>(n.regions),
                                static_cast<unsigned long long>(n.instructions),
                                static_cast<unsigned long long>(n.entries),
                                static_cast<unsigned long long>(n.changes))
                         .c_str());
    }
}

}  // namespace moxi
