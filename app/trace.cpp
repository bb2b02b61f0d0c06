#include "app/trace.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "base/output_files.h"
#include "vm/disassemble.h"
#include "vm/interpreter.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kRegisters = 16;

// The machine's state that a line shows changes of.
struct State {
    std::array<u64, kRegisters> registers{};
    u32 sp = 0;
    u32 fp = 0;
    u8 flags = 0;
};

constinit std::FILE* traceFile = nullptr;
State before;
std::string instruction;
u32 instructionAddress = 0;
bool instructionRuns = false;  // told of before it was executed, not yet after it

State ReadState() {
    State state;
    std::memcpy(state.registers.data(), image + kHeaderRegisters, sizeof state.registers);
    state.sp = Load<u32>(kHeaderSP);
    state.fp = Load<u32>(kHeaderFP);
    state.flags = Load<u8>(kHeaderFlags);
    return state;
}

void BeforeInstruction(u32 address) {
    before = ReadState();
    instruction = DisassembleAt({image, imageSize}, address).text;
    instructionAddress = address;
    instructionRuns = true;
}

void AfterInstruction(u32 address) {
    instructionRuns = false;
    const State after = ReadState();
    std::string changes;
    for (u32 r = 0; r < kRegisters; ++r) {
        if (after.registers[r] != before.registers[r]) {
            changes +=
                FormatText(" R%u=0x%llX", r, static_cast<unsigned long long>(after.registers[r]));
        }
    }
    if (after.sp != before.sp) {
        changes += FormatText(" SP=0x%X", after.sp);
    }
    if (after.fp != before.fp) {
        changes += FormatText(" FP=0x%X", after.fp);
    }
    if (after.flags != before.flags) {
        changes += " flags=" + FlagNames(after.flags);
    }
    if (changes.empty()) {
        std::fprintf(traceFile, "%8.8X  %s\n", address, instruction.c_str());
    } else {
        std::fprintf(traceFile, "%8.8X  %-40s ;%s\n", address, instruction.c_str(),
                     changes.c_str());
    }
}

constexpr InstructionTrace kTrace = {BeforeInstruction, AfterInstruction};

}  // namespace

bool StartTrace(const std::string& path) {
    traceFile = outputFiles.open(path);
    if (traceFile == nullptr) {
        return false;
    }
    instructionTrace = &kTrace;
    return true;
}

void CloseTrace() {
    if (traceFile == nullptr) {
        return;
    }
    // The instruction that ended the process stands without its changes.
    if (instructionRuns) {
        std::fprintf(traceFile, "%8.8X  %s\n", instructionAddress, instruction.c_str());
    }
    std::fclose(traceFile);
    traceFile = nullptr;
    instructionTrace = nullptr;
}

}  // namespace moxi
