#include "vm/interpreter.h"

#include "vm/execute.h"
#include "vm/guard.h"
#include "vm/machine.h"
#include "vm/threaded.h"

constinit const InstructionTrace* instructionTrace = nullptr;

namespace {

template <bool kTraced>
Outcome Step(Cpu& cpu) {
    const u32 at = cpu.pc;
    RecordPc(at);
    const u32 w = Load<u32>(at);
    if constexpr (kTraced) instructionTrace->before(at);
    const Outcome outcome = Execute(w, cpu);
    WriteBack(cpu);
    if constexpr (kTraced) instructionTrace->after(at);
    return outcome;
}

template <bool kTraced>
void RunPlain() {
    Cpu cpu = ReadCpu();
    while (Step<kTraced>(cpu) == Outcome::Continue) {
    }
}

void RunFast() {
    // Bits of the loaded flag byte that are no flags stay visible until the first write-back.
    if ((Load<u8>(kHeaderFlags) & ~(kOdd | kZero | kNeg)) != 0) {
        Cpu cpu = ReadCpu();
        if (Step<false>(cpu) == Outcome::Leave) return;
    }
    RunThreaded();
}

}  // namespace

void RunInterpreter() {
    if (instructionTrace != nullptr) {
        RunGuarded(RunPlain<true>);
    } else {
        RunGuarded(kThreaded ? RunFast : RunPlain<false>);
    }
}
