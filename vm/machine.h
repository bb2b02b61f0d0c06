#pragma once
// The module image: one block that holds the header (which is the machine's register file), code,
// data, globals, stack and heap. A module address is an unsigned 32-bit byte offset into it.
//
// The image lies at the start of a reserved address range that is larger than every 32-bit
// address plus the longest operand, so instructions reach it unchecked (vm/guard.h). Services that
// take an address and a length from the module check the whole range once, with CheckedRange.

#include <cstring>

#include "base/types.h"
#include "vm/fault.h"

namespace moxi {

// --- State

extern u8* image;      // first byte of the header
extern u32 imageSize;  // bytes
extern u32 heapStart;  // offset of the first heap byte, also the initial stack top
extern u32 heapSize;   // bytes

// The PC trace: the last 1,024 instructions, for a debugger and for the line that a fault writes.
// Entry (pcTraceCount - 1) & 1023 is the newest. While the fast interpreter runs the count is
// behind.
constexpr u32 kPcTraceSize = 1024;
struct TraceEntry {
    u32 pc;  // the instruction's address
};
extern TraceEntry* pcTrace;                  // below the image, once there is one
extern TraceEntry firstTrace[kPcTraceSize];  // before that
extern u64 pcTraceCount;

// The instruction at `pc` becomes the newest entry.
inline void RecordPc(u32 pc) {
    pcTrace[pcTraceCount++ % kPcTraceSize] = {pc};
}

// Below the image lies what the interpreter reaches from its start: how many instructions have been
// executed (the low 32 bits), the trace, and below that, not writable, the table of handlers. No
// address of a module leads there, for they are offsets upwards.
inline constexpr u64 kCountBelowImage = 64;
inline constexpr u64 kTraceBelowImage = 16384;
inline constexpr u64 kTableBelowImage = 65536 + 65536 * 8;

// Address after the last call instruction, printed by LockHeap's failure line.
extern u32 pcPreJsr;

// Saved modal contexts; see the MODAL and EMOD instructions.
extern i32 modalDepth;

// Set by MODAL.N: the next real redraw happens even during a message and posts MSG_PRESENTED.
extern bool presentNotify;

extern u32 runState;  // bit 0: the module asked to stop or failed; bit 1: the end is sent

constexpr u32 kRunStop = 1;
constexpr u32 kRunEnding = 2;

// --- Header offsets

constexpr u32 kHeaderSize = 512;
constexpr u32 kHeaderRegisters = 8;
constexpr u32 kHeaderR14 = 120;
constexpr u32 kHeaderR15 = 128;
constexpr u32 kHeaderPC = 136;
constexpr u32 kHeaderStackTop = 144;
constexpr u32 kHeaderStackLimit = 152;
constexpr u32 kHeaderSP = 160;
constexpr u32 kHeaderFP = 168;
constexpr u32 kHeaderModalChain = 176;
constexpr u32 kHeaderBlockCount = 184;
constexpr u32 kHeaderFlags = 192;
constexpr u32 kHeaderResult = 193;
constexpr u32 kHeaderVersionStamp = 195;
constexpr u32 kHeaderMagic = 208;
constexpr u32 kHeaderGeneration = 212;
constexpr u32 kHeaderModuleMajor = 218;
constexpr u32 kHeaderModuleMinor = 219;
constexpr u32 kHeaderLoadedLength = 224;
constexpr u32 kHeaderGlobalsSize = 232;
constexpr u32 kHeaderStackSize = 240;
constexpr u32 kHeaderHeapSize = 248;
constexpr u32 kHeaderFreeHeapPC = 496;    // printed by FreeHeap's failure line
constexpr u32 kHeaderGetHeapAdrPC = 504;  // printed by GetHeapAdr's failure line

constexpr u32 kEntryPoint = 512;

constexpr u32 RegisterAddress(u32 r) {
    return kHeaderRegisters + 8 * r;
}

// --- Flags

constexpr u8 kOdd = 1;
constexpr u8 kZero = 2;
constexpr u8 kNeg = 4;

// --- Loads and stores

// Reads a T at a module address; an address outside the image ends the run with a memory fault.
// Builds with sanitizers check the address, others leave it to the guard.
template <class T>
inline T Load(u32 address) {
    if constexpr (kCheckedAccess) {
        CheckAccess(address, sizeof(T));
    }
    T value;
    std::memcpy(&value, image + address, sizeof value);
    return value;
}

// Writes `value` at a module address; faults as Load does.
template <class T>
inline void Store(u32 address, T value) {
    if constexpr (kCheckedAccess) {
        CheckAccess(address, sizeof(T));
    }
    std::memcpy(image + address, &value, sizeof value);
}

// --- Checked ranges, for services and block operations

// The bytes [address, address + size) as a host pointer. A range that leaves the image ends the
// host with a memory fault; an empty range is never a fault.
u8* CheckedRange(u32 address, u64 size);

// The NUL-terminated text at `address`. A text without a NUL inside the image is a memory fault.
const char* CheckedString(u32 address);

// Sets the state of this file, but for the image's memory, to that of a new process.
void ResetMachineState();

}  // namespace moxi
