#include "translate/settle.h"

#include <pthread.h>
#include <semaphore.h>
#include <ucontext.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <span>
#include <vector>

#include "translate/code_memory.h"
#include "translate/state.h"
#include "translate/translated_region.h"
#include "vm/machine.h"
#include "vm/threaded.h"

namespace moxi {

constinit Settling settling;

namespace {

// If the image does not have the immediate slot's value, one of this many newest blocks has set it.
constexpr size_t kSlotBlocks = 2;

// The instruction that the code at an offset belongs to. The code that notes a block in the log
// belongs to the block's first instruction.
const CodePlace* PlaceAt(const TranslatedRegion& region, size_t offset) {
    const auto isBefore = [](size_t at, const auto& one) { return at < one.offset; };
    const auto& places = region.places;
    const auto& blocks = region.blocks;
    const auto place = std::upper_bound(places.begin(), places.end(), offset, isBefore);
    const auto block = std::upper_bound(blocks.begin(), blocks.end(), offset, isBefore);
    const bool isInNote = block != blocks.begin() && (block - 1)->count > 0 &&
                          (place == places.begin() || (place - 1)->offset < (block - 1)->offset);
    if (isInNote) {
        return &places[(block - 1)->firstPlace];
    }
    return place == places.begin() ? nullptr : &*(place - 1);
}

// The block that an entry of the log names; no places when there is none.
struct Logged {
    std::span<const CodePlace> places;  // the instructions of the block
    u32 executedBefore = BlockPlace::kAllExecuted;
};

Logged LoggedAt(u32 offset) {
    const TranslatedRegion* const region = RegionOf(translatedState.codeMemory + offset);
    if (region == nullptr) {
        return {};
    }
    const u32 inside = offset - static_cast<u32>(region->code - translatedState.codeMemory);
    const auto found =
        std::lower_bound(region->blocks.begin(), region->blocks.end(), inside,
                         [](const BlockPlace& block, u32 at) { return block.offset < at; });
    if (found == region->blocks.end() || found->offset != inside) {
        return {};
    }
    return {std::span(region->places).subspan(found->firstPlace, found->count),
            found->executedBefore};
}

// The newest executed instructions, block by block, the newest block first. `place` is the next
// free place of the log, and of the newest block the first `executed` instructions count. At least
// `wanted` of them, if the log reaches back so far.
std::vector<std::span<const CodePlace>> NewestPlaces(u32 place, u32 executed, size_t wanted) {
    const u32 known = translatedState.log[kLogSize - 1] != 0 ? kLogSize : place;
    std::vector<std::span<const CodePlace>> newest;
    size_t found = 0;
    for (u32 back = 1; back <= known && (found < wanted || newest.size() < 2); ++back) {
        const Logged logged = LoggedAt(translatedState.log[(place - back) % kLogSize]);
        newest.push_back(logged.places.first(std::min<size_t>(executed, logged.places.size())));
        found += newest.back().size();
        executed = logged.executedBefore;
    }
    return newest;
}

// Brings the immediate slot up to date. Blocks store it only where a block may follow that does not
// fill it at once, so the value may be known from the tables alone.
void BringSlot(const std::vector<std::span<const CodePlace>>& newest) {
    for (size_t i = 0; i < newest.size() && i < kSlotBlocks; ++i) {
        if (newest[i].empty() || !newest[i].back().fillsSlot) {
            continue;
        }
        Store<u32>(kImmediateSlot, newest[i].back().slot);
        return;
    }
}

constexpr int kContextRegister[16] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP,
                                      REG_RSI, REG_RDI, REG_R8,  REG_R9,  REG_R10, REG_R11,
                                      REG_R12, REG_R13, REG_R14, REG_R15};

// The instruction at which translated code was interrupted, or null if it was not. The registers
// that the processor held for the module are stored in the header.
const CodePlace* SettleInterrupted(void* context) {
    const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    const u64 offset =
        static_cast<u64>(registers[REG_RIP]) - reinterpret_cast<u64>(translatedState.codeMemory);
    if (offset >= kCodeMemory) {
        return nullptr;
    }
    const u8* const at = translatedState.codeMemory + offset;
    const CodePlace* place = nullptr;
    static CodePlace between;
    if (const TranslatedRegion* const region = RegionOf(at)) {
        place = PlaceAt(*region, static_cast<size_t>(at - region->code));
    } else if (at >= settling.jump && at < settling.jumpEnd) {
        // On the way from one place to another, whose address is in eax.
        between.pc = static_cast<u32>(registers[REG_RAX]);
        place = &between;
    }
    if (place == nullptr) {
        return nullptr;
    }
    for (u32 number = 0; number < 16; ++number) {
        if (hostOf[number] == kNoHost) {
            continue;
        }
        const u32 host = kHostNumbers[static_cast<u32>(hostOf[number])];
        Store<u64>(RegisterAddress(number), static_cast<u64>(registers[kContextRegister[host]]));
    }
    const auto& vectors = static_cast<const ucontext_t*>(context)->uc_mcontext.fpregs->_xmm;
    for (u32 number = 0; number < 16; ++number) {
        if (vectorOf[number] == kNoHost) {
            continue;
        }
        const auto& held = vectors[kFirstVector + static_cast<u32>(vectorOf[number])];
        Store<u64>(RegisterAddress(number), held.element[0] | u64{held.element[1]} << 32);
    }
    pcPreJsr = vectors[kBehindCallVector].element[0] - 4;
    Store<u32>(kHeaderSP, static_cast<u32>(registers[REG_R12]));
    Store<u32>(kHeaderFP, static_cast<u32>(registers[REG_R13]));
    lastThreadedResult = registers[REG_R15];
    return place;
}

constexpr int kSettleSignal = SIGUSR2;
pthread_t moduleThread;
sem_t isSettled;
// What the module's thread was found doing. Settled: it ran translated code, and the registers are
// in the header now. InHeader: it ran something else, so the header has them anyway. Unknown: it is
// in the handler of another signal that has interrupted translated code, or is just entering or
// leaving such code, and nothing can be said yet.
enum class Found : u8 { Settled, InHeader, Unknown };
std::atomic<Found> found = Found::Unknown;
// It is then asked again after this time. Asked at once it would be found in the same place: where
// processors are scarce, the thread that is woken by the answer runs before the one that gave it.
constexpr timespec kBeforeNextTry = {0, 1'000'000};

// As far as the log already tells of the block that was interrupted.
void SettleSlot(const void* context, const CodePlace* at) {
    const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    const u32 place = static_cast<u32>(registers[REG_R14]);
    const Logged newest = LoggedAt(translatedState.log[(place - 1) % kLogSize]);
    const bool isInside = !newest.places.empty() && at >= newest.places.data() &&
                          at < newest.places.data() + newest.places.size();
    if (isInside) {
        BringSlot(NewestPlaces(place, at->index + 1, 0));
    }
}

void OnSettle(int, siginfo_t*, void* context) {
    const CodePlace* const place = SettleInterrupted(context);
    if (place != nullptr) {
        Store<u32>(kHeaderPC, place->pc);
        SettleSlot(context, place);
        found = Found::Settled;
    } else {
        found = translatedState.hostStack == 0 ? Found::InHeader : Found::Unknown;
    }
    sem_post(&isSettled);
}

}  // namespace

