#include "vm/interpreter.h"

#include "vm/execute.h"
#include "vm/guard.h"
#include "vm/machine.h"
#include "vm/threaded.h"

namespace moxi {

constinit const InstructionTrace* instructionTrace = nullptr;
constinit const DebugHooks* debugHooks = nullptr;

namespace {

template <bool kWatched>
Outcome Step(Cpu& cpu) {
    if constexpr (kWatched) {
        if (debugHooks != nullptr) {
            debugHooks->instruction();
            cpu = ReadCpu();
        }
    }
    const u32 at = cpu.pc;
    RecordPc(at);
    const u32 w = Load<u32>(at);
    const bool traced = kWatched && instructionTrace != nullptr;
    if (traced) {
        instructionTrace->before(at);
    }
    const Outcome outcome = Execute(w, cpu);
    WriteBack(cpu);
    if (traced) {
        instructionTrace->after(at);
    }
    return outcome;
}

template <bool kWatched>
void RunPlain() {
    Cpu cpu = ReadCpu();
    while (Step<kWatched>(cpu) == Outcome::Continue) {
    }
}

void RunDebugged() {
    debugHooks->enter();
    RunPlain<true>();
    debugHooks->leave();
}

// The fast interpreter keeps addresses in 64 bits, and an operand beyond the last of 32 faults. An
// image that fills its address space, its padding included, has addresses that go on at 0 instead.
bool AddressesGoRound() {
    constexpr u32 kPadding = 63;
    return imageSize > 0xFFFFFFFF - kPadding;
}

[[gnu::noinline]] Outcome StepOnce() {
    Cpu cpu = ReadCpu();
    return Step<false>(cpu);
}

void RunFast() {
    // Bits of the loaded flag byte that are no flags stay visible until the first write-back.
    const bool hasOtherBits = (Load<u8>(kHeaderFlags) & ~(kOdd | kZero | kNeg)) != 0;
    if (hasOtherBits && StepOnce() == Outcome::Leave) {
        return;
    }
    RunThreaded();
}

}  // namespace

void RunInterpreter() {
    if (debugHooks != nullptr) {
        RunGuarded(RunDebugged);
    } else if (instructionTrace != nullptr) {
        RunGuarded(RunPlain<true>);
    } else {
        RunGuarded(kThreaded && !AddressesGoRound() ? RunFast : RunPlain<false>);
    }
}

}  // namespace moxi
