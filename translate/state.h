#pragma once
// What translated code keeps where. All translated code agrees on it, so that it can jump to other
// translated code as it stands.

#include <array>

#include "base/types.h"

namespace moxi {

// The processor's registers, by the numbers of the x86-64 encoding.
//
//   rbx  the image                        r14  the next place in the log of blocks
//   r12  SP, r13 FP, upper halves clear   r15  the newest result that set flags, sign-extended
//   r11  the record below                 rax, rcx, rdx  free within an instruction
//   rsi, rdi, rbp, r8, r9, r10            six of the module's registers, all 64 bits
//   xmm4 to xmm15                         those of the module's registers that mostly hold
//                                         floating-point numbers, in the lower 64 bits
//   xmm0, xmm1                            free within an instruction
//   xmm2                                  pcPreJsr (vm/machine.h) and 4
//
// A register of the module that is "narrow" has its upper half clear wherever translated code runs.
constexpr u32 kHostRegisters = 6;
constexpr std::array<u8, kHostRegisters> kHostNumbers = {6, 7, 5, 8, 9, 10};
constexpr i32 kNoHost = -1;
constexpr u32 kBehindCallVector = 2;
constexpr u32 kFirstVector = 4;
constexpr u32 kVectors = 12;

// Where the end of translated code lies above what is written through a register, so many bytes
// from there on must not be covered.
constexpr u32 kCoverWindow = 64;

// What is pushed at a time.
constexpr u32 kFloorRoom = 1024;

// How much of the processor's stack calls may take, in bytes: RETURN finds there, by the
// processor's own return, the code behind the CALL, and that may find below it the FP that it had.
// They look whether these are what the module's stack says.
constexpr i32 kHostStackSize = 65536;

// The places of the log, so many that a byte counts them.
constexpr u32 kLogSize = 256;

// What translated code reads and writes besides the image.
struct TranslatedState {
    // For each address of code, 4 bytes at the address: the offset in the code memory at which its
    // translation is entered, or 0.
    u8* entries = nullptr;
    u64 entriesSize = 0;  // bytes
    u8* codeMemory = nullptr;
    // Regions are what the module's code is, since they have been compared with it after the
    // interpreter ran last or are watched, if they hold this number or a higher one.
    u32 generation = 0;
    // The end of the translated code in the image. What is pushed below it, or not far above it,
    // or stored in the frame there, may change that code, and is left to the interpreter.
    u32 floor = 0;
    u32 pushFloor = 0;  // kFloorRoom above it
    // For each 4 bytes of the image up to kMostCode a byte: whether translated code was made of
    // them, or they belong to the header. What is stored there by other ways is left to the
    // interpreter, too.
    u8* covered = nullptr;
    // Where to go on when translated code is entered, and how many instructions had been executed.
    u8* entered = nullptr;
    u64 numberAtEntry = 0;
    // The processor's stack as it was entered with, 0 while translated code does not run, and how
    // far calls may go.
    u64 hostStack = 0;
    u64 hostStackLimit = 0;
    // RETURN to an address below this is left to the interpreter: to the header, and every one
    // while there are locks to release.
    u32 leastReturn = 0;
    // Where a division keeps the address of its operand.
    u64 kept = 0;
    // The blocks that were executed last, by their offsets in the code memory, from place 0 on and
    // around again. Place kLogSize - 1 is 0 until the log has come round.
    u32 log[kLogSize] = {};
};
extern TranslatedState translatedState;

// Which host register (an index of kHostNumbers) holds a register of the module, or kNoHost.
extern std::array<i32, 16> hostOf;

// Which of the registers from xmm4 on holds it, or kNoHost.
extern std::array<i32, 16> vectorOf;

// The registers, a bit for each, that are narrow.
extern u16 narrowRegisters;

}  // namespace moxi
