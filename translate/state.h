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
    // A region whose own number is at least this one is known to be what the module's code is: it
    // is watched, or has been compared since the interpreter ran last.
    u32 generation = 0;
    // The address behind the last translated code of the module. Pushes and stores in the frame
    // that would reach below it, or come near it, might change that code and are left to the
    // interpreter.
    u32 floor = 0;
    u32 pushFloor = 0;  // kFloorRoom above it
    // A byte for each word of the image up to kMostCode: 1 when translated code was made of the
    // word, or it belongs to the header. All other stores look there, and the interpreter makes
    // those that would hit such a word.
    u8* covered = nullptr;
    // Where translated code is entered next, and how many instructions had been executed then.
    u8* entered = nullptr;
    u64 numberAtEntry = 0;
    // The processor's stack as it was entered with, 0 while translated code does not run, and how
    // far calls may go.
    u64 hostStack = 0;
    u64 hostStackLimit = 0;
    // A RETURN to an address below this is left to the interpreter. That is one into the header, or
    // any RETURN while there are locks that it may have to release. Only the long way looks here:
    // nothing in the header has a CALL before it, and while there are locks no call of the
    // processor is made.
    u32 leastReturn = 0;
    // Where a division keeps the address of its operand.
    u64 kept = 0;
    // A ring of the newest executed blocks, each as its offset in the code memory, beginning at
    // place 0. The last place is 0 until the ring has been filled once.
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
