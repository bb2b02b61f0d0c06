#pragma once
// Memory safety at no cost per access: the image lies in a reserved, inaccessible address range,
// an access beyond the image raises a signal, and the signal ends the run with a message.

#include "base/types.h"

// Builds with sanitizers check each access explicitly instead.
#if defined(__SANITIZE_ADDRESS__)
#define MOXI_CHECKED_ACCESS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(undefined_behavior_sanitizer)
#define MOXI_CHECKED_ACCESS 1
#endif
#endif
#ifndef MOXI_CHECKED_ACCESS
#define MOXI_CHECKED_ACCESS 0
#endif

namespace moxi {

inline constexpr bool kCheckedAccess = MOXI_CHECKED_ACCESS != 0;

// Ends the host: one line with the newest trace addresses goes to debug.log, then the fatal
// message "Memory fault at 0x%8.8X. Terminating. So sorry." with the header's PC is shown, then
// the process ends with status 1.
[[noreturn]] void MemoryFault();

// The same with "Division error at 0x%8.8X. Terminating. So sorry.".
[[noreturn]] void DivisionError();

// MemoryFault unless [address, address + size) is accessible. Used where kCheckedAccess holds.
void CheckAccess(u32 address, u32 size);

// Runs `run` with the guard armed: an access outside the image inside it becomes a MemoryFault.
// May be nested.
void RunGuarded(void (*run)());

// Told of an access outside the image before its run is given up, in the signal's handler and with
// the handler's ucontext_t: brings into the header what a run kept in the processor's registers.
extern void (*beforeFault)(void* context);

// The reservation. ReserveImage returns the address of an accessible, zero-filled block of `size`
// bytes that starts on a multiple of 64 and ends (but for at most 63 bytes of padding) where the
// inaccessible rest of the range begins; null when there is not enough memory.
//
// Below the image lies what the interpreter reaches from its start: how many instructions have been
// executed (the low 32 bits), the trace, and below that, not writable, the table of handlers. No
// address of a module leads there, for they are offsets upwards.
inline constexpr u64 kCountBelowImage = 64;
inline constexpr u64 kTraceBelowImage = 16384;
inline constexpr u64 kTableBelowImage = 65536 + 65536 * 8;
u8* ReserveImage(u32 size);
void ReleaseImage();

}  // namespace moxi