LastPlace LastOfNewest(u32 place) {
    const Logged newest = LoggedAt(translatedState.log[(place - 1) % kLogSize]);
    const auto before = static_cast<u32>(newest.places.size()) - 1;
    return {newest.places.back().pc, before};
}

void WriteTrace(u32 place, u32 executed) {
    pcTraceCount = translatedState.numberAtEntry;
    const auto newest = NewestPlaces(place, executed, settling.traceDepth);
    BringSlot(newest);
    for (size_t i = newest.size(); i-- > 0;) {
        for (const CodePlace& instruction : newest[i]) {
            RecordPc(instruction.pc);
        }
    }
}

void OnFaultInCode(void* context) {
    const CodePlace* const place = SettleInterrupted(context);
    translatedState.hostStack = 0;
    if (place == nullptr) {
        return;
    }
    const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    WriteTrace(static_cast<u32>(registers[REG_R14]), place->index + 1);
    NoteThreadedCount();
}

void InstallSettling() {
    static bool isInstalled = false;
    moduleThread = pthread_self();
    if (isInstalled) {
        return;
    }
    isInstalled = true;
    sem_init(&isSettled, 0, 0);
    struct sigaction action = {};
    action.sa_sigaction = OnSettle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(kSettleSignal, &action, nullptr);
}

void SettleModuleThread() {
    if (pthread_equal(pthread_self(), moduleThread) != 0) {
        return;
    }
    timespec end = {};
    clock_gettime(CLOCK_MONOTONIC, &end);
    ++end.tv_sec;
    while (sem_trywait(&isSettled) == 0) {
    }  // the late answer to an earlier call
    for (;;) {
        if (pthread_kill(moduleThread, kSettleSignal) != 0) {
            return;
        }
        int waited = 0;
        while ((waited = sem_clockwait(&isSettled, CLOCK_MONOTONIC, &end)) != 0 && errno == EINTR) {
        }
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (waited != 0 || found != Found::Unknown || now.tv_sec > end.tv_sec) {
            return;
        }
        nanosleep(&kBeforeNextTry, nullptr);
    }
}

}  // namespace moxi
