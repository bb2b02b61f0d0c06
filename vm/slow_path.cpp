#include "vm/slow_path.h"

#include <array>

#include "base/bytes.h"
#include "vm/alu.h"
#include "vm/execute.h"
#include "vm/machine.h"

namespace moxi {

constinit i64 lastThreadedResult = 0;

namespace {

// Whether `lastThreadedResult` is newer than the header's flags.
constinit bool handlersRun = false;

// For each three flags a result that has them. The others no result has.
constexpr i64 kNoResult = 127;
constexpr std::array<i64, 8> kResultOf = {2, 3, 0, kNoResult, -2, -1, kNoResult, kNoResult};

// False, with nothing done, for flags that no result has: a loaded header or a modal context can
// hold any byte.
inline bool KeepFlags(u8 flags) {
    if (flags >= kResultOf.size() || kResultOf[flags] == kNoResult) {
        return false;
    }
    lastThreadedResult = kResultOf[flags];
    handlersRun = true;
    return true;
}

// The header's flags get what the handlers have kept for them.
inline void BringFlags() {
    if (handlersRun) {
        Store<u8>(kHeaderFlags, FlagsOf(static_cast<u64>(lastThreadedResult)));
    }
    handlersRun = false;
}

}  // namespace

// The answer is a truth value, and the record a parameter: a record for an answer, or one whose
// address is taken here, would bring a guard on the stack with it, which each service would pay
// for.
bool ExecuteSlowly(Cpu cpu, u32 w) {
    BringFlags();
    Store<u32>(kHeaderPC, cpu.pc);
    cpu.flags = Load<u8>(kHeaderFlags);
    for (;;) {
        const Outcome outcome = Execute(w, cpu);
        WriteBack(cpu);
        if (outcome == Outcome::Leave) {
            return false;
        }
        if (cpu.pc >= kHeaderSize && KeepFlags(cpu.flags)) {
            return true;
        }
        RecordPc(cpu.pc);
        w = Load<u32>(cpu.pc);
    }
}

bool ExecuteSlowlyAt(Cpu cpu) {
    // The header is brought up to date before the fetch, which may read it.
    BringFlags();
    Store<u32>(kHeaderPC, cpu.pc);
    RecordPc(cpu.pc);
    return ExecuteSlowly(cpu, Load<u32>(cpu.pc));
}

bool TakeFlags() {
    const u8 flags = Load<u8>(kHeaderFlags) & (kOdd | kZero | kNeg);
    Store<u8>(kHeaderFlags, flags);
    return KeepFlags(flags);
}

void NoteThreadedCount() {
    StoreBytes<u32>(image - kCountBelowImage, static_cast<u32>(pcTraceCount));
}

void SettleThreaded() {
    if (!handlersRun) {
        return;
    }
    BringFlags();
    const u32 count = LoadBytes<u32>(image - kCountBelowImage);
    pcTraceCount += count - static_cast<u32>(pcTraceCount);
    Store<u32>(kHeaderPC, pcTrace[(pcTraceCount - 1) % kPcTraceSize].pc);
}

}  // namespace moxi
