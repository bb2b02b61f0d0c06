#include "vm/interpreter.h"

#include "vm/execute.h"
#include "vm/guard.h"
#include "vm/machine.h"
#include "vm/threaded.h"

constinit const InstructionTrace* instructionTrace = nullptr;

namespace {

template <bool kTraced>
void RunPlain() {
    Cpu cpu = ReadCpu();
    Outcome outcome = Outcome::Continue;
    while (outcome == Outcome::Continue) {
        const u32 at = cpu.pc;
        pcTrace[pcTraceCount++ % kPcTraceSize] = at;
        const u32 w = Load<u32>(at);
        if constexpr (kTraced) instructionTrace->before(at);
        outcome = Execute(w, cpu);
        WriteBack(cpu);
        if constexpr (kTraced) instructionTrace->after(at);
    }
}

}  // namespace

void RunInterpreter() {
    if (instructionTrace != nullptr) {
        RunGuarded(RunPlain<true>);
    } else {
        RunGuarded(kThreaded ? RunThreaded : RunPlain<false>);
    }
}
