#pragma once
// Service group 7: what the module needs from the desktop and from the host itself.

#include "base/types.h"

// Sub-commands 0..21; a higher one is reported as unknown. `arguments` is the image address of the
// first argument word.
void SysHostGroup(u32 sub, u32 arguments);
