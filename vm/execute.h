#pragma once
// One instruction, written to be read: the plain execution of every instruction of the set. The
// interpreter uses it while a trace is written, in sanitizer builds, and for instructions that are
// rare or touch the header's PC, SP, FP or flags; vm/threaded runs the others.

#include "base/types.h"

namespace moxi {

// PC, SP, FP and the flags are kept in this record while the module runs, and written back to the
// header after every instruction.
struct Cpu {
    u32 pc;
    u32 sp;
    u32 fp;
    u8 flags;
};

extern u32 runState;  // bit 0: the module asked to stop or failed; bit 1: the end is sent

constexpr u32 kRunStop = 1;
constexpr u32 kRunEnding = 2;

enum class Outcome : u8 { Continue, Leave };

// The record as the header has it.
Cpu ReadCpu();

// Executes the instruction word `w` at cpu.pc, which becomes the address of the next instruction.
// The header has to hold the record's values.
Outcome Execute(u32 w, Cpu& cpu);

// Writes the record to the header. An instruction that wrote there itself loses that write.
void WriteBack(const Cpu& cpu);

}  // namespace moxi
