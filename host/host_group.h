#pragma once
// Service group 7: what the module needs from the desktop and from the host itself.

#include <string>

#include "base/types.h"

namespace moxi {

// Sub-commands 0..21; a higher one is reported as unknown. `arguments` is the image address of the
// first argument word.
void SysHostGroup(u32 sub, u32 arguments);

// Halts the module for n * 10 ms with input suspended and the screen flushed; Delay(0) flushes
// later on the main queue and lets input in again.
void Delay(u32 n);

// The host's name and version with that of an operating system, the first three numbers of
// `release` ("12.6.1", "6.1.0-9-amd64"; a number that is missing counts as 0). `packed` becomes
// major << 16 | minor << 24 | 1: modules compare the word as a whole.
std::string VersionText(const char* release, u32& packed);

}  // namespace moxi
