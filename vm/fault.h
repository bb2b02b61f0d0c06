#pragma once
// Faults of the module, as those see them who find one; how they end the run stands in vm/guard.

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

}  // namespace moxi
