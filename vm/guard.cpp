#include "vm/guard.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <string>

#include "base/bytes.h"
#include "vm/diagnostics.h"
#include "vm/machine.h"
#include "vm/page_watch.h"
#include "vm/threaded.h"

namespace moxi {

namespace {

constexpr u64 kAddressSpace = u64{1} << 32;
// Longer than any operand that an instruction reaches unchecked (a modal context has 140 bytes).
constexpr u64 kLongestOperand = 65536;
constexpr u32 kTraceLineEntries = 16;

constinit u8* reservation = nullptr;
constinit u64 reservationSize = 0;
constinit u8* reservationBase = nullptr;  // the room below it, too
constinit u64 accessibleSize = 0;         // the image and its padding

// Where a fault inside RunGuarded continues; null while no guarded code runs.
constinit sigjmp_buf* volatile faultPoint = nullptr;
constinit bool handlersInstalled = false;
struct sigaction previousSegv;
struct sigaction previousBus;

void OnFault(int signal, siginfo_t* info, void* context) {
    if (signal == SIGSEGV && LetPageGo(info->si_addr)) {
        return;
    }
    const u8* const address = static_cast<const u8*>(info->si_addr);
    const bool ours =
        reservation != nullptr && address >= reservation && address < reservation + reservationSize;
    sigjmp_buf* const point = faultPoint;
    if (ours && point != nullptr) {
        if (beforeFault != nullptr) {
            beforeFault(context);
        }
        siglongjmp(*point, 1);
    }
    // Not the module's doing: the access is repeated, and the handler that was there before ours
    // gets the fault.
    sigaction(signal, signal == SIGBUS ? &previousBus : &previousSegv, nullptr);
}

void InstallHandlers() {
    if (handlersInstalled) {
        return;
    }
    handlersInstalled = true;
    // The handler has a stack of its own, since the fault may be an overflow of the host's stack.
    static u8 handlerStack[65536];
    stack_t stack = {};
    stack.ss_sp = handlerStack;
    stack.ss_size = sizeof handlerStack;
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_sigaction = OnFault;
    // SA_NODEFER: the handler is left by a jump that does not restore the signal mask.
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    sigaction(SIGSEGV, &action, &previousSegv);
    sigaction(SIGBUS, &action, &previousBus);
}

std::string TraceLine() {
    std::string line = "PC trace:";
    const u64 entries = std::min<u64>(pcTraceCount, kTraceLineEntries);
    for (u64 i = pcTraceCount - entries; i < pcTraceCount; ++i) {
        line += FormatText(" 0x%8.8X", pcTrace[i % kPcTraceSize].pc);
    }
    return line + "\n";
}

[[noreturn]] void EndWithFault(const char* format) {
    SettleThreaded();
    const u32 pc = image != nullptr ? LoadBytes<u32>(image + kHeaderPC) : 0;
    AppendDebugLog(TraceLine());
    char text[128];
    std::snprintf(text, sizeof text, format, pc);
    ShowFatalMessage(text);
    EndProcess(1);
}

void ReleaseImage() {
    if (reservation == nullptr) {
        return;
    }
    munmap(reservationBase, static_cast<u64>(reservation - reservationBase) + reservationSize);
    reservation = reservationBase = nullptr;
    reservationSize = accessibleSize = 0;
}

// An accessible, zero-filled block in a new reservation, or null.
u8* ReserveImage(u32 size) {
    ReleaseImage();
    InstallHandlers();
    const u64 page = static_cast<u64>(sysconf(_SC_PAGESIZE));
    // Padding at the end keeps the start on a multiple of 64.
    const u64 padded = (u64{size} + 63) / 64 * 64;
    const u64 pages = (padded + page - 1) / page * page;
    // A multiple of the size of huge pages, so that what follows can still be made of them.
    constexpr u64 below = u64{1} << 21;
    static_assert(below > kTableBelowImage + 65536);
    const u64 reserved = pages - padded + kAddressSpace + kLongestOperand;
    void* const range =
        mmap(nullptr, below + reserved, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (range == MAP_FAILED) {
        return nullptr;
    }
    u8* const start = static_cast<u8*>(range);
    if (mprotect(start, below + pages, PROT_READ | PROT_WRITE) != 0) {
        munmap(range, below + reserved);
        return nullptr;
    }
    reservationBase = start;
    reservation = start + below;
    reservationSize = reserved;
    accessibleSize = padded;
    u8* const block = reservation + (pages - padded);
    u8* const table = block - kTableBelowImage;
    CopyDispatchTable(table);
    // The table ends well below the trace. Only where pages are of 64 KB its last bytes can share one
    // with the trace, and that page stays writable.
    const u64 tableEnd = static_cast<u64>(table - start) + kDispatchTableSize;
    const u64 traceStart = static_cast<u64>(block - start) - kTraceBelowImage;
    mprotect(start, std::min((tableEnd + page - 1) / page, traceStart / page) * page, PROT_READ);
    return block;
}

}  // namespace

void (*beforeFault)(void* context) = nullptr;

void MemoryFault() {
    EndWithFault("Memory fault at 0x%8.8X. Terminating. So sorry.");
}

void DivisionError() {
    EndWithFault("Division error at 0x%8.8X. Terminating. So sorry.");
}

void CheckAccess(u32 address, u32 size) {
    if (u64{address} + size > accessibleSize) {
        MemoryFault();
    }
}

void RunGuarded(void (*run)()) {
    struct Outer {
        sigjmp_buf* const point = faultPoint;
        ~Outer() { faultPoint = point; }
    } outer;
    sigjmp_buf here;
    if (sigsetjmp(here, 0) != 0) {
        faultPoint = outer.point;
        MemoryFault();
    }
    faultPoint = &here;
    run();
}

bool AllocateImage(u32 size) {
    u8* const block = ReserveImage(size);
    if (block == nullptr) {
        return false;
    }
    TraceEntry* const trace = reinterpret_cast<TraceEntry*>(block - kTraceBelowImage);
    std::copy_n(firstTrace, kPcTraceSize, trace);
    pcTrace = trace;
    image = block;
    imageSize = size;
    return true;
}

void ResetMachine() {
    ReleaseImage();
    ResetMachineState();
}

}  // namespace moxi
